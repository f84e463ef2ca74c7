// What is odd about a scenario though it can be played: told beside a run's result, never a
// failure.
//
// Functions of values, for whoever reports a run or takes one up.
#pragma once

#include <string>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

// One sentence each without a full stop: a mesh without a root, one with several roots, steps that
// expect nothing.
std::vector<std::string> scenario_remarks(const Scenario& scenario);

}  // namespace lab
