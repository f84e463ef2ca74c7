// Plays the steps of a scenario in a mesh.
//
//   Player player(mesh);
//   while (player.go_on(error) == PlayState::playing) mesh.second(error);
//
// go_on does everything that is due now: waits that are over, verbs, conditions that hold or whose
// time is up. A wait-until that fails ends the play, an expect that fails is kept and the play
// goes on. One thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"

namespace lab {

enum class PlayState {
    playing,  // let a second pass and call again
    done,     // all steps were played
    stopped,  // a wait-until did not come true, or the machine failed (`error` is set)
};

// A step that was played.
struct PlayedStep {
    std::size_t step = 0;     // index in the scenario
    std::int64_t time = 0;    // seconds since the mesh's start when it was over
    std::int64_t waited = 0;  // how long a condition took
    bool good = true;
    std::size_t event = 0;  // so many events of the mesh came before it was over
    std::string text;       // what a condition found, whether it held or not; a verb's note
};

class Player {
public:
    explicit Player(Mesh& mesh) : mesh_(mesh), begun_(mesh.passed()) {}

    PlayState go_on(std::string& error);

    const std::vector<PlayedStep>& played() const {
        return played_;
    }
    int failures() const;

    // A wait-until or expect is pending: somebody wants time to pass.
    bool waits() const;

private:
    ConditionFate condition_step(const ScenarioStep& step, PlayedStep* played);
    ConditionFate play(const ScenarioStep& step, PlayedStep* played, std::string& error);

    Mesh& mesh_;
    std::size_t at_ = 0;
    std::int64_t begun_;  // when the step's turn came
    std::vector<PlayedStep> played_;
};

}  // namespace lab
