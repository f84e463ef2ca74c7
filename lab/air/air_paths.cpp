#include "lab/air/air_paths.h"

#include <limits>

#include "lab/air/air_radio.h"

namespace lab {
namespace {

constexpr int NO_HOPS = 255;
constexpr double CABLE_RATE = 1000.0;
constexpr double NO_WAY = std::numeric_limits<double>::infinity();

const AirNode& node_at(const Air& air, int node) {
    return air.nodes[static_cast<std::size_t>(node)];
}

struct Edge {
    int child;
    int parent;
    int via;
};

// Cables first: between ways of the same length the cable is the better one.
std::vector<Edge> edges(const Air& air) {
    std::vector<Edge> list;
    for (const AirCable& cable : air.cables) {
        if (cable.forwarding) {
            list.push_back({cable.from, cable.to, VIA_CABLE});
        }
    }
    for (std::size_t node = 0; node < air.nodes.size(); ++node) {
        const std::vector<AirStation>& stations = air.nodes[node].stations;
        for (std::size_t station = 0; station < stations.size(); ++station) {
            if (stations[station].ap_node != NOBODY) {
                list.push_back(
                    {static_cast<int>(node), stations[station].ap_node, static_cast<int>(station)});
            }
        }
    }
    return list;
}

double link_cost(const Air& air, int node, int ap_node, AirBand band) {
    const int rate = air_link_rate(air_signal(air, node, ap_node, band), band);
    return rate == 0 ? NO_WAY : 1.0 / rate;
}

double station_link_cost(const Air& air, int node, const AirStation& station) {
    const AirAp& ap = node_at(air, station.ap_node).aps[air_index(station.ap)];
    return link_cost(air, node, station.ap_node, ap.band);
}

// Seconds that a megabit takes to the root, hop after hop.
double path_cost(const Air& air, const AirPaths& paths, int node) {
    double cost = 0;
    while (paths.hops[air_index(node)] > 0) {
        const int via = paths.via[air_index(node)];
        cost += via == VIA_CABLE
                    ? 1.0 / CABLE_RATE
                    : station_link_cost(air, node, node_at(air, node).stations[air_index(via)]);
        node = paths.parent[air_index(node)];
    }
    if (paths.hops[air_index(node)] != 0) {
        return NO_WAY;
    }
    return cost;
}

int rate_of(double cost) {
    return cost == NO_WAY || cost <= 0 ? 0 : static_cast<int>(1.0 / cost);
}

}  // namespace

AirPaths air_paths(const Air& air) {
    AirPaths paths;
    paths.hops.assign(air.nodes.size(), NOBODY);
    paths.parent.assign(air.nodes.size(), NOBODY);
    paths.via.assign(air.nodes.size(), NOBODY);
    for (std::size_t node = 0; node < air.nodes.size(); ++node) {
        if (air.nodes[node].powered && air.nodes[node].is_root) {
            paths.hops[node] = 0;
        }
    }
    const std::vector<Edge> list = edges(air);
    bool found = true;
    for (int hops = 1; found; ++hops) {
        found = false;
        for (const Edge& edge : list) {
            if (paths.hops[air_index(edge.parent)] == hops - 1 &&
                paths.hops[air_index(edge.child)] == NOBODY) {
                paths.hops[air_index(edge.child)] = hops;
                paths.parent[air_index(edge.child)] = edge.parent;
                paths.via[air_index(edge.child)] = edge.via;
                found = true;
            }
        }
    }
    return paths;
}

std::string air_uplink(const Air& air, const AirPaths& paths, int node) {
    const int via = paths.via[air_index(node)];
    if (via == NOBODY) {
        return {};
    }
    return via == VIA_CABLE ? "eth" : node_at(air, node).stations[air_index(via)].interface;
}

bool air_leads_through(const AirPaths& paths, int node, int above) {
    while (node != NOBODY && node != above) {
        node = paths.parent[air_index(node)];
    }
    return node == above;
}

std::vector<std::string> air_uplinks_carrying(const Air& air, int node) {
    std::vector<std::string> names;
    for (const AirStation& station : node_at(air, node).stations) {
        if (station.ap_node != NOBODY) {
            names.push_back(station.interface);
        }
    }
    for (const AirCable& cable : air.cables) {
        if (cable.from == node && cable.forwarding) {
            names.emplace_back("eth");
        }
    }
    return names;
}

std::vector<int> air_reachable(const Air& air, int node) {
    std::vector<bool> seen(air.nodes.size(), false);
    seen[air_index(node)] = node_at(air, node).powered;
    const std::vector<Edge> list = edges(air);
    bool found = true;
    while (found) {
        found = false;
        for (const Edge& edge : list) {
            if (seen[air_index(edge.child)] != seen[air_index(edge.parent)]) {
                seen[air_index(edge.child)] = true;
                seen[air_index(edge.parent)] = true;
                found = true;
            }
        }
    }
    std::vector<int> reached;
    for (std::size_t other = 0; other < seen.size(); ++other) {
        if (seen[other]) {
            reached.push_back(static_cast<int>(other));
        }
    }
    return reached;
}

int air_station_hops(const Air& air, int node, int station) {
    const int above = node_at(air, node).stations[air_index(station)].ap_node;
    if (above == NOBODY) {
        return NO_HOPS;
    }
    const int hops = air_paths(air).hops[air_index(above)];
    return hops == NOBODY ? NO_HOPS : hops + 1;
}

int air_station_rate(const Air& air, int node, int station) {
    const AirStation& joined = node_at(air, node).stations[air_index(station)];
    if (joined.ap_node == NOBODY) {
        return 0;
    }
    return rate_of(path_cost(air, air_paths(air), joined.ap_node) +
                   station_link_cost(air, node, joined));
}

double air_cost(const Air& air, const AirPaths& paths, int node, int ap_node, AirBand band) {
    return path_cost(air, paths, ap_node) + link_cost(air, node, ap_node, band);
}

}  // namespace lab
