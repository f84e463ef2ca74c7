#include "lab/scenario/scenario_step.h"

#include <array>

#include "lab/scenario/scenario_check.h"
#include "lab/scenario/statement_table.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;

constexpr int MOST_SECONDS = 1000000;

constexpr std::array STEPS = {
    StepRow{"after", "after SECONDS STEP", "Lets so much time pass before the step."},
    StepRow{"wait", "wait SECONDS", "Lets time pass."},
    StepRow{"wait-until", "wait-until CONDITION [within SECONDS]",
            "Lets time pass until it holds; the run ends when it does not (300 s)."},
    StepRow{"expect", "expect CONDITION [within SECONDS|for SECONDS]",
            "Reports when it does not hold: at once, within the time, or all that time."},
    StepRow{"chapter", "chapter TEXT", "Heads what follows, where the run is told."},
    StepRow{"say", "say TEXT", "Is told when its turn comes."},
};

bool seconds_parse(const std::string& word, int* seconds, std::string& error) {
    return number_read(word, "number of seconds", 0, MOST_SECONDS, seconds, error);
}

bool condition_step_parse(Words words, const Scenario& scenario, ScenarioStep* step,
                          std::string& error) {
    step->within = step->kind == StepKind::wait_until ? DEFAULT_WAIT_SECONDS : 0;
    const std::string before = words.size() < 2 ? "" : words[words.size() - 2];
    if (before == "within" || before == "for") {
        if (before == "for" && step->kind == StepKind::wait_until) {
            error = "only `expect` knows `for`: say `wait-until CONDITION [within SECONDS]`";
            return false;
        }
        if (!seconds_parse(words.back(), before == "for" ? &step->lasting : &step->within, error)) {
            return false;
        }
        words = words.first(words.size() - 2);
    }
    return condition_parse(words, &step->condition, error) &&
           scenario_condition_check(scenario, step->condition, error);
}

bool is_verb(const std::string& word) {
    for (const VerbRow& row : verb_table()) {
        if (row.name == word) {
            return true;
        }
    }
    return false;
}

// Everything that may begin a line.
std::vector<std::string> first_words() {
    std::vector<std::string> words;
    for (const StatementRow& row : statement_table()) {
        words.emplace_back(row.name);
    }
    for (const StepRow& row : STEPS) {
        words.emplace_back(row.name);
    }
    for (const VerbRow& row : verb_table()) {
        words.emplace_back(row.name);
    }
    return words;
}

}  // namespace

std::span<const StepRow> step_table() {
    return STEPS;
}

bool step_parse(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
                std::string& error) {
    if (words.empty()) {
        error = "say a step";
        return false;
    }
    if (words[0] == "after") {
        if (words.size() < 3) {
            error = "say `after SECONDS STEP`";
            return false;
        }
        if (!seconds_parse(words[1], &step->after, error)) {
            return false;
        }
        words = words.subspan(2);
    }
    if (words[0] == "wait") {
        int seconds = 0;
        if (words.size() != 2) {
            error = "say `wait SECONDS`";
            return false;
        }
        step->kind = StepKind::wait;
        const bool good = seconds_parse(words[1], &seconds, error);
        step->after += seconds;
        return good;
    }
    if (words[0] == "wait-until" || words[0] == "expect") {
        step->kind = words[0] == "expect" ? StepKind::expect : StepKind::wait_until;
        return condition_step_parse(words.subspan(1), scenario, step, error);
    }
    if (words[0] == "chapter" || words[0] == "say") {
        step->kind = words[0] == "say" ? StepKind::say : StepKind::chapter;
        step->text = words_joined(words.subspan(1));
        if (step->text.empty()) {
            error = "say `" + words[0] + " TEXT`";
        }
        return !step->text.empty();
    }
    step->kind = StepKind::verb;
    if (!is_verb(words[0])) {
        error = unknown_word(words[0], "statement or verb", first_words());
        return false;
    }
    return verb_parse(words, &step->verb, error) &&
           scenario_verb_check(scenario, step->verb, error);
}

std::string step_print(const ScenarioStep& step) {
    if (step.kind == StepKind::wait) {
        return "wait " + std::to_string(step.after);
    }
    std::string text = step.after == 0 ? "" : "after " + std::to_string(step.after) + " ";
    if (step.kind == StepKind::verb) {
        return text + verb_print(step.verb);
    }
    if (step.kind == StepKind::chapter || step.kind == StepKind::say) {
        return text + (step.kind == StepKind::say ? "say " : "chapter ") + word_quoted(step.text);
    }
    text += step.kind == StepKind::expect ? "expect " : "wait-until ";
    text += condition_print(step.condition);
    const int usual = step.kind == StepKind::wait_until ? DEFAULT_WAIT_SECONDS : 0;
    if (step.within != usual) {
        text += " within " + std::to_string(step.within);
    }
    if (step.lasting != 0) {
        text += " for " + std::to_string(step.lasting);
    }
    return text;
}

}  // namespace lab
