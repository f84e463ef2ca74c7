#include "lab/mesh/player.h"

#include <algorithm>

#include "lab/mesh/mesh_conditions.h"

namespace lab {

Player::StepState Player::condition_step(const ScenarioStep& step, PlayedStep* played) {
    const std::int64_t waited = mesh_.passed() - begun_ - step.after;
    played->waited = waited;
    if (mesh_condition_holds(mesh_, step.condition, &played->text)) {
        return StepState::OVER;
    }
    return waited < step.within ? StepState::PENDING : StepState::FAILED;
}

Player::StepState Player::play(const ScenarioStep& step, PlayedStep* played, std::string& error) {
    switch (step.kind) {
        case StepKind::VERB:
            return mesh_.verb(step.verb, &played->text, error) == 0 ? StepState::OVER
                                                                    : StepState::FAILED;
        case StepKind::WAIT:
            return StepState::OVER;
        case StepKind::WAIT_UNTIL:
        case StepKind::EXPECT:
            return condition_step(step, played);
    }
    return StepState::OVER;
}

PlayState Player::go_on(std::string& error) {
    const std::vector<ScenarioStep>& steps = mesh_.scenario().steps;
    while (at_ < steps.size()) {
        const ScenarioStep& step = steps[at_];
        if (mesh_.passed() - begun_ < step.after) {
            return PlayState::PLAYING;
        }
        PlayedStep played;
        played.step = at_;
        const StepState state = play(step, &played, error);
        if (state == StepState::PENDING) {
            return PlayState::PLAYING;
        }
        played.time = mesh_.passed();
        played.good = state == StepState::OVER;
        played_.push_back(played);
        ++at_;
        begun_ = mesh_.passed();
        if (state == StepState::FAILED && step.kind != StepKind::EXPECT) {
            return PlayState::STOPPED;
        }
    }
    return PlayState::DONE;
}

int Player::failures() const {
    return static_cast<int>(std::count_if(played_.begin(), played_.end(),
                                          [](const PlayedStep& step) { return !step.good; }));
}

bool Player::waits() const {
    return at_ < mesh_.scenario().steps.size();
}

}  // namespace lab
