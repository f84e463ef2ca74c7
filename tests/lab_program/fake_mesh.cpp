#include "tests/lab_program/fake_mesh.h"

#include <utility>

#include "lab/scenario/scenario_generate.h"

namespace lab {

Control FakeMesh::control() {
    Control control;
    control.scenario = scenario_line(2);
    control.mesh.second = [this](std::string* error) {
        if (!fails.empty()) {
            *error = fails;
            return -1;
        }
        ++seconds;
        return 0;
    };
    control.mesh.status = [this] {
        MeshStatus status;
        status.title = "fake";
        status.seconds = seconds;
        status.nodes.resize(2);
        status.nodes[0].name = "root";
        status.nodes[1].name = "e1";
        return status;
    };
    control.mesh.steps_wait = [this] {
        return steps_left;
    };
    control.mesh.verb = [this](const Verb& verb, std::string* note, std::string* error) {
        verbs.push_back(verb_print(verb));
        if (verb.kind == VerbKind::REBOOT) {
            *error = "no power here";
            return -1;
        }
        *note = verb.kind == VerbKind::AP_ON ? "it was on" : "";
        return 0;
    };
    control.mesh.holds = [this](const Condition& condition, std::string* found) {
        *found = condition.node + " status is not-ready";
        return holds_at >= 0 && seconds >= holds_at;
    };
    control.mesh.log_new = [this](const std::string& node) {
        return node == "e1" ? std::exchange(log, {}) : std::vector<LogEntry>();
    };
    control.mesh.enter = [this](const std::string& node, std::vector<int>* given,
                                std::string* error) {
        *given = std::exchange(descriptors, {});
        *error = given->empty() ? node + " cannot be entered" : "";
        return !given->empty();
    };
    return control;
}

}  // namespace lab
