// Smaller scenarios of a scenario: without some nodes, some steps, some of who hears whom, or with
// less time between two steps.
//
// They are made of a "timed" scenario, whose steps are verbs with their seconds and one wait at the
// end: conditions have become the time that they took. What goes away leaves the moments of all
// other verbs as they were. Functions of values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <string>

#include "lab/scenario/scenario.h"

namespace lab {

// When a step of the scenario was over, in seconds since the mesh's start.
struct StepMoment {
    std::size_t step = 0;
    std::int64_t time = 0;
    std::string done = {};  // of a verb that used a remembered value: the verb with it
};

// The same mesh; every verb at the moment at which it was done, and the end at `end`.
Scenario scenario_timed(const Scenario& scenario, std::span<const StepMoment> moments,
                        std::int64_t end);

// A timed scenario's seconds.
std::int64_t scenario_seconds(const Scenario& timed);

// All below take a timed scenario.

// What comes behind `end` is left out; the scenario ends there.
Scenario scenario_until(const Scenario& timed, std::int64_t end);

// Without the nodes from `from` on, and all that names them.
Scenario scenario_without_nodes(const Scenario& timed, std::size_t from, std::size_t count);
Scenario scenario_with_nodes(const Scenario& timed, const std::set<std::string>& names);

// Without some verbs; the wait at the end is none.
Scenario scenario_without_verbs(const Scenario& timed, std::size_t from, std::size_t count);
std::size_t scenario_verbs(const Scenario& timed);

Scenario scenario_without_hearings(const Scenario& timed, std::size_t from, std::size_t count);

// The step, and all behind it, come sooner.
Scenario scenario_sooner(const Scenario& timed, std::size_t step, int seconds);

// The node and those over which it hears a root with the fewest steps between; the node alone when
// there is none.
std::set<std::string> scenario_way_up(const Scenario& scenario, const std::string& node);

}  // namespace lab
