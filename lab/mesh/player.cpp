#include "lab/mesh/player.h"

#include <algorithm>

#include "lab/mesh/mesh_conditions.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/step_values.h"

namespace lab {

ConditionFate Player::condition_step(const ScenarioStep& step, PlayedStep* played) {
    played->waited = mesh_.passed() - begun_ - step.after;
    const bool holds = mesh_condition_holds(mesh_, step.condition, &played->text);
    return condition_fate(step, holds, played->waited);
}

// The step with what it remembers in its place; a failed step when that makes no sense.
bool Player::step_fill_in(std::size_t at, ScenarioStep* filled, PlayedStep* played) {
    const ScenarioStep& step = mesh_.scenario().steps[at];
    *filled = step;
    played->step = at;
    if (step.words.empty()) {
        return true;
    }
    if (!step_fill(step, mesh_.scenario(), values_, filled, played->text)) {
        played->good = false;
        return false;
    }
    played->done = step_print(*filled);
    filled->after = step.after;
    return true;
}

bool Player::verbs_fill(std::vector<PlayedStep>* group, std::vector<Verb>* verbs) {
    const std::vector<ScenarioStep>& steps = mesh_.scenario().steps;
    for (std::size_t at = at_; at == at_ || (at < steps.size() && steps[at].joined); ++at) {
        ScenarioStep filled;
        group->emplace_back();
        if (!step_fill_in(at, &filled, &group->back())) {
            return false;
        }
        verbs->push_back(filled.verb);
    }
    return true;
}

// The verb whose turn it is, and those of the same moment. Moves to the last of them.
ConditionFate Player::verbs_step(std::string& error) {
    std::vector<PlayedStep> group;
    std::vector<Verb> verbs;
    std::vector<std::string> notes;
    if (!verbs_fill(&group, &verbs)) {
        over(group.back());
        return ConditionFate::failed;
    }
    const bool good = mesh_.verbs(verbs, &notes, error);
    for (std::size_t at = 0; at < group.size(); ++at) {
        group[at].text = notes[at];
        group[at].good = good;
        over(group[at]);
    }
    at_ += group.size() - 1;
    return good ? ConditionFate::held : ConditionFate::failed;
}

// Steps that are over at once.
void Player::act(const ScenarioStep& step, PlayedStep* played) {
    if (step.kind == StepKind::mark) {
        mesh_.mark_set(step.text);
        watches_end(step.text);
    } else if (step.kind == StepKind::remember) {
        values_[step.text] = mesh_condition_value(mesh_, step.condition);
        played->text = "$" + step.text + " is " + values_[step.text];
    }
}

// The step whose turn it is. Moves to the last of those that were played with it.
ConditionFate Player::play(std::string& error) {
    if (mesh_.scenario().steps[at_].kind == StepKind::verb) {
        const ConditionFate fate = verbs_step(error);
        watches_look();
        return fate;
    }
    PlayedStep played;
    ScenarioStep step;
    ConditionFate fate = ConditionFate::held;
    if (!step_fill_in(at_, &step, &played)) {
        fate = ConditionFate::failed;
    } else if (step.kind == StepKind::always || step.kind == StepKind::never) {
        watches_.push_back({played, step, mesh_.moment()});
        watches_look();
        return fate;
    } else if (step.kind == StepKind::wait_until || step.kind == StepKind::expect) {
        fate = condition_step(step, &played);
    } else {
        act(step, &played);
    }
    if (fate != ConditionFate::pending) {
        played.good = fate == ConditionFate::held;
        over(played);
    }
    return fate;
}

PlayState Player::go_on(std::string& error) {
    const std::vector<ScenarioStep>& steps = mesh_.scenario().steps;
    watches_look();
    while (at_ < steps.size()) {
        if (mesh_.passed() - begun_ < steps[at_].after) {
            return PlayState::playing;
        }
        const StepKind kind = steps[at_].kind;
        const ConditionFate fate = play(error);
        if (fate == ConditionFate::pending) {
            return PlayState::playing;
        }
        ++at_;
        begun_ = mesh_.passed();
        if (fate == ConditionFate::failed && kind != StepKind::expect) {
            return PlayState::stopped;
        }
    }
    watches_end("");
    return PlayState::done;
}

void Player::over(PlayedStep played) {
    played.time = mesh_.passed();
    played.event = mesh_.events().size();
    played_.push_back(std::move(played));
}

void Player::watch_over(Watch* watch, bool good) {
    watch->played.waited = mesh_.passed() - (watch->begun.time - mesh_.started());
    watch->played.good = good;
    over(watch->played);
}

// Whatever no longer holds is told once.
void Player::watches_look() {
    std::erase_if(watches_, [this](Watch& watch) {
        std::string& found = watch.played.text;
        const bool good =
            watch.step.kind == StepKind::always
                ? mesh_condition_holds(mesh_, watch.step.condition, &found, &watch.begun)
                : mesh_condition_fails(mesh_, watch.step.condition, &found, &watch.begun);
        if (!good) {
            watch_over(&watch, false);
        }
        return !good;
    });
}

// What was to hold until this mark, or with "" until the end, has held.
void Player::watches_end(const std::string& mark) {
    std::erase_if(watches_, [&](Watch& watch) {
        const bool ends = watch.step.until == mark;
        if (ends) {
            watch_over(&watch, true);
        }
        return ends;
    });
}

int Player::failures() const {
    return static_cast<int>(std::count_if(played_.begin(), played_.end(),
                                          [](const PlayedStep& step) { return !step.good; }));
}

bool Player::waits() const {
    return at_ < mesh_.scenario().steps.size();
}

}  // namespace lab
