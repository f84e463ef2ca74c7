#include "lab/air/air_time.h"

#include "lab/air/air_prober.h"
#include "lab/air/air_station.h"

namespace lab {
namespace {

int node_count(const Air& air) {
    return static_cast<int>(air.nodes.size());
}

void nodes_boot(Air* air, Effects* effects) {
    for (int node = 0; node < node_count(*air); ++node) {
        AirNode& booting = air->nodes[air_index(node)];
        if (!booting.powered && booting.boots_at != AT_NO_TIME && booting.boots_at <= air->now) {
            booting.boots_at = AT_NO_TIME;
            effects->push_back(effect_on(EffectKind::node_start, node));
        }
    }
}

void messages_return(Air* air, Effects* effects) {
    for (int node = 0; node < node_count(*air); ++node) {
        AirNode& dropping = air->nodes[air_index(node)];
        if (dropping.messages_off_until != 0 && dropping.messages_off_until <= air->now) {
            dropping.messages_off_until = 0;
            effects->push_back(effect_on(EffectKind::messages_on, node));
        }
    }
}

void stations_join(Air* air, Effects* effects) {
    for (int node = 0; node < node_count(*air); ++node) {
        const std::size_t count = air->nodes[air_index(node)].stations.size();
        for (std::size_t station = 0; station < count; ++station) {
            const AirStation& searcher = air->nodes[air_index(node)].stations[station];
            if (!searcher.searching ||
                air->now - searcher.searching_since < air->association_seconds) {
                continue;
            }
            const AirChoice choice = air_choose(*air, node, static_cast<int>(station));
            if (choice.node != NOBODY) {
                air_station_join(air, node, static_cast<int>(station), choice, effects);
            }
        }
    }
}

void cable_advance(const Air& air, AirCable* cable, Effects* effects) {
    if (!cable->up || cable->forwarding) {
        return;
    }
    if (!cable->answered) {
        if (air.now - cable->asked_at >= AGENT_REPEAT_SECONDS) {
            cable->asked_at = air.now;
            effects->push_back(effect_fifo(cable->from, "eth_detect"));
        }
        return;
    }
    if (air.now - cable->up_since >= air.association_seconds) {
        cable->forwarding = true;
        Effect link = effect_on(EffectKind::link_up, cable->from);
        link.interface = "eth";
        link.peer = cable->to;
        link.peer_interface = "eth";
        effects->push_back(link);
    }
}

void supplicant_forget(AirStation* station) {
    station->attached = false;
    station->told_off = false;
    station->network_enabled = true;
    station->wanted_bssid.clear();
    station->network = {};
}

}  // namespace

Effects air_advance(Air* air, std::int64_t now) {
    Effects effects;
    air->now = now;
    nodes_boot(air, &effects);
    messages_return(air, &effects);
    air_settle(air, &effects);
    stations_join(air, &effects);
    for (AirCable& cable : air->cables) {
        cable_advance(*air, &cable, &effects);
    }
    air_settle(air, &effects);
    if (now >= air->probe_at) {
        air->probe_at = now + PROBE_SECONDS;
        air_probe(air, &effects);
    }
    return effects;
}

Effects air_node_prepare(Air* air, int node, const NodeReader& reader) {
    Effects effects;
    AirNode& prepared = air->nodes[air_index(node)];
    prepared.powered = true;
    prepared.boots_at = AT_NO_TIME;
    for (std::size_t at = 0; at < prepared.aps.size(); ++at) {
        air_interface_apply(air, node, prepared.aps[at].interface, reader);
    }
    for (std::size_t at = 0; at < prepared.stations.size(); ++at) {
        air_interface_apply(air, node, prepared.stations[at].interface, reader);
    }
    prepared.missed = {{node, 0}};
    prepared.parent_seen = {{node, NOBODY}};
    air_node_files(air, node, &effects);
    air_settle(air, &effects);
    return effects;
}

void air_ethernet_answered(Air* air, int node) {
    for (AirCable& cable : air->cables) {
        if (cable.from == node) {
            cable.answered = true;
        }
    }
}

void air_power_off(Air* air, int node, std::int64_t boots_at, Effects* effects) {
    AirNode& off = air->nodes[air_index(node)];
    off.boots_at = boots_at;
    if (!off.powered) {
        return;
    }
    off.powered = false;
    off.agent_fails = 0;
    off.agent_fails_until = 0;
    off.supplicant_fails = 0;
    off.supplicant_fails_until = 0;
    off.messages_off_until = 0;
    off.missed.clear();
    off.parent_seen.clear();
    for (AirStation& station : off.stations) {
        supplicant_forget(&station);
        station.device_down = false;
    }
    effects->push_back(effect_on(EffectKind::node_stop, node));
}

void air_interface_apply(Air* air, int node, const std::string& interface,
                         const NodeReader& reader) {
    AirNode& owner = air->nodes[air_index(node)];
    const std::string section = "wireless." + interface + ".";
    const bool disabled = reader.uci(section + "disabled") == "1";
    const int station = air_station_find(owner, interface);
    if (station != NOBODY) {
        owner.stations[air_index(station)].disabled = disabled;
        return;
    }
    const int at = air_ap_find(owner, interface);
    if (at == NOBODY) {
        return;
    }
    AirAp& ap = owner.aps[air_index(at)];
    ap.enabled = !disabled;
    ap.ssid = reader.uci(section + "ssid");
    ap.key = reader.uci(section + "WPAPSKkey");
}

}  // namespace lab
