// Whether a condition of a scenario holds in a mesh right now, and what is there instead.
//
// Called between two seconds, on the mesh's thread. Nothing is changed.
#pragma once

#include <string>

#include "lab/mesh/mesh.h"
#include "lab/scenario/condition.h"

namespace lab {

// True when it holds. `found` says what was seen ("e1 status is not-ready"), also when it holds.
// A condition of all nodes holds when it holds for every extender; `found` then tells of the last.
// `since` is where a condition that looks back and names no mark begins, null: where it does so by
// itself.
bool mesh_condition_holds(const Mesh& mesh, const Condition& condition, std::string* found,
                          const Mesh::Moment* since = nullptr);

// True when it holds for none of the nodes that it names.
bool mesh_condition_fails(const Mesh& mesh, const Condition& condition, std::string* found,
                          const Mesh::Moment* since = nullptr);

// What the node has now of a condition with a value (condition_has_value): "ath0", "2", "none".
std::string mesh_condition_value(const Mesh& mesh, const Condition& condition);

}  // namespace lab
