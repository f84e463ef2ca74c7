// A flow log run again: what it shows of the inputs goes into the real daemon in moved time, and
// what the daemon then writes is held against it, line by line, up to the first difference.
//
// Called by the program `backhaul_lab` on its main thread, inside the sandbox of
// replay_sandbox_enter.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "lab/replay/replay_bed.h"
#include "lab/replay/replay_log.h"
#include "lab/replay/replay_match.h"

namespace lab {

struct ReplayResult {
    std::string node;
    std::size_t lines = 0;      // of the log, without those left out
    std::size_t matched = 0;    // that the daemon wrote as well
    std::size_t reordered = 0;  // of these, before one of another thread that the log has first
    std::int64_t seconds = 0;   // of the log's time
    std::optional<ReplayDifference> difference;
    const MissingRow* missing = nullptr;  // why, where the log lacks the input

    bool same() const {
        return !difference && matched == lines;
    }
};

// False with a sentence in `error` when the machine failed; else `result` tells.
bool replay_run(const ReplayLog& log, const ReplayPrograms& programs, ReplayResult& result,
                std::string& error);

}  // namespace lab
