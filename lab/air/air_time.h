// Time and power: what happens in the air by itself.
#pragma once

#include <functional>
#include <string>

#include "lab/air/air_effect.h"

namespace lab {

// How the model looks into a node. A missing file or entry reads as empty.
struct NodeReader {
    std::function<std::string(const std::string& path)> file;  // content of a file on the node
    std::function<std::string(const std::string& key)> uci;    // entry of the store, as `uci get`
};

inline constexpr int AGENT_REPEAT_SECONDS = 10;

// Time is now `now`: searching stations join, nodes boot, cables begin to forward, limited
// disturbances end, the prober looks. Call it once for every second that passes.
Effects air_advance(Air* air, std::int64_t now);

// The node's files and configuration store are made and its daemon is about to start: power is
// on, APs are as the store has them. The effects include the files that other programs write.
Effects air_node_prepare(Air* air, int node, const NodeReader& reader);

// The daemon has answered the Ethernet agent's "eth_detect"; until then the agent repeats it, and
// the cable carries nothing.
void air_ethernet_answered(Air* air, int node);

// Power off. `boots_at` may be AT_NO_TIME.
void air_power_off(Air* air, int node, std::int64_t boots_at, Effects* effects);

// What a service AP, backhaul AP or station is to be after the wireless service has read the
// store: on or off, with which SSID and key.
void air_interface_apply(Air* air, int node, const std::string& interface,
                         const NodeReader& reader);

}  // namespace lab
