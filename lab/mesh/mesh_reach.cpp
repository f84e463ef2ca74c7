#include "lab/mesh/mesh_reach.h"

#include <algorithm>

#include "lab/air/air_radio.h"

namespace lab {
namespace {

struct Way {
    int from;
    int to;
};

std::vector<Way> ways_that_carry(const Air& air, const MeshNetwork& network) {
    std::vector<Way> ways;
    for (int node = 0; node < static_cast<int>(air.nodes.size()); ++node) {
        for (const AirCable& cable : air.cables) {
            if (cable.from == node && cable.forwarding && network.carries(node, "eth")) {
                ways.push_back({node, cable.to});
            }
        }
        for (const AirStation& station : air.nodes[air_index(node)].stations) {
            if (station.ap_node != NOBODY && network.carries(node, station.interface)) {
                ways.push_back({node, station.ap_node});
            }
        }
    }
    return ways;
}

bool leads_through(const MeshReach& reach, int from, int node) {
    for (std::size_t steps = 0; from != NOBODY && steps < reach.above.size(); ++steps) {
        if (from == node) {
            return true;
        }
        from = reach.above[air_index(from)];
    }
    return false;
}

ObservedStation station_observe(const Air& air, const MeshReach& reach, int node,
                                const AirStation& station) {
    ObservedStation seen;
    seen.name = station.interface;
    seen.is_joined = station.ap_node != NOBODY;
    seen.is_attached = station.attached;
    const std::string& wanted =
        station.wanted_bssid.empty() ? station.network.bssid : station.wanted_bssid;
    for (int other = 0; other < static_cast<int>(air.nodes.size()); ++other) {
        if (!reach.reaches[air_index(other)] || leads_through(reach, other, node)) {
            continue;
        }
        for (const AirAp& ap : air.nodes[air_index(other)].aps) {
            if (ap.on_air && ap.is_backhaul && air_bands_meet(station.band, ap.band) &&
                air_signal(air, node, other, ap.band) >= SIGNAL_USABLE && ap.ssid == air.ssid &&
                ap.key == air.key) {
                seen.hears_root = true;
                seen.hears_wanted = seen.hears_wanted || wanted.empty() || wanted == ap.bssid;
            }
        }
    }
    return seen;
}

}  // namespace

MeshReach mesh_reach(const Air& air, const MeshNetwork& network) {
    MeshReach reach;
    reach.above.assign(air.nodes.size(), NOBODY);
    for (const AirNode& node : air.nodes) {
        reach.reaches.push_back(node.powered && node.is_root);
    }
    const std::vector<Way> ways = ways_that_carry(air, network);
    for (bool found = true; found;) {
        found = false;
        for (const Way& way : ways) {
            if (reach.reaches[air_index(way.to)] && !reach.reaches[air_index(way.from)]) {
                reach.reaches[air_index(way.from)] = true;
                reach.above[air_index(way.from)] = way.to;
                found = true;
            }
        }
    }
    for (const Way& way : ways) {
        int& above = reach.above[air_index(way.from)];
        above = above == NOBODY ? way.to : above;
    }
    return reach;
}

std::vector<ObservedStation> mesh_stations(const Air& air, const MeshReach& reach,
                                           const std::vector<std::string>& unconfigured, int node) {
    std::vector<ObservedStation> stations;
    for (const AirStation& station : air.nodes[air_index(node)].stations) {
        if (std::ranges::find(unconfigured, station.interface) == unconfigured.end()) {
            stations.push_back(station_observe(air, reach, node, station));
        }
    }
    return stations;
}

bool mesh_is_troubled(const AirNode& node, std::int64_t now) {
    return !node.approved || node.agent_fails > 0 || node.agent_fails_until > now ||
           node.supplicant_fails > 0 || node.supplicant_fails_until > now ||
           node.messages_off_until != 0;
}

}  // namespace lab
