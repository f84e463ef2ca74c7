// Words of a step that stand for something else: "$NAME" for a remembered value, "$node" for the
// node of an `each`. For the readers of steps only. Functions of values.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "lab/scenario/scenario.h"

namespace lab {

inline constexpr std::string_view EACH_NODE = "node";

// Reads a step without such words. scenario_step.cpp.
bool step_of_words(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                   std::string& error);

}  // namespace lab
