// Who gets through to a root, over the air and the wires as they are now, and who could.
//
// Functions of the air and the network; on the mesh's thread.
#pragma once

#include <string>
#include <vector>

#include "lab/air/air_model.h"
#include "lab/mesh/mesh_network.h"
#include "lab/rules/observation.h"

namespace lab {

struct MeshReach {
    std::vector<bool> reaches;  // over uplinks that carry frames, to a root with power; roots do
    std::vector<int> above;     // node of the first uplink that carries, NOBODY
};

MeshReach mesh_reach(const Air& air, const MeshNetwork& network);

// What the air offers the node's configured stations.
std::vector<ObservedStation> mesh_stations(const Air& air, const MeshReach& reach,
                                           const std::vector<std::string>& unconfigured, int node);

// Something that was done to the node is not over: it cannot be expected to get ready.
bool mesh_is_troubled(const AirNode& node, std::int64_t now);

}  // namespace lab
