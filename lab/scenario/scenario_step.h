// One step of a scenario: "after 10 deauth e1 ath0", "wait 60", "expect e1 status ready within 30".
//
// Functions of values.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "lab/scenario/scenario.h"

namespace lab {

// What may begin a step besides a verb: "after", "wait", "wait-until", "expect".
struct StepRow {
    std::string_view name;
    std::string_view usage;
    std::string_view help;
};
std::span<const StepRow> step_table();

// Reads a step from its words and checks its names against the scenario. False with one sentence
// in `error`. `step->line` is left alone.
bool step_parse(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                std::string& error);

// The line that step_parse reads as the same step.
std::string step_print(const ScenarioStep& step);

}  // namespace lab
