#include "lab/program/mesh_host.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "lab/mesh/mesh_conditions.h"
#include "lab/mesh/mesh_report.h"
#include "lab/scenario/scenario_file.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/scenario_step.h"

namespace lab {
namespace {

std::string step_text(const Scenario& scenario, const PlayedStep& played) {
    const ScenarioStep& step = scenario.steps[played.step];
    return step_place(step, "") + ": " + step_print(step) +
           (played.text.empty() ? "" : " - " + played.text);
}

}  // namespace

bool scenario_load(const std::vector<std::string>& words, Scenario& scenario, std::string& error) {
    if (words.size() > 1) {
        const std::span<const std::string> numbers = words;
        return scenario_generate(words[0], numbers.subspan(1), &scenario, error);
    }
    if (scenario_file_read(words[0], &scenario, error)) {
        return true;
    }
    // Who names a shape without its numbers means no file.
    std::string how;
    if (access(words[0].c_str(), F_OK) != 0 && !scenario_generate(words[0], {}, &scenario, how) &&
        how.starts_with("say ")) {
        error = how;
    }
    return false;
}

std::unique_ptr<HeldMesh> HeldMesh::make(const Scenario& scenario, const MeshOptions& options,
                                         std::string& error) {
    std::unique_ptr<Mesh> mesh = Mesh::make(scenario, options, error);
    if (mesh == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<HeldMesh>(new HeldMesh(std::move(mesh)));
}

bool HeldMesh::play(std::string& error) {
    if (!plays_) {
        return true;
    }
    const PlayState state = player_.go_on(error);
    plays_ = state == PlayState::playing;
    for (; steps_told_ < player_.played().size(); ++steps_told_) {
        const PlayedStep& played = player_.played()[steps_told_];
        const std::string text = step_text(mesh_->scenario(), played);
        events_.push_back({"step", played.time, "", (played.good ? "good: " : "failed: ") + text});
        if (!played.good) {
            printf("line %s\n", text.c_str());
        }
    }
    return state != PlayState::stopped || error.empty();
}

bool HeldMesh::second(std::string& error) {
    // Steps that are due at the very beginning come before the first second.
    return play(error) && mesh_->second(error) && play(error);
}

std::vector<LogEntry> HeldMesh::log_new(const std::string& name) {
    const int index = air_node_find(mesh_->air(), name);
    if (index == NOBODY) {
        return {};
    }
    const MeshNode& node = mesh_->node(index);
    std::uint64_t& next = log_read_[name];
    next = std::max(next, node.log_first());
    const auto from = static_cast<std::ptrdiff_t>(next - node.log_first());
    std::vector<LogEntry> lines(node.log().begin() + from, node.log().end());
    next = node.log_end();
    return lines;
}

std::vector<StatusEvent> HeldMesh::events_new() {
    for (; events_told_ < mesh_->events().size(); ++events_told_) {
        events_.push_back(status_event(mesh_->events()[events_told_]));
    }
    return std::exchange(events_, {});
}

bool HeldMesh::enter(const std::string& name, NodeEntrance& entrance, std::string& error) const {
    const pid_t pid = mesh_->node(air_node_find(mesh_->air(), name)).node().init();
    struct stat space {};
    if (stat(("/proc/" + std::to_string(pid) + "/ns/pid").c_str(), &space) != 0) {
        error = name + " cannot be entered: " + strerror(errno);
        return false;
    }
    entrance = {pid, space.st_ino};
    return true;
}

Control HeldMesh::control() {
    Control control;
    control.scenario = mesh_->scenario();
    control.started = mesh_->started();
    control.pace.steps_wait = plays_;
    MeshHandlers& handlers = control.mesh;
    handlers.second = [this](std::string& error) {
        return second(error);
    };
    handlers.status = [this] {
        return mesh_status(*mesh_, &player_);
    };
    handlers.steps_wait = [this] {
        return plays_;
    };
    handlers.verb = [this](const Verb& verb, std::string& note, std::string& error) {
        return mesh_->verb(verb, &note, error);
    };
    handlers.holds = [this](const Condition& condition, std::string& why_not) {
        return mesh_condition_holds(*mesh_, condition, &why_not);
    };
    handlers.log_new = [this](const std::string& name) {
        return log_new(name);
    };
    handlers.events_new = [this] {
        return events_new();
    };
    handlers.tools_serve = [this] {
        return mesh_->tools_serve();
    };
    handlers.end = [this] {
        mesh_.reset();
    };
    handlers.links = [this] {
        return links();
    };
    handlers.steps = [this] {
        return steps();
    };
    handlers.lines = [this](const std::string& name, std::size_t last) {
        return lines(name, last);
    };
    handlers.files = [this](const std::string& name) {
        return files(name);
    };
    handlers.enter = [this](const std::string& name, NodeEntrance& entrance, std::string& error) {
        return enter(name, entrance, error);
    };
    return control;
}

}  // namespace lab
