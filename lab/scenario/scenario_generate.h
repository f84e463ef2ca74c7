// Meshes of a shape: nodes and who hears whom, with nothing happening yet.
//
// The first node is "root", the others are "e1", "e2" and so on. Nodes that a drawing would join
// by a line hear each other well. Functions of values.
#pragma once

#include <span>
#include <string>

#include "lab/scenario/scenario.h"

namespace lab {

inline constexpr int SIGNAL_NEAR = -55;  // of nodes that a line joins
inline constexpr int SIGNAL_FAR = -75;   // of neighbours that may help out

// A chain: root - e1 - e2 - ... `nodes` counts the root.
Scenario scenario_line(int nodes);

// Everybody hears the root; each extender also hears its two neighbours on the ring, poorly.
Scenario scenario_star(int nodes);

// `children` extenders under the root, `grandchildren` under each of them. The first level's
// neighbours hear each other poorly.
Scenario scenario_tree(int children, int grandchildren);

// `rows` by `columns` nodes, the root in a corner. Nodes side by side hear each other well, those
// at a corner poorly.
Scenario scenario_grid(int rows, int columns);

// The generator of that name with its numbers: ("tree", {2, 3}). False with a sentence in `error`.
bool scenario_generate(const std::string& shape, std::span<const std::string> numbers,
                       Scenario* scenario, std::string& error);

}  // namespace lab
