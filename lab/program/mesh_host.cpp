#include "lab/program/mesh_host.h"

#include <algorithm>
#include <cstdio>

#include "lab/mesh/mesh_conditions.h"
#include "lab/mesh/mesh_report.h"
#include "lab/program/commands.h"
#include "lab/program/shell.h"
#include "lab/scenario/scenario_file.h"
#include "lab/scenario/scenario_generate.h"

namespace lab {
namespace {

int node_index(const Mesh& mesh, const std::string& name) {
    return air_node_find(mesh.air(), name);
}

}  // namespace

bool scenario_load(const std::vector<std::string>& words, Scenario* scenario) {
    std::string error;
    if (words.size() > 1) {
        const std::span<const std::string> numbers = words;
        if (!scenario_generate(words[0], numbers.subspan(1), scenario, error)) {
            complain(error);
            return false;
        }
        return true;
    }
    if (!scenario_file_read(words[0], scenario, error)) {
        fprintf(stderr, "%s\n", error.c_str());
        return false;
    }
    return true;
}

std::unique_ptr<HeldMesh> HeldMesh::make(const Scenario& scenario, const MeshOptions& options,
                                         std::string& error) {
    std::unique_ptr<Mesh> mesh = Mesh::make(scenario, options, error);
    if (mesh == nullptr) {
        return nullptr;
    }
    return std::unique_ptr<HeldMesh>(new HeldMesh(std::move(mesh)));
}

int HeldMesh::play(std::string* error) {
    if (!plays_) {
        return 0;
    }
    const PlayState state = player_.go_on(*error);
    plays_ = state == PlayState::PLAYING;
    if (player_.failures() > failures_told_) {
        failures_told_ = player_.failures();
        printf("line %s\n", status().last_failed.c_str());
    }
    return state == PlayState::STOPPED && !error->empty() ? -1 : 0;
}

int HeldMesh::second(std::string* error) {
    // Steps that are due at the very beginning come before the first second.
    return play(error) == 0 && mesh_->second(*error) == 0 ? play(error) : -1;
}

MeshStatus HeldMesh::status() const {
    return mesh_status(*mesh_, &player_);
}

std::vector<LogEntry> HeldMesh::log_new(const std::string& name) {
    const int index = node_index(*mesh_, name);
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

MeshHandlers HeldMesh::handlers() {
    MeshHandlers handlers;
    handlers.second = [this](std::string* error) {
        return second(error);
    };
    handlers.status = [this] {
        return status();
    };
    handlers.steps_wait = [this] {
        return plays_;
    };
    handlers.verb = [this](const Verb& verb, std::string* note, std::string* error) {
        return mesh_->verb(verb, note, *error);
    };
    handlers.holds = [this](const Condition& condition, std::string* found) {
        return mesh_condition_holds(*mesh_, condition, found);
    };
    handlers.log_new = [this](const std::string& name) {
        return log_new(name);
    };
    handlers.tools_serve = [this] {
        return mesh_->tools_serve();
    };
    handlers.end = [this] {
        mesh_.reset();
    };
    handlers.enter = [this](const std::string& name, std::vector<int>* descriptors,
                            std::string* error) {
        const int index = node_index(*mesh_, name);
        return shell_descriptors_open(mesh_->node(index).node().init(), descriptors, error);
    };
    return handlers;
}

}  // namespace lab
