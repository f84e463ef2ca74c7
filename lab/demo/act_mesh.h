// The last act of the demonstration: a whole mesh, told by what happens to it. Called once by
// main(), inside the outer sandbox.
#pragma once

#include <string>

#include "lab/mesh/mesh_node.h"
#include "lab/sandbox/outside.h"

namespace lab {

// Plays the scenario file and prints every event as it comes, then a table of the mesh and of all
// outages. Returns the exit code: 0 when every expectation held and no rule was broken.
int act_mesh(const MeshOptions& options, const OutsidePlace& evidence, const std::string& scenario,
             bool in_colour);

}  // namespace lab
