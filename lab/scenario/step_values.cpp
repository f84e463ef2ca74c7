#include "lab/scenario/step_values.h"

#include <algorithm>
#include <set>

#include "lab/scenario/scenario_check.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;
using Values = std::map<std::string, std::string>;

constexpr std::size_t MOST_VALUES = 2;  // of one step: all that they may be is tried

// The name in "$NAME", or empty.
std::string_view value_name(std::string_view word) {
    const bool is_value = word.starts_with('$') && word_is_name(word.substr(1));
    return is_value ? word.substr(1) : std::string_view();
}

// A text that is told is told as it stands.
bool is_told(Words words) {
    const std::size_t at = words.size() > 2 && words[0] == "after" ? 2 : 0;
    return words.empty() || words[at] == "say" || words[at] == "chapter";
}

std::vector<std::string> words_with(Words words, const Values& values) {
    std::vector<std::string> filled;
    for (const std::string& word : words) {
        const auto value = values.find(std::string(value_name(word)));
        filled.push_back(value == values.end() ? word : value->second);
    }
    return filled;
}

// All that a value of this kind may be in the mesh, as far as it matters to who reads a step.
std::vector<std::string> examples_of(ConditionKind kind, const Scenario& scenario) {
    std::set<std::string> examples;
    for (const ScenarioNode& node : scenario.nodes) {
        if (kind == ConditionKind::parent) {
            examples.insert(node.name);
        }
        for (const ScenarioInterface& interface : node.interfaces) {
            if (kind == ConditionKind::uplink) {
                examples.insert(interface.name);
            }
        }
    }
    if (kind == ConditionKind::status) {
        examples = {"ready"};
    } else if (kind == ConditionKind::service_aps) {
        examples = {"up"};
    } else if (kind == ConditionKind::role) {
        examples = {"extender"};
    } else if (examples.empty()) {
        examples = {"1"};
    }
    return {examples.begin(), examples.end()};
}

bool values_used(Words words, const Scenario& scenario, std::vector<std::string>* used,
                 std::string& error) {
    if (words.size() > 1 && (words[0] == "wait" || words[0] == "after") &&
        !value_name(words[1]).empty()) {
        error = "how long to wait is a number, not a remembered value";
        return false;
    }
    for (const std::string& word : words) {
        const std::string name(value_name(word));
        if (name.empty() || is_told(words) || std::ranges::find(*used, name) != used->end()) {
            continue;
        }
        if (!scenario.names.values.contains(name)) {
            std::vector<std::string> known;
            for (const auto& [value, kind] : scenario.names.values) {
                known.push_back("$" + value);
            }
            error = "`" + word + "` is no value that a step above remembers" +
                    did_you_mean(word, known);
            return false;
        }
        used->push_back(name);
    }
    if (used->size() > MOST_VALUES) {
        error = "a step uses at most " + std::to_string(MOST_VALUES) + " values";
        return false;
    }
    return true;
}

// The step can be read with some of what the values from `at` on may be.
bool example_find(Words words, const Scenario& scenario, const std::vector<std::string>& used,
                  std::size_t at, Values* values, ScenarioStep* step, std::string& error) {
    if (at == used.size()) {
        ScenarioStep example = *step;
        std::string why;
        if (!step_of_words(words_with(words, *values), scenario, &example, why)) {
            error = error.empty() ? why : error;
            return false;
        }
        *step = example;
        return true;
    }
    const auto kind = scenario.names.values.find(used[at])->second;
    return std::ranges::any_of(examples_of(kind, scenario), [&](const std::string& one) {
        (*values)[used[at]] = one;
        return example_find(words, scenario, used, at + 1, values, step, error);
    });
}

std::vector<std::vector<std::string>> words_split(Words words, std::string_view at) {
    std::vector<std::vector<std::string>> parts(1);
    for (const std::string& word : words) {
        if (word == at) {
            parts.emplace_back();
        } else {
            parts.back().push_back(word);
        }
    }
    return parts;
}

bool begins_with_verb(Words words) {
    const std::size_t at = words.size() > 2 && words[0] == "after" ? 2 : 0;
    const auto verbs = verb_table();
    return !words.empty() && std::ranges::find(verbs, words[at], &VerbRow::name) != verbs.end();
}

void names_take(Scenario* scenario, const ScenarioStep& step) {
    if (step.kind == StepKind::mark) {
        scenario->names.marks.insert(step.text);
    } else if (step.kind == StepKind::remember) {
        scenario->names.values[step.text] = step.condition.kind;
    }
}

bool step_add(Words words, bool joined, Scenario* scenario, std::vector<ScenarioStep>* steps,
              std::string& error) {
    ScenarioStep step;
    if (!step_parse(words, *scenario, &step, error)) {
        return false;
    }
    if (joined && (step.kind != StepKind::verb || step.after != 0)) {
        error = "only verbs stand behind `and`: they are of one moment";
        return false;
    }
    if (scenario->names.marks.contains(step.until)) {
        error = "the mark `" + step.until + "` stands above: name one that comes later";
        return false;
    }
    step.joined = joined;
    names_take(scenario, step);
    steps->push_back(std::move(step));
    return true;
}

// One step, or verbs of one moment.
bool moment_parse(Words words, Scenario* scenario, std::vector<ScenarioStep>* steps,
                  std::string& error) {
    if (!begins_with_verb(words)) {
        return step_add(words, false, scenario, steps, error);
    }
    bool joined = false;
    for (const std::vector<std::string>& part : words_split(words, "and")) {
        if (part.empty()) {
            error = "say `VERB ... and VERB ...`";
            return false;
        }
        if (!step_add(part, joined, scenario, steps, error)) {
            return false;
        }
        joined = true;
    }
    return true;
}

// "each e1 e2: STEP then STEP", `words` being those behind "each".
bool each_parse(Words words, Scenario* scenario, std::vector<ScenarioStep>* steps,
                std::string& error) {
    const auto colon =
        std::ranges::find_if(words, [](const std::string& word) { return word.ends_with(':'); });
    std::vector<std::string> named(words.begin(), colon);
    if (colon != words.end() && colon->size() > 1) {
        named.push_back(colon->substr(0, colon->size() - 1));
    }
    if (colon == words.end() || named.empty() || colon + 1 == words.end()) {
        error = "say `each NODE...: STEP [then STEP ...]`";
        return false;
    }
    std::vector<std::string> nodes;
    if (!scenario_group_nodes(*scenario, named, &nodes, error)) {
        return false;
    }
    const Words rest = words.subspan(static_cast<std::size_t>(colon - words.begin()) + 1);
    for (const std::string& node : nodes) {
        const Values values = {{std::string(EACH_NODE), node}};
        for (const std::vector<std::string>& part : words_split(words_with(rest, values), "then")) {
            if (!moment_parse(part, scenario, steps, error)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace

bool step_parse(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                std::string& error) {
    std::vector<std::string> used;
    if (!values_used(words, scenario, &used, error)) {
        return false;
    }
    if (used.empty()) {
        return step_of_words(words, scenario, step, error);
    }
    Values values;
    step->words.assign(words.begin(), words.end());
    return example_find(words, scenario, used, 0, &values, step, error);
}

bool steps_parse(std::span<const std::string> words, Scenario* scenario,
                 std::vector<ScenarioStep>* steps, std::string& error) {
    error.clear();
    // "each:" names nobody, which each_parse says.
    return !words.empty() && (words[0] == "each" || words[0] == "each:")
               ? each_parse(words.subspan(1), scenario, steps, error)
               : moment_parse(words, scenario, steps, error);
}

bool step_fill(const ScenarioStep& step, const Scenario& scenario, const Values& values,
               ScenarioStep* filled, std::string& error) {
    std::vector<std::string> used;
    if (!values_used(step.words, scenario, &used, error)) {
        return false;
    }
    *filled = step;
    filled->words.clear();
    filled->after = 0;
    return step_of_words(words_with(step.words, values), scenario, filled, error);
}

}  // namespace lab
