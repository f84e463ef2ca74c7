#include "lab/air/air_station.h"

#include <algorithm>

#include "lab/air/air_prober.h"
#include "lab/air/air_radio.h"

namespace lab {
namespace {

constexpr double WORTH_SWITCHING = 0.8;  // of the current cost

Effect interface_effect(EffectKind kind, int node, const std::string& interface) {
    Effect effect = effect_on(kind, node);
    effect.interface = interface;
    return effect;
}

void link_effect(EffectKind kind, int node, const std::string& interface, int peer,
                 const std::string& peer_interface, Effects* effects) {
    Effect effect = interface_effect(kind, node, interface);
    effect.peer = peer;
    effect.peer_interface = peer_interface;
    effects->push_back(effect);
}

void mac_effect(EffectKind kind, int node, const std::string& interface, const std::string& mac,
                Effects* effects) {
    Effect effect = interface_effect(kind, node, interface);
    effect.mac = mac;
    effects->push_back(effect);
}

void aps_settle(Air* air, int node, Effects* effects) {
    AirNode& owner = air->nodes[air_index(node)];
    for (AirAp& ap : owner.aps) {
        const bool on_air = owner.powered && ap.enabled && !ap.silenced && ap.channel != 0;
        if (on_air == ap.on_air) {
            continue;
        }
        ap.on_air = on_air;
        if (!owner.powered) {
            continue;
        }
        effects->push_back(
            interface_effect(on_air ? EffectKind::ap_up : EffectKind::ap_down, node, ap.interface));
        // The driver tells the channel with which the upper radio comes up, as after a change.
        if (on_air && ap.is_backhaul && ap.band == AirBand::five_high) {
            Effect channel = interface_effect(EffectKind::channel, node, ap.interface);
            channel.number = ap.channel;
            effects->push_back(channel);
        }
    }
}

void stations_settle(Air* air, int node, Effects* effects) {
    const std::size_t count = air->nodes[air_index(node)].stations.size();
    for (std::size_t at = 0; at < count; ++at) {
        const int station = static_cast<int>(at);
        const AirNode& owner = air->nodes[air_index(node)];
        const AirStation& joined = owner.stations[at];
        const bool may_stay = joined.ap_node != NOBODY && air_station_may_search(owner, joined) &&
                              air_may_join(*air, node, station, joined.ap_node, joined.ap);
        if (joined.ap_node != NOBODY && !may_stay) {
            air_station_lose(air, node, station, effects);
        }
        AirStation& changed = air->nodes[air_index(node)].stations[at];
        const bool searching = changed.ap_node == NOBODY && air_station_may_search(owner, changed);
        if (searching && !changed.searching) {
            changed.searching_since = air->now;
        }
        changed.searching = searching;
    }
}

void cable_settle(Air* air, AirCable* cable, Effects* effects) {
    const bool from_powered = air->nodes[air_index(cable->from)].powered;
    const bool up = from_powered && air->nodes[air_index(cable->to)].powered;
    if (up == cable->up) {
        return;
    }
    cable->up = up;
    if (up) {
        cable->answered = false;
        cable->up_since = air->now;
        cable->asked_at = air->now;
        effects->push_back(effect_fifo(cable->from, "eth_detect"));
        return;
    }
    air_cable_lose(cable, effects);
    if (from_powered) {
        effects->push_back(effect_fifo(cable->from, "eth_lost"));
    }
}

}  // namespace

bool air_station_may_search(const AirNode& node, const AirStation& station) {
    return node.powered && !station.disabled && !station.device_down && station.attached &&
           !station.told_off && station.network_enabled && station.network.complete;
}

bool air_may_join(const Air& air, int node, int station, int ap_node, int ap) {
    const AirStation& joiner = air.nodes[air_index(node)].stations[air_index(station)];
    const AirAp& offer = air.nodes[air_index(ap_node)].aps[air_index(ap)];
    return node != ap_node && offer.on_air && offer.is_backhaul &&
           air_bands_meet(joiner.band, offer.band) &&
           air_signal(air, node, ap_node, offer.band) >= SIGNAL_USABLE &&
           joiner.network.ssid == offer.ssid && joiner.network.key_management == "WPA-PSK" &&
           joiner.network.key == offer.key;
}

std::vector<AirChoice> air_choices(const Air& air, const AirPaths& paths, int node, int station,
                                   std::string_view bssid) {
    std::vector<AirChoice> choices;
    for (std::size_t other = 0; other < air.nodes.size(); ++other) {
        const AirNode& owner = air.nodes[other];
        if (bssid.empty() && paths.hops[other] == NOBODY) {
            continue;
        }
        for (std::size_t ap = 0; ap < owner.aps.size(); ++ap) {
            const AirChoice choice{
                static_cast<int>(other), static_cast<int>(ap),
                air_signal(air, node, static_cast<int>(other), owner.aps[ap].band)};
            if ((bssid.empty() || bssid == owner.aps[ap].bssid) &&
                air_may_join(air, node, station, choice.node, choice.ap)) {
                choices.push_back(choice);
            }
        }
    }
    std::stable_sort(choices.begin(), choices.end(),
                     [&paths](const AirChoice& a, const AirChoice& b) {
                         return a.signal != b.signal
                                    ? a.signal > b.signal
                                    : paths.hops[air_index(a.node)] < paths.hops[air_index(b.node)];
                     });
    return choices;
}

AirChoice air_choose(const Air& air, int node, int station) {
    const AirStation& searcher = air.nodes[air_index(node)].stations[air_index(station)];
    const std::string& wanted =
        searcher.wanted_bssid.empty() ? searcher.network.bssid : searcher.wanted_bssid;
    const std::vector<AirChoice> choices = air_choices(air, air_paths(air), node, station, wanted);
    return choices.empty() ? AirChoice{} : choices.front();
}

void air_station_join(Air* air, int node, int station, const AirChoice& choice, Effects* effects) {
    AirStation& joiner = air->nodes[air_index(node)].stations[air_index(station)];
    const AirAp& ap = air->nodes[air_index(choice.node)].aps[air_index(choice.ap)];
    joiner.ap_node = choice.node;
    joiner.ap = choice.ap;
    joiner.joined_at = air->now;
    joiner.searching = false;
    air->joins_changed = true;
    link_effect(EffectKind::link_up, node, joiner.interface, choice.node, ap.interface, effects);
    mac_effect(EffectKind::client_joined, choice.node, ap.interface, joiner.mac, effects);
    mac_effect(EffectKind::station_joined, node, joiner.interface, ap.bssid, effects);
}

void air_station_lose(Air* air, int node, int station, Effects* effects) {
    AirStation& loser = air->nodes[air_index(node)].stations[air_index(station)];
    if (loser.ap_node == NOBODY) {
        return;
    }
    const int above = loser.ap_node;
    const std::string ap = air->nodes[air_index(above)].aps[air_index(loser.ap)].interface;
    loser.ap_node = NOBODY;
    loser.ap = NOBODY;
    loser.searching = false;
    air->joins_changed = true;
    link_effect(EffectKind::link_down, node, loser.interface, above, ap, effects);
    if (air->nodes[air_index(node)].powered) {
        effects->push_back(interface_effect(EffectKind::station_lost, node, loser.interface));
    }
    if (air->nodes[air_index(above)].powered) {
        mac_effect(EffectKind::client_left, above, ap, loser.mac, effects);
    }
}

void air_cable_lose(AirCable* cable, Effects* effects) {
    if (cable->forwarding) {
        cable->forwarding = false;
        link_effect(EffectKind::link_down, cable->from, "eth", cable->to, "eth", effects);
    }
}

void air_settle(Air* air, Effects* effects) {
    const int count = static_cast<int>(air->nodes.size());
    for (int node = 0; node < count; ++node) {
        aps_settle(air, node, effects);
    }
    for (int node = 0; node < count; ++node) {
        stations_settle(air, node, effects);
    }
    for (AirCable& cable : air->cables) {
        cable_settle(air, &cable, effects);
    }
    if (air->joins_changed) {
        air->joins_changed = false;
        air_association_lists(air, effects);
    }
}

std::string air_preferred_bssid(const Air& air, int node, int station) {
    const AirStation& joined = air.nodes[air_index(node)].stations[air_index(station)];
    if (joined.ap_node == NOBODY) {
        return {};
    }
    const AirPaths paths = air_paths(air);
    const AirAp& current = air.nodes[air_index(joined.ap_node)].aps[air_index(joined.ap)];
    double best = air_cost(air, paths, node, joined.ap_node, current.band) * WORTH_SWITCHING;
    std::string bssid = current.bssid;
    for (const AirChoice& choice : air_choices(air, paths, node, station, "")) {
        const AirAp& ap = air.nodes[air_index(choice.node)].aps[air_index(choice.ap)];
        const double cost = air_cost(air, paths, node, choice.node, ap.band);
        if (!air_leads_through(paths, choice.node, node) && cost < best) {
            best = cost;
            bssid = ap.bssid;
        }
    }
    return bssid;
}

}  // namespace lab
