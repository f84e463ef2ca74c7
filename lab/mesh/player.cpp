#include "lab/mesh/player.h"

#include <algorithm>

#include "lab/mesh/mesh_conditions.h"

namespace lab {

ConditionFate Player::condition_step(const ScenarioStep& step, PlayedStep* played) {
    played->waited = mesh_.passed() - begun_ - step.after;
    const bool holds = mesh_condition_holds(mesh_, step.condition, &played->text);
    return condition_fate(step, holds, played->waited);
}

ConditionFate Player::play(const ScenarioStep& step, PlayedStep* played, std::string& error) {
    switch (step.kind) {
        case StepKind::verb:
            return mesh_.verb(step.verb, &played->text, error) ? ConditionFate::held
                                                               : ConditionFate::failed;
        case StepKind::wait:
        case StepKind::chapter:
        case StepKind::say:
            return ConditionFate::held;
        case StepKind::wait_until:
        case StepKind::expect:
            return condition_step(step, played);
    }
    return ConditionFate::held;
}

PlayState Player::go_on(std::string& error) {
    const std::vector<ScenarioStep>& steps = mesh_.scenario().steps;
    while (at_ < steps.size()) {
        const ScenarioStep& step = steps[at_];
        if (mesh_.passed() - begun_ < step.after) {
            return PlayState::playing;
        }
        PlayedStep played;
        played.step = at_;
        const ConditionFate fate = play(step, &played, error);
        if (fate == ConditionFate::pending) {
            return PlayState::playing;
        }
        played.time = mesh_.passed();
        played.event = mesh_.events().size();
        played.good = fate == ConditionFate::held;
        played_.push_back(played);
        ++at_;
        begun_ = mesh_.passed();
        if (fate == ConditionFate::failed && step.kind != StepKind::expect) {
            return PlayState::stopped;
        }
    }
    return PlayState::done;
}

int Player::failures() const {
    return static_cast<int>(std::count_if(played_.begin(), played_.end(),
                                          [](const PlayedStep& step) { return !step.good; }));
}

bool Player::waits() const {
    return at_ < mesh_.scenario().steps.size();
}

}  // namespace lab
