// Where a program that holds a mesh finds what it needs, and the sandbox around all nodes. On the
// program's main thread, before it has started any other.
#pragma once

#include <string>
#include <vector>

#include "lab/mesh/mesh_node.h"

namespace lab {

// What the running program was built with. Programs of the lab lie in a folder of their own below
// the build's.
struct ProgramPlace {
    std::string programs;  // folder of the stand-in tools
    std::string build;     // the one above it
    std::string daemon;
};
ProgramPlace program_place();

// Enters the sandbox in which nodes meet; the folders in `keep` stay visible.
bool mesh_sandbox_enter(const ProgramPlace& place, const std::vector<std::string>& keep,
                        std::string& error);

// How the nodes of a mesh of that size are made.
MeshOptions mesh_options_of(const ProgramPlace& place, const Scenario& scenario);

}  // namespace lab
