// The stand-in prober: what other programs of a router would write about its neighbours.
//
// Every node has its own view: devices that it can reach are alive, others miss one probe after
// another; links of devices out of reach count as dead, so that a node's link table never holds a
// cycle. Only texts that changed since they were last sent become effects.
#pragma once

#include <string>

#include "lab/air/air_effect.h"

namespace lab {

inline constexpr int PROBE_SECONDS = 5;

// Text of the association list: every client of the node's backhaul APs, at 2.4 or at 5 GHz.
std::string association_list_text(const Air& air, int node, bool at_2_4_ghz);

// Text of the approval list: every extender with its flag.
std::string approval_list_text(const Air& air);

// Statements that make the node's topology database hold its view.
std::string database_text(const Air& air, int node);

// The association lists of all nodes.
void air_association_lists(Air* air, Effects* effects);

// The approval list on all nodes.
void air_approval_lists(Air* air, Effects* effects);

// Everything that a node has before its daemon starts: its own address, lists, database.
void air_node_files(Air* air, int node, Effects* effects);

// One probe of all devices by all nodes.
void air_probe(Air* air, Effects* effects);

}  // namespace lab
