// From the text of a scenario file to a scenario, and back.
//
// The file is read line by line; each line is one statement, "#" begins a comment. A statement may
// use only nodes, marks and values that stand above it. Reading goes on behind a line with an
// error, so that all errors are told at once. Functions of values: whoever calls reads and writes
// the file.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/scenario/scenario.h"
#include "lab/scenario/statement_table.h"

namespace lab {

struct ScenarioError {
    int line = 0;
    std::string text;  // one sentence without a full stop
    std::string file;  // that was included; empty: the scenario's own

    bool operator==(const ScenarioError&) const = default;
};

// A file that `include` names.
struct ScenarioText {
    std::string name;  // as errors tell it
    std::string key;   // the same for the same file, whatever its name
    std::string text;
};
inline constexpr std::size_t DEEPEST_INCLUDE = 8;

// Opens `file` as the one named `from` names it (empty: the scenario's own). False with a sentence.
using ScenarioOpen = std::function<bool(const std::string& from, const std::string& file,
                                        ScenarioText* opened, std::string& error)>;

// Reads the whole text. False when there are errors; the scenario then holds what was good. Without
// `open` nothing can be included; `key` is that of the text's own file.
bool scenario_parse(std::string_view text, Scenario* scenario, std::vector<ScenarioError>* errors,
                    const ScenarioOpen& open = nullptr, const std::string& key = "");

// "FILE:12: `dauth` is no verb (did you mean `deauth`?)", one line for each error.
std::string scenario_errors_text(std::string_view file, const std::vector<ScenarioError>& errors);

// A text that scenario_parse reads as the same scenario.
std::string scenario_print(const Scenario& scenario);

}  // namespace lab
