#include "lab/scenario/scenario_step.h"

#include <algorithm>
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
    StepRow{"wait-until", "wait-until CONDITION [since MARK] [within SECONDS]",
            "Lets time pass until it holds; the run ends when it does not (300 s)."},
    StepRow{"expect", "expect CONDITION [since MARK] [within SECONDS|for SECONDS]",
            "Reports when it does not hold: at once, within the time, or all that time."},
    StepRow{
        "always", "always CONDITION [until MARK]",
        "Reports the second in which it first does not hold, from here to the mark or the end."},
    StepRow{"never", "never CONDITION [until MARK]",
            "The same for the second in which it first holds; of `all`, for any of them."},
    StepRow{"mark", "mark NAME", "Names this moment, for `since` behind it and `until` before it."},
    StepRow{"remember", "remember NAME NODE CONDITION-NAME",
            "Keeps what the node has now: `$NAME` in a later step stands for it."},
    StepRow{"and", "VERB ... and VERB ...",
            "Verbs of one moment: all are done before anybody takes notice."},
    StepRow{"each", "each NODE...: STEP [then STEP ...]",
            "The steps for one node, group or `all` after the other: `$node` stands for it."},
    StepRow{"chapter", "chapter TEXT", "Heads what follows, where the run is told."},
    StepRow{"say", "say TEXT", "Is told when its turn comes."},
};

struct KindName {
    StepKind kind;
    std::string_view name;
};

// Steps that begin with a word of their own.
constexpr std::array KINDS = {
    KindName{StepKind::wait, "wait"},         KindName{StepKind::wait_until, "wait-until"},
    KindName{StepKind::expect, "expect"},     KindName{StepKind::always, "always"},
    KindName{StepKind::never, "never"},       KindName{StepKind::mark, "mark"},
    KindName{StepKind::remember, "remember"}, KindName{StepKind::chapter, "chapter"},
    KindName{StepKind::say, "say"},
};

bool usage_say(StepKind kind, std::string& error) {
    const std::string_view name = std::ranges::find(KINDS, kind, &KindName::kind)->name;
    error = "say `" + std::string(std::ranges::find(STEPS, name, &StepRow::name)->usage) + "`";
    return false;
}

bool seconds_parse(const std::string& word, int* seconds, std::string& error) {
    return number_read(word, "number of seconds", 0, MOST_SECONDS, seconds, error);
}

std::string word_before_last(Words words) {
    return words.size() < 2 ? "" : words[words.size() - 2];
}

bool condition_step_parse(Words words, const Scenario& scenario, ScenarioStep* step,
                          std::string& error) {
    step->within = step->kind == StepKind::wait_until ? DEFAULT_WAIT_SECONDS : 0;
    const std::string before = word_before_last(words);
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

// A line that has to come again and again, or must not be missed: said the wrong way round.
bool watch_check(const ScenarioStep& step, std::string& error) {
    const ConditionKind kind = step.condition.kind;
    const bool asks_for_line = kind == ConditionKind::log || kind == ConditionKind::ran;
    const bool asks_for_none = kind == ConditionKind::no_log || kind == ConditionKind::not_ran;
    if (step.kind == StepKind::always ? asks_for_line : asks_for_none) {
        error = "a line comes once: say `never NODE log TEXT` or `always NODE no-log TEXT`";
        return false;
    }
    return true;
}

bool watch_parse(Words words, const Scenario& scenario, ScenarioStep* step, std::string& error) {
    constexpr std::size_t SHORTEST = 2;  // e1 ready
    const std::string before = word_before_last(words);
    if (before == "within" || before == "for") {
        return usage_say(step->kind, error);
    }
    if (before == "until" && words.size() >= SHORTEST + 2) {
        step->until = words.back();
        words = words.first(words.size() - 2);
    }
    return condition_parse(words, &step->condition, error) && watch_check(*step, error) &&
           scenario_condition_check(scenario, step->condition, error);
}

bool mark_parse(Words words, const Scenario& scenario, ScenarioStep* step, std::string& error) {
    if (words.size() != 1 || !word_is_name(words[0])) {
        return usage_say(step->kind, error);
    }
    step->text = words[0];
    if (scenario.names.marks.contains(step->text)) {
        error = "there is a mark `" + step->text + "` already";
        return false;
    }
    return true;
}

bool remember_parse(Words words, const Scenario& scenario, ScenarioStep* step, std::string& error) {
    const bool is_named = !words.empty() && word_is_name(words[0]);
    if (is_named && words[0] == EACH_NODE) {
        error = "`$node` is the node of `each`: choose another name";
        return false;
    }
    if (!is_named || !condition_value_parse(words.subspan(1), &step->condition, error)) {
        return error.empty() ? usage_say(step->kind, error) : false;
    }
    step->text = words[0];
    return scenario_node_check(scenario, step->condition.node, error) &&
           scenario_condition_check(scenario, step->condition, error);
}

bool verb_step_parse(Words words, const Scenario& scenario, ScenarioStep* step,
                     std::string& error) {
    const auto verbs = verb_table();
    if (std::ranges::find(verbs, words[0], &VerbRow::name) == verbs.end()) {
        std::vector<std::string> known;
        for (const StatementRow& row : statement_table()) {
            known.emplace_back(row.name);
        }
        for (const StepRow& row : STEPS) {
            known.emplace_back(row.name);
        }
        for (const VerbRow& row : verbs) {
            known.emplace_back(row.name);
        }
        error = unknown_word(words[0], "statement or verb", known);
        return false;
    }
    return verb_parse(words, &step->verb, error) &&
           scenario_verb_check(scenario, step->verb, error);
}

bool wait_parse(Words words, ScenarioStep* step, std::string& error) {
    int seconds = 0;
    if (words.size() != 1) {
        return usage_say(step->kind, error);
    }
    const bool good = seconds_parse(words[0], &seconds, error);
    step->after += seconds;
    return good;
}

bool kind_parse(Words words, const Scenario& scenario, ScenarioStep* step, std::string& error) {
    switch (step->kind) {
        case StepKind::verb:
            return verb_step_parse(words, scenario, step, error);
        case StepKind::wait:
            return wait_parse(words.subspan(1), step, error);
        case StepKind::wait_until:
        case StepKind::expect:
            return condition_step_parse(words.subspan(1), scenario, step, error);
        case StepKind::always:
        case StepKind::never:
            return watch_parse(words.subspan(1), scenario, step, error);
        case StepKind::mark:
            return mark_parse(words.subspan(1), scenario, step, error);
        case StepKind::remember:
            return remember_parse(words.subspan(1), scenario, step, error);
        case StepKind::chapter:
        case StepKind::say:
            step->text = words_joined(words.subspan(1));
            return step->text.empty() ? usage_say(step->kind, error) : true;
    }
    return false;
}

}  // namespace

std::span<const StepRow> step_table() {
    return STEPS;
}

bool step_of_words(std::span<const std::string> words, const Scenario& scenario, ScenarioStep* step,
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
    const auto* const named = std::ranges::find(KINDS, words[0], &KindName::name);
    step->kind = named == KINDS.end() ? StepKind::verb : named->kind;
    return kind_parse(words, scenario, step, error);
}

std::string step_print(const ScenarioStep& step) {
    if (!step.words.empty()) {
        return words_quoted(step.words);
    }
    if (step.kind == StepKind::wait) {
        return "wait " + std::to_string(step.after);
    }
    std::string text = step.after == 0 ? "" : "after " + std::to_string(step.after) + " ";
    if (step.kind == StepKind::verb) {
        return text + verb_print(step.verb);
    }
    text += std::string(std::ranges::find(KINDS, step.kind, &KindName::kind)->name) + " ";
    if (step.kind == StepKind::chapter || step.kind == StepKind::say ||
        step.kind == StepKind::mark) {
        return text + word_quoted(step.text);
    }
    if (step.kind == StepKind::remember) {
        return text + step.text + " " + condition_value_print(step.condition);
    }
    text += condition_print(step.condition);
    const int usual = step.kind == StepKind::wait_until ? DEFAULT_WAIT_SECONDS : 0;
    if (step.within != usual) {
        text += " within " + std::to_string(step.within);
    }
    if (step.lasting != 0) {
        text += " for " + std::to_string(step.lasting);
    }
    return step.until.empty() ? text : text + " until " + step.until;
}

std::string steps_print(std::span<const ScenarioStep> steps) {
    std::string text;
    bool follows_verb = false;
    for (const ScenarioStep& step : steps) {
        if (step.joined && follows_verb) {
            text.pop_back();
            text += " and ";
        }
        text += step_print(step) + "\n";
        follows_verb = step.kind == StepKind::verb;
    }
    return text;
}

std::string step_place(const ScenarioStep& step, const std::string& file) {
    const std::string& written = step.file.empty() ? file : step.file;
    return (written.empty() ? "" : written + ":") + std::to_string(step.line);
}

}  // namespace lab
