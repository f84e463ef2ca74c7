#include "lab/node/journal.h"

#include <algorithm>

#include "lab/node/daemon.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

std::vector<std::string> lines_of(const std::string& path) {
    std::string text;
    file_read(path, &text);
    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

}  // namespace

Journal::Journal(const Node& node) : node_(node), log_(node.at("/var/log/backhaul_flow_log")) {}

void Journal::update() {
    std::vector<LineRecord> shell;
    line_records_read(node_.root(), &lines_at_, &shell);
    const std::vector<LogLine> log = log_.read_new();
    const std::vector<JournalEntry> merged = journal_merge(log, log_.generations(), shell);
    entries_.insert(entries_.end(), merged.begin(), merged.end());
    call_records_read(node_.root(), &calls_at_, &calls_);
    out_ = lines_of(node_.at(DAEMON_OUT));
    err_ = lines_of(node_.at(DAEMON_ERR));
}

// A shell line goes before the first log line that was not yet in the file when the shell started.
std::vector<JournalEntry> journal_merge(std::span<const LogLine> log,
                                        const std::vector<std::uint64_t>& generations,
                                        std::span<const LineRecord> shell) {
    std::vector<JournalEntry> entries;
    const auto age = [&generations](std::uint64_t inode) {
        return std::find(generations.rbegin(), generations.rend(), inode) - generations.rbegin();
    };
    size_t next = 0;
    for (const LineRecord& record : shell) {
        const RecordStamp& stamp = record.stamp;
        const auto was_there = [&](const LogLine& line) {
            // Without a file all that was logged went with an earlier one.
            if (stamp.flow_log_inode == 0) {
                return line.time < stamp.time;
            }
            return line.inode == stamp.flow_log_inode ? line.at < stamp.flow_log_size
                                                      : age(line.inode) > age(stamp.flow_log_inode);
        };
        while (next < log.size() && was_there(log[next])) {
            entries.push_back({EntryKind::log, log[next].time, log[next].text, {}});
            ++next;
        }
        entries.push_back({EntryKind::shell, stamp.time, record.line, stamp});
    }
    for (; next < log.size(); ++next) {
        entries.push_back({EntryKind::log, log[next].time, log[next].text, {}});
    }
    return entries;
}

std::string journal_text(const JournalEntry& entry) {
    return entry.kind == EntryKind::shell ? "$ " + entry.text : entry.text;
}

}  // namespace lab
