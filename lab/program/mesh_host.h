// The scenario that was named on the command line, and a mesh as the control knows it. On the
// program's main thread.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "lab/mesh/mesh.h"
#include "lab/mesh/mesh_place.h"
#include "lab/mesh/player.h"
#include "lab/program/control.h"
#include "lab/tools/record.h"

namespace lab {

// Reads the scenario of those words: a file, or a shape with its numbers. On false `error` has a
// line for each thing that is wrong.
bool scenario_load(const std::vector<std::string>& words, Scenario& scenario, std::string& error);

// A mesh that is held for a server: the scenario's steps are played while seconds pass.
class HeldMesh {
public:
    static std::unique_ptr<HeldMesh> make(const Scenario& scenario, const MeshOptions& options,
                                          std::string& error);

    // A control of this mesh, valid while this object lives.
    Control control();

private:
    explicit HeldMesh(std::unique_ptr<Mesh> mesh) : mesh_(std::move(mesh)), player_(*mesh_) {}
    bool play(std::string& error);
    bool second(std::string& error);
    std::vector<LogEntry> log_new(const std::string& name);
    std::vector<StatusEvent> events_new();
    Json links() const;
    Json steps() const;
    Json lines(const std::string& name, std::size_t last);
    Json files(const std::string& name) const;
    bool enter(const std::string& name, NodeEntrance& entrance, std::string& error) const;

    std::unique_ptr<Mesh> mesh_;
    Player player_;
    bool plays_ = true;
    std::vector<StatusEvent> events_;  // steps that nobody was told of yet
    std::size_t steps_told_ = 0;
    std::size_t events_told_ = 0;                    // of the mesh
    std::map<std::string, std::uint64_t> log_read_;  // number of the next line, by node
    // Command lines by node: how far the record was read, and the newest ones.
    struct Lines {
        std::uint64_t offset = 0;
        std::deque<LineRecord> newest;
    };
    std::map<std::string, Lines> lines_;
};

}  // namespace lab
