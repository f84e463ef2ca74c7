// Plays the steps of a scenario in a mesh.
//
//   Player player(mesh);
//   while (player.go_on(error) == PlayState::playing) mesh.second(error);
//
// go_on looks at what always or never has to hold, then does everything that is due now: waits that
// are over, verbs, conditions that hold or whose time is up. A wait-until that fails, and a verb
// that a remembered value made impossible, end the play; another condition that fails is kept and
// the play goes on. One thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"

namespace lab {

enum class PlayState {
    playing,  // let a second pass and call again
    done,     // all steps were played
    stopped,  // a step failed that others build on, or the machine failed (`error` is set)
};

// A step that was played. An `always` or `never` is over when it breaks, at its mark or at the end.
struct PlayedStep {
    std::size_t step = 0;     // index in the scenario
    std::int64_t time = 0;    // seconds since the mesh's start when it was over
    std::int64_t waited = 0;  // how long a condition took, or was held
    bool good = true;
    std::size_t event = 0;  // so many events of the mesh came before it was over
    std::string text;       // what a condition found, whether it held or not; a verb's note
    std::string done;       // of a step that used remembered values: the same with these
};

class Player {
public:
    explicit Player(Mesh& mesh) : mesh_(mesh), begun_(mesh.passed()) {}

    PlayState go_on(std::string& error);

    const std::vector<PlayedStep>& played() const {
        return played_;
    }
    int failures() const;

    // A step is pending: somebody wants time to pass.
    bool waits() const;

private:
    // An `always` or `never` that is not over.
    struct Watch {
        PlayedStep played;
        ScenarioStep step;
        Mesh::Moment begun;
    };

    ConditionFate play(std::string& error);
    void act(const ScenarioStep& step, PlayedStep* played);
    ConditionFate condition_step(const ScenarioStep& step, PlayedStep* played);
    ConditionFate verbs_step(std::string& error);
    bool verbs_fill(std::vector<PlayedStep>* group, std::vector<Verb>* verbs);
    bool step_fill_in(std::size_t at, ScenarioStep* filled, PlayedStep* played);
    void over(PlayedStep played);
    void watches_look();
    void watches_end(const std::string& mark);
    void watch_over(Watch* watch, bool good);

    Mesh& mesh_;
    std::size_t at_ = 0;
    std::int64_t begun_;  // when the step's turn came
    std::vector<PlayedStep> played_;
    std::vector<Watch> watches_;
    std::map<std::string, std::string> values_;
};

}  // namespace lab
