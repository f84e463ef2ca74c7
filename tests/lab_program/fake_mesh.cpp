#include "tests/lab_program/fake_mesh.h"

#include <utility>

#include "lab/scenario/scenario_generate.h"

namespace lab {

Control FakeMesh::control() {
    Control control;
    control.scenario = scenario_line(2);
    control.started = started;
    control.mesh.second = [this](std::string& error) {
        error = fails;
        seconds += fails.empty() ? 1 : 0;
        return fails.empty();
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
    control.mesh.verb = [this](const Verb& verb, std::string& note, std::string& error) {
        verbs.push_back(verb_print(verb));
        error = verb.kind == VerbKind::reboot ? "no power here" : "";
        note = verb.kind == VerbKind::ap_on ? "it was on" : "";
        return error.empty();
    };
    control.mesh.holds = [this](const Condition& condition, std::string& found) {
        found = condition.node + " status is not-ready";
        return holds_at >= 0 && seconds >= holds_at;
    };
    control.mesh.log_new = [this](const std::string& node) {
        return node == "e1" ? std::exchange(log, {}) : std::vector<LogEntry>();
    };
    control.mesh.events_new = [this] {
        return std::exchange(events, {});
    };
    control.mesh.links = [] {
        return Json{{"air", Json::array()}, {"cables", Json::array()}};
    };
    control.mesh.steps = [] {
        return Json{{"steps", Json::array()}};
    };
    control.mesh.lines = [](const std::string& node, std::size_t last) {
        return Json{{"lines", Json::array({node + " " + std::to_string(last)})}};
    };
    control.mesh.files = [](const std::string& node) {
        return Json{{"files", Json::array({node})}};
    };
    control.mesh.enter = [](const std::string& node, NodeEntrance& entrance, std::string& error) {
        entrance = {17, 4026532000};
        error = node == "e1" ? "" : node + " cannot be entered";
        return error.empty();
    };
    return control;
}

}  // namespace lab
