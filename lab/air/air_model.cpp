#include "lab/air/air_model.h"

#include <cstdio>

namespace lab {
namespace {

constexpr std::size_t MAC_TEXT_SIZE = 18;

std::string mac_text(int node, int last) {
    std::array<char, MAC_TEXT_SIZE> text;
    std::snprintf(text.data(), text.size(), "02:00:00:00:%02x:%02x",
                  static_cast<unsigned>(node + 1) & 0xFFU, static_cast<unsigned>(last) & 0xFFU);
    return text.data();
}

}  // namespace

int air_node_find(const Air& air, std::string_view name) {
    for (std::size_t at = 0; at < air.nodes.size(); ++at) {
        if (air.nodes[at].name == name) {
            return static_cast<int>(at);
        }
    }
    return NOBODY;
}

int air_station_find(const AirNode& node, std::string_view interface) {
    for (std::size_t at = 0; at < node.stations.size(); ++at) {
        if (node.stations[at].interface == interface) {
            return static_cast<int>(at);
        }
    }
    return NOBODY;
}

int air_ap_find(const AirNode& node, std::string_view interface) {
    for (std::size_t at = 0; at < node.aps.size(); ++at) {
        if (node.aps[at].interface == interface) {
            return static_cast<int>(at);
        }
    }
    return NOBODY;
}

AirBand air_band(std::string_view keyword) {
    return keyword == "2"    ? AirBand::two
           : keyword == "5h" ? AirBand::five_high
           : keyword == "5l" ? AirBand::five_low
           : keyword == "5"  ? AirBand::five
                             : AirBand::none;
}

std::string air_almac(int node) {
    return mac_text(node, 0);
}

std::string air_interface_mac(int node, int interface) {
    return mac_text(node, interface + 1);
}

std::string air_ip(int node) {
    return "192.168.1." + std::to_string(node + 1);
}

}  // namespace lab
