// The scenario that was named on the command line, and a mesh as the control knows it. On the
// program's main thread.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_place.h"
#include "lab/mesh/player.h"
#include "lab/program/arguments.h"
#include "lab/program/control.h"

namespace lab {

// Reads the scenario of those words: a file, or a shape with its numbers. False after the errors
// were told.
bool scenario_load(const std::vector<std::string>& words, Scenario* scenario);

// A mesh that is held for a server: the scenario's steps are played while seconds pass.
class HeldMesh {
public:
    static std::unique_ptr<HeldMesh> make(const Scenario& scenario, const MeshOptions& options,
                                          std::string& error);

    // What the control asks for. Valid while this object lives.
    MeshHandlers handlers();

private:
    explicit HeldMesh(std::unique_ptr<Mesh> mesh) : mesh_(std::move(mesh)), player_(*mesh_) {}
    int play(std::string* error);
    int second(std::string* error);
    MeshStatus status() const;
    std::vector<LogEntry> log_new(const std::string& name);

    std::unique_ptr<Mesh> mesh_;
    Player player_;
    bool plays_ = true;
    int failures_told_ = 0;                          // in the server's log
    std::map<std::string, std::uint64_t> log_read_;  // number of the next line, by node
};

}  // namespace lab
