// Ways to the root: who hangs below whom, how far and how fast.
//
// Functions of the air. Only powered nodes, joined stations and forwarding cables count.
#pragma once

#include <string>
#include <vector>

#include "lab/air/air_model.h"

namespace lab {

inline constexpr int VIA_CABLE = -2;

// For every node its way to the nearest root.
struct AirPaths {
    std::vector<int> hops;    // 0 on a root, NOBODY without a way
    std::vector<int> parent;  // node above, NOBODY without one
    std::vector<int> via;     // index of the station that leads there, VIA_CABLE or NOBODY
};

AirPaths air_paths(const Air& air);

// Interface of the node's way up ("ath0", "eth"), or empty.
std::string air_uplink(const Air& air, const AirPaths& paths, int node);

// `above` lies on the way from `node` to the root, or is `node` itself.
bool air_leads_through(const AirPaths& paths, int node, int above);

// Every interface of the node over which frames pass upwards: joined stations, then a cable.
std::vector<std::string> air_uplinks_carrying(const Air& air, int node);

// Nodes that a message from `node` reaches, itself included, in ascending order.
std::vector<int> air_reachable(const Air& air, int node);

// Answers of the driver for a station. hops: of the node when the station is joined (1 below the
// root), 255 without a way. rate: Mbit/s from the node to the root through this station
// over all hops, which share the air; 0 when not joined.
int air_station_hops(const Air& air, int node, int station);
int air_station_rate(const Air& air, int node, int station);

// Seconds that a megabit takes from the node to the root by way of an AP of that band.
double air_cost(const Air& air, const AirPaths& paths, int node, int ap_node, AirBand band);

}  // namespace lab
