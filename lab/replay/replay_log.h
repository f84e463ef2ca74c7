// What a flow log shows of a node's life, as values: its lines, the input behind those that an
// input brought about, and as much of the configuration as can be seen.
//
// A line that an input brings about carries it, so that whoever runs the log again gives the daemon
// that input when the line's turn has come. All other lines the daemon has to write by itself. What
// the log does not show is told by replay_gaps. Functions of values but for replay_logs_read, which
// reads the files with the log reader of ctl/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

enum class InputKind {
    none,            // the daemon writes the line by itself
    power,           // the daemon starts; whatever ran before has lost its power
    station_joined,  // driver event: `interface` is associated with `text`
    station_lost,    // driver event: and no longer
    client_joined,   // driver events of an access point: client `text`
    client_left,
    client_reason,  // ... with flags `flags` and reason `number`
    channel,        // driver event: the access point is on channel `number`
    message,        // word `word` of the node `text` (its address)
    command,        // word `word` into the FIFO
    worker_killed,  // signal `number`
};

struct ReplayInput {
    InputKind kind = InputKind::none;
    std::string interface;
    std::string text;
    std::string word;
    int number = 0;
    int flags = 0;

    bool operator==(const ReplayInput&) const = default;
};

struct ReplayLine {
    std::int64_t time = 0;
    std::string text;  // without the date
    ReplayInput input;
};

// One node's log in the order in which it was written. Lines before the first start of a worker are
// left out: what the daemon knew then is not known.
struct ReplayLog {
    std::string node;
    std::vector<ReplayLine> lines;
    std::size_t skipped = 0;  // lines before the first start
    std::size_t garbage = 0;  // lines that are no entries
    std::size_t gaps = 0;     // places where lines are missing between two files
};

// Reads what a person named (a file, NODE=FILE, or a folder), all nodes of it. False with a
// sentence in `error`.
bool replay_logs_read(std::span<const std::string> words, std::vector<ReplayLog>& logs,
                      std::string& error);

// Notes the input behind each line.
void replay_inputs_find(ReplayLog& log);

// The node as far as it can be seen: interfaces, options of the daemon, network name. `is_root`
// tells of the first start.
struct ReplaySetup {
    ScenarioNode node;
    std::string ssid;
    std::string root_address;
    std::string own_address;
};
ReplaySetup replay_setup(const ReplayLog& log);

// Whether the worker that starts with this line runs as an extender.
bool replay_is_extender(std::span<const ReplayLine> lines, std::size_t start);

// What a log does not tell and what is taken instead, and where a log of this kind stops being one
// that can be run again.
struct GapRow {
    std::string_view what;
    std::string_view taken;
};
std::span<const GapRow> replay_gap_table();

// Lines that an input brings about which the log does not hold.
struct MissingRow {
    std::string_view text;   // how the line begins
    std::string_view input;  // what is missing
};
std::span<const MissingRow> replay_missing_table();
const MissingRow* replay_missing_find(std::string_view text);

// What is told before the replay of this log begins, a sentence a line.
std::vector<std::string> replay_gaps(const ReplayLog& log);

}  // namespace lab
