#include "lab/replay/replay_shorter.h"

#include <algorithm>

#include "ctl/log_event.h"
#include "lab/node/flow_log_reader.h"

namespace lab {
namespace {

// Lines from `start` on, to the last of the second of line `end`.
ReplayLog piece_of(const ReplayLog& log, std::size_t start, std::size_t end) {
    while (end + 1 < log.lines.size() && log.lines[end + 1].time == log.lines[end].time) {
        ++end;
    }
    ReplayLog piece;
    piece.node = log.node;
    piece.lines.assign(log.lines.begin() + static_cast<std::ptrdiff_t>(start),
                       log.lines.begin() + static_cast<std::ptrdiff_t>(end + 1));
    // Read again: without what came before, the first start is one of its own.
    replay_inputs_find(piece);
    return piece;
}

bool shows_same(const ReplayResult& piece, std::size_t start, const ReplayDifference& wanted) {
    return piece.difference && piece.difference->line + start == wanted.line &&
           piece.difference->time == wanted.time && piece.difference->expected == wanted.expected &&
           piece.difference->seen == wanted.seen;
}

}  // namespace

bool replay_shorter(const ReplayLog& log, const ReplayPrograms& programs, ReplayShorter& shorter,
                    std::string& error) {
    shorter = {log, {}, 1};
    if (!replay_run(log, programs, shorter.result, error)) {
        return false;
    }
    if (!shorter.result.difference) {
        return true;
    }
    const ReplayDifference wanted = *shorter.result.difference;
    const std::size_t last = std::min(wanted.line, log.lines.size() - 1);
    for (std::size_t start = last + 1; start-- > 0;) {
        if (log_event_read(log.lines[start].text).kind != log_kind::worker_start) {
            continue;
        }
        const ReplayLog piece = piece_of(log, start, last);
        ReplayResult result;
        if (!replay_run(piece, programs, result, error)) {
            return false;
        }
        ++shorter.tries;
        if (shows_same(result, start, wanted)) {
            shorter.log = piece;
            shorter.result = result;
            break;
        }
    }
    return true;
}

std::string replay_log_text(const ReplayLog& log) {
    std::string text;
    for (const ReplayLine& line : log.lines) {
        text += log_line_join(line.time, line.text) + "\n";
    }
    return text;
}

}  // namespace lab
