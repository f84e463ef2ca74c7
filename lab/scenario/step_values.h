// Lines of steps, with words that stand for something else: "$NAME" for a remembered value, "$node"
// for the node of an `each`. For whoever reads steps. Functions of values.
#pragma once

#include <map>
#include <span>
#include <string>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

// Reads one step from its words and checks its names against the scenario. False with one sentence
// in `error`. `step->line` is left alone.
bool step_parse(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                std::string& error);

// Reads a line: a step, verbs of one moment ("and"), or steps for each of several nodes ("each").
// What the steps name is noted in scenario->names.
bool steps_parse(std::span<const std::string> words, Scenario* scenario,
                 std::vector<ScenarioStep>* steps, std::string& error);

// A step that uses remembered values, with the values in their place. False with a sentence when
// one was not remembered or does not fit there.
bool step_fill(const ScenarioStep& step, const Scenario& scenario,
               const std::map<std::string, std::string>& values, ScenarioStep* filled,
               std::string& error);

}  // namespace lab
