// What a run leaves behind when something was not as expected: one folder with everything that is
// needed to understand it and to run it again. On the mesh's thread, while all is quiet.
#pragma once

#include <string>

#include "lab/mesh/mesh.h"

namespace lab {

// Fills the folder: scenario.scn (which runs again as it is), events, violations, effects, and for
// every node its logs, recorded lines, files and processes. False when it cannot be written.
bool mesh_evidence_write(const Mesh& mesh, const std::string& folder);

// Each node's flow log of all boots, dated as on the node, as FOLDER/NODE/backhaul_flow_log.
bool mesh_logs_write(const Mesh& mesh, const std::string& folder);

// What sanitizers reported about any process of any node, "NODE: TEXT"; empty when all is well.
std::vector<std::string> mesh_sanitizer_reports(const Mesh& mesh);

}  // namespace lab
