// The search for the shortest scenario that still shows something: nodes, verbs, hearings and time
// are taken away, many at first, then fewer, for as long as a try still shows it.
//
// The search itself touches nothing: whoever calls gives a function that runs a scenario. The same
// scenario is tried once; the same beginning gives the same end.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "lab/scenario/scenario.h"

namespace lab {

// What a run of a scenario showed.
struct ShrinkSeen {
    bool shows = false;
    std::int64_t at = 0;  // seconds since the mesh's start when it showed
    std::string node;     // where, as far as that is known
};

struct ShrinkProgress {
    int tries = 0;   // runs
    int cached = 0;  // runs that were not needed
    const Scenario* tried = nullptr;
    bool shows = false;
    const Scenario* best = nullptr;
};

struct ShrinkCalls {
    // Runs a timed scenario. False when the machine failed; the search then ends.
    std::function<bool(const Scenario& scenario, ShrinkSeen& seen)> run;
    // Seconds that a try may need longer than what it was made of, because with fewer nodes a thing
    // may come a little later. 0 for what is known only when a run is over.
    int slack = 0;
    // Told after every run; may be empty.
    std::function<void(const ShrinkProgress& progress)> tell;
    // Whether the search is to end with what it has; may be empty.
    std::function<bool()> is_enough;
};

struct ShrinkResult {
    Scenario scenario;
    int tries = 0;
    int cached = 0;
    bool failed = false;     // the machine did
    bool confirmed = false;  // the scenario, run once more as it is, shows it
};

// `timed` shows it, as `seen` tells.
ShrinkResult shrink(const Scenario& timed, const ShrinkSeen& seen, const ShrinkCalls& calls);

}  // namespace lab
