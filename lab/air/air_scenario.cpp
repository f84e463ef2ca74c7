#include "lab/air/air_scenario.h"

#include "lab/air/air_radio.h"
#include "lab/scenario/scenario_defaults.h"

namespace lab {
namespace {

AirNode node_make(const Scenario& scenario, const ScenarioNode& from, int index) {
    AirNode node;
    node.name = from.name;
    node.almac = air_almac(index);
    node.ip = air_ip(index);
    node.is_root = from.role == NodeRole::root;
    node.approved = from.approved;
    int position = 0;
    for (const ScenarioInterface& interface : from.interfaces) {
        const std::string mac = air_interface_mac(index, position++);
        if (type_is_station(interface.type)) {
            AirStation station;
            station.interface = interface.name;
            station.band = air_band(interface.band);
            station.mac = mac;
            node.stations.push_back(station);
        } else if (type_is_backhaul_ap(interface.type) || type_is_service_ap(interface.type)) {
            AirAp ap;
            ap.interface = interface.name;
            ap.band = air_band(interface.band);
            ap.is_backhaul = type_is_backhaul_ap(interface.type);
            ap.type = interface.type;
            ap.bssid = mac;
            ap.ssid = scenario.ssid;
            ap.key = scenario.key;
            ap.channel = air_channel_choose(scenario.channels, node.struck_channels, ap.band);
            node.aps.push_back(ap);
        }
    }
    return node;
}

}  // namespace

Air air_from_scenario(const Scenario& scenario, std::int64_t now) {
    Air air;
    air.now = now;
    air.probe_at = now;
    air.association_seconds = scenario.association_seconds;
    air.boot_seconds = scenario.boot_seconds;
    air.ssid = scenario.ssid;
    air.key = scenario.key;
    air.channels = scenario.channels;
    for (const ScenarioNode& node : scenario.nodes) {
        air.nodes.push_back(node_make(scenario, node, static_cast<int>(air.nodes.size())));
        air.nodes.back().boots_at = now;
    }
    const std::size_t count = air.nodes.size();
    air.signals.assign(count * count, {SIGNAL_NONE, SIGNAL_NONE, SIGNAL_NONE});
    for (const ScenarioHearing& hearing : scenario.hearings) {
        air_signal_set(&air, air_node_find(air, hearing.a), air_node_find(air, hearing.b),
                       hearing.band, hearing.signal);
    }
    for (const auto& [from, to] : scenario.cables) {
        AirCable cable;
        cable.from = air_node_find(air, from);
        cable.to = air_node_find(air, to);
        air.cables.push_back(cable);
    }
    return air;
}

}  // namespace lab
