// The shortest piece of a flow log in which the daemon still does otherwise in the same way.
//
// A log can be cut at its ends only, since what stands between two lines brings the second about:
// behind the second in which they part, and before any start of a worker. Runs on one thread in the
// sandbox of replay_sandbox_enter.
#pragma once

#include <string>

#include "lab/replay/replay.h"

namespace lab {

struct ReplayShorter {
    ReplayLog log;
    ReplayResult result;  // of that log; same() when the whole one showed no difference
    int tries = 0;        // runs, that of the whole log among them
};

// False with a sentence in `error` when the machine failed.
bool replay_shorter(const ReplayLog& log, const ReplayPrograms& programs, ReplayShorter& shorter,
                    std::string& error);

// The lines as a node writes them.
std::string replay_log_text(const ReplayLog& log);

}  // namespace lab
