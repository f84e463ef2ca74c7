// Words of a step, and back: "after 10 deauth e1 ath0", "expect e1 status ready within 30", "never
// e1 status ready until found". Functions of values.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

// What a step may be besides a verb: "wait", "expect", "always"; and what makes a line of several.
struct StepRow {
    std::string_view name;
    std::string_view usage;
    std::string_view help;
};
std::span<const StepRow> step_table();

// The word of an `each` that stands for its node, behind "$".
inline constexpr std::string_view EACH_NODE = "node";

// Reads a step without words that stand for others, and checks its names against the scenario.
// False with one sentence in `error`. `step->line` is left alone.
bool step_of_words(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                   std::string& error);

// The line that step_parse reads as the same step.
std::string step_print(const ScenarioStep& step);

// The same for all: the verbs of one moment on one line.
std::string steps_print(std::span<const ScenarioStep> steps);

// "FILE:12": where the step was written, `file` being the scenario's own; "12" where that is empty.
std::string step_place(const ScenarioStep& step, const std::string& file);

}  // namespace lab
