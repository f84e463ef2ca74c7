// What is told of a mesh: its status, what happened, how long outages lasted. Texts and values
// made of a Mesh; on the mesh's thread.
#pragma once

#include <string>

#include "lab/mesh/mesh.h"
#include "lab/mesh/player.h"
#include "lab/report/mesh_status.h"
#include "lab/report/table.h"

namespace lab {

// How the mesh is now. `player` may be null.
MeshStatus mesh_status(const Mesh& mesh, const Player* player);

// As it is told in JSON: a "verb", a "violation" or a "change".
StatusEvent status_event(const MeshEvent& event);

// "2:03  e1  deauth e1 ath0", one line an event.
std::string events_text(const Mesh& mesh);

// One line a violation, those known marked.
std::string violations_text(const Mesh& mesh);

// "known cause left-over-station: 4 times, at most 2 in an hour of 12 (why)", a line a cause.
std::string causes_text(const Mesh& mesh);

// A row an event, and a row an extender: outages, longest, median, seconds until first ready.
Table events_table(const Mesh& mesh);
Table outages_table(const Mesh& mesh);

// What was done, and who was without its backhaul for how long because of it: a row for every verb
// and every outage that began after it and before the next.
Table happened_table(const Mesh& mesh);

// "12: expect e1 status ready within 60 - e1 status is connected", one line for every step that
// went wrong; `file` stands before the line numbers.
std::string differences_text(const Mesh& mesh, const Player& player, const std::string& file);

}  // namespace lab
