#include "lab/scenario/scenario_parse.h"

#include <algorithm>

#include "lab/scenario/scenario_step.h"
#include "lab/scenario/statement_table.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;

// A file that is no scenario at all is wrong in every line.
constexpr std::size_t MOST_ERRORS = 50;

bool statement_read(Words words, Scenario* scenario, int line, std::string& error) {
    for (const Statement& statement : statement_readers()) {
        if (statement.row.name == words[0]) {
            const bool good = statement.read(words.subspan(1), scenario, error);
            if (!good && error.empty()) {
                error = "say `" + std::string(statement.row.usage) + "`";
            }
            return good;
        }
    }
    ScenarioStep step;
    step.line = line;
    if (!step_parse(words, *scenario, &step, error)) {
        return false;
    }
    if (scenario->steps.size() >= MOST_STEPS) {
        error = "a scenario has at most " + std::to_string(MOST_STEPS) + " steps";
        return false;
    }
    scenario->steps.push_back(step);
    return true;
}

}  // namespace

bool scenario_parse(std::string_view text, Scenario* scenario, std::vector<ScenarioError>* errors) {
    *scenario = {};
    errors->clear();
    int line = 0;
    while (!text.empty()) {
        ++line;
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::vector<std::string> words;
        std::string error;
        const bool cut = line_words(text.substr(0, end), &words, error);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (cut && words.empty()) {
            continue;
        }
        if (!cut || !statement_read(words, scenario, line, error)) {
            errors->push_back({line, error});
            if (errors->size() >= MOST_ERRORS) {
                errors->push_back({line, "too many mistakes: what follows was not read"});
                return false;
            }
        }
    }
    if (errors->empty() && scenario->nodes.empty()) {
        errors->push_back({line, "there is no node: begin with `node root root` or `line 3`"});
    }
    return errors->empty();
}

std::string scenario_errors_text(std::string_view file, const std::vector<ScenarioError>& errors) {
    std::string text;
    for (const ScenarioError& error : errors) {
        text += std::string(file) + ":" + std::to_string(error.line) + ": " + error.text + "\n";
    }
    return text;
}

}  // namespace lab
