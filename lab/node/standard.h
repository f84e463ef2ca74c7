// The extender and the root that most tests and the demonstration begin with: their profile,
// configuration, database and the answers of their tools. Called on a node before its daemon
// starts; a test then changes what its story needs.
//
// Extender: ath0 is the preferred station (lower 5 GHz), ath1 the spare one (upper 5 GHz), ath10
// the main and ath11 the guest service AP, ath20 the backhaul AP for lower extenders. Its agent
// configures service APs at the first request, hyd and the supplicant run, and the root is
// 192.168.1.1. Root: the same APs, companions ath22 and ath23, no stations.
#pragma once

#include <string>

#include "lab/node/node.h"

namespace lab {

inline constexpr char EXTENDER_PROFILE[] =
    "ath0 BACKHAUL_STA 5l 200 0\n"
    "ath1 BACKHAUL_STA 5h 100 0\n"
    "ath10 MAIN_SERVICE_AP 5l 0 0\n"
    "ath11 GUEST_SERVICE_AP 2 0 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "eth ETHERNET 0 0 0\n"
    "timer AP_TIMER_INTF 0 0 0\n";

inline constexpr char ROOT_PROFILE[] =
    "ath10 MAIN_SERVICE_AP 5l 0 0\n"
    "ath11 GUEST_SERVICE_AP 2 0 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "ath22 MAIN_SERVICE_AP 5h 0 1\n"
    "ath23 GUEST_SERVICE_AP 5h 0 1\n"
    "eth ETHERNET 0 0 0\n";

// The pass phrase of node messages: the SSID of "ath20".
inline constexpr char MESH_NAME[] = "mesh-backhaul";
inline constexpr char MESH_KEY[] = "mesh-key-1234";

// Addresses in the standard database: the root's and an extender's own AL MAC.
inline constexpr char ROOT_AL_MAC[] = "02:00:00:00:00:01";
inline constexpr char EXTENDER_AL_MAC[] = "02:00:00:00:00:20";

// BSSID of the N-th upstream AP: "02:00:00:00:01:0N". All of them belong to the root.
std::string ap_address(unsigned number);

bool standard_extender(const Node& node, std::string& error);
bool standard_root(const Node& node, std::string& error);

}  // namespace lab
