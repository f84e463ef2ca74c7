// Tells a scenario while it is played: its chapters, what it says, what is done to the mesh, what
// follows, and for every condition the evidence that was found.
//
// Called by main() on its one thread, inside the sandbox of a mesh.
#pragma once

#include <string>

#include "lab/mesh/mesh_place.h"
#include "lab/sandbox/outside.h"

namespace lab {

// What was told so far, over all scenarios.
struct Tale {
    bool in_colour = false;
    int steps = 0;      // told by `say`
    int evidence = 0;   // conditions that held
    OutsidePlace left;  // where folders go of what went wrong
    OutsidePlace logs;  // where the nodes' flow logs of the last scenario go; not opened: nowhere
};

// Plays the scenario in a mesh of its own. False with `error` when a condition did not hold, a rule
// was broken or the machine failed; everything that the nodes left then lies in the folder that
// `error` names. `is_last` ends with how the mesh is, what happened and how long who was out, and
// leaves the nodes' logs where `tale` wants them.
bool scenario_tell(const Scenario& scenario, const ProgramPlace& place, bool is_last, Tale* tale,
                   std::string& error);

}  // namespace lab
