// Joining and losing access points, and what follows from a change of the air.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/air/air_effect.h"
#include "lab/air/air_model.h"
#include "lab/air/air_paths.h"

namespace lab {

// An AP that a station may join.
struct AirChoice {
    int node = NOBODY;
    int ap = NOBODY;
    int signal = SIGNAL_NONE;

    bool operator==(const AirChoice&) const = default;
};

// The station is on, attached to its supplicant and allowed to look for an AP.
bool air_station_may_search(const AirNode& node, const AirStation& station);

// The AP takes this station: on the air, heard, with its SSID and key.
bool air_may_join(const Air& air, int node, int station, int ap_node, int ap);

// Every AP that the station may join, strongest first (then the shorter way, then the earlier
// node). With `bssid` only that one counts, without it only those with a way to the root.
std::vector<AirChoice> air_choices(const Air& air, const AirPaths& paths, int node, int station,
                                   std::string_view bssid);

// The one that it gets, or a choice of NOBODY.
AirChoice air_choose(const Air& air, int node, int station);

// The station joins or loses its AP (nothing happens when it has none).
void air_station_join(Air* air, int node, int station, const AirChoice& choice, Effects* effects);
void air_station_lose(Air* air, int node, int station, Effects* effects);

// Frames no longer pass over the cable.
void air_cable_lose(AirCable* cable, Effects* effects);

// Brings everything that follows from the rest up to date: APs on the air, associations that can
// no longer be, cables, who is searching, association lists. Called at the end of every input.
void air_settle(Air* air, Effects* effects);

// BSSID that the driver would rather have the station join: the current one unless another is
// faster to the root by a quarter and does not lead back through this node. Empty when the
// station is not joined.
std::string air_preferred_bssid(const Air& air, int node, int station);

}  // namespace lab
