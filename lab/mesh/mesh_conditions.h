// Whether a condition of a scenario holds in a mesh right now, and what is there instead.
//
// Called between two seconds, on the mesh's thread. Nothing is changed.
#pragma once

#include <string>

#include "lab/mesh/mesh.h"
#include "lab/scenario/condition.h"

namespace lab {

// True when it holds. `found` says what was seen ("e1 status is not-ready"), also when it holds.
// A condition of all nodes holds when it holds for every extender;
// `found` then tells of the last.
bool mesh_condition_holds(const Mesh& mesh, const Condition& condition, std::string* found);

}  // namespace lab
