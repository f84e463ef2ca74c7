// What a node did, in one order: flow-log lines and shell lines interleaved as they happened.
//
// One thread; grows with each call of update(). A shell line stands behind every log line that was
// in the file when the shell started. Tool calls and the daemon's standard output have views of
// their own, because nothing ties them to the log's bytes.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "lab/node/flow_log_reader.h"
#include "lab/node/node.h"
#include "lab/tools/record.h"

namespace lab {

enum class EntryKind {
    log,    // a line of the flow log
    shell,  // a line given to `sh -c`
};

struct JournalEntry {
    EntryKind kind = EntryKind::log;
    std::int64_t time = 0;  // seconds of the node
    std::string text;
    RecordStamp stamp;  // of shell lines
};

// Log and shell lines, each in their own order, as one. `generations` are the inodes of the log's
// files in the order in which they were live.
std::vector<JournalEntry> journal_merge(std::span<const LogLine> log,
                                        const std::vector<std::uint64_t>& generations,
                                        std::span<const LineRecord> shell);

class Journal {
public:
    explicit Journal(const Node& node);

    // Reads what is new. Call it while the node is quiet, else the newest entries may still change
    // places.
    void update();

    const std::vector<JournalEntry>& entries() const {
        return entries_;
    }
    const std::vector<CallRecord>& calls() const {
        return calls_;
    }
    // Lines of the daemon's standard output and error, without the line end.
    const std::vector<std::string>& out() const {
        return out_;
    }
    const std::vector<std::string>& err() const {
        return err_;
    }
    // Gaps in the flow log that no reader could have closed.
    int lost() const {
        return log_.lost();
    }

private:
    const Node& node_;
    FlowLogReader log_;
    std::uint64_t lines_at_ = 0;
    std::uint64_t calls_at_ = 0;
    std::vector<JournalEntry> entries_;
    std::vector<CallRecord> calls_;
    std::vector<std::string> out_;
    std::vector<std::string> err_;
};

// "$ LINE" for a shell line, the text itself for a log line.
std::string journal_text(const JournalEntry& entry);

}  // namespace lab
