#include "lab/air/air_verbs.h"

#include <algorithm>

#include "lab/air/air_paths.h"
#include "lab/air/air_prober.h"
#include "lab/air/air_radio.h"
#include "lab/air/air_station.h"
#include "lab/air/air_time.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

struct Deed {
    Air* air;
    const Verb& verb;
    int node;
    Effects* effects;
    std::string* note;
};

AirNode& node_of(const Deed& deed) {
    return deed.air->nodes[air_index(deed.node)];
}

void deauth(const Deed& deed) {
    const AirPaths paths = air_paths(*deed.air);
    std::string interface = deed.verb.interface;
    if (interface.empty()) {
        const std::vector<std::string> carrying = air_uplinks_carrying(*deed.air, deed.node);
        interface = air_uplink(*deed.air, paths, deed.node);
        interface = interface.empty() && !carrying.empty() ? carrying.front() : interface;
    }
    const int station = air_station_find(node_of(deed), interface);
    if (station == NOBODY || node_of(deed).stations[air_index(station)].ap_node == NOBODY) {
        *deed.note = interface.empty() ? "no station of " + deed.verb.node + " has an AP"
                                       : interface + " of " + deed.verb.node + " has no AP";
        return;
    }
    air_station_lose(deed.air, deed.node, station, deed.effects);
}

void ap_silence(const Deed& deed, bool silenced) {
    bool changed = false;
    for (AirAp& ap : node_of(deed).aps) {
        if (ap.is_backhaul && ap.silenced != silenced &&
            (deed.verb.interface.empty() || deed.verb.interface == ap.interface)) {
            ap.silenced = silenced;
            changed = true;
        }
    }
    if (!changed) {
        const std::string aps =
            (deed.verb.interface.empty() ? "all backhaul APs" : deed.verb.interface) + " of " +
            deed.verb.node;
        *deed.note = aps + (silenced ? ": silenced already" : ": not silenced");
    }
}

// Notes it when who hears whom is as it was.
void signals_compare(const Deed& deed, const std::vector<std::array<int, 3>>& before) {
    if (deed.air->signals == before) {
        *deed.note = deed.verb.node + " is heard like that already";
    }
}

void move(const Deed& deed) {
    const auto before = deed.air->signals;
    for (int other = 0; other < static_cast<int>(deed.air->nodes.size()); ++other) {
        if (other != deed.node) {
            air_signal_set(deed.air, deed.node, other, "", SIGNAL_NONE);
        }
    }
    for (const auto& [peer, signal] : deed.verb.hears) {
        air_signal_set(deed.air, deed.node, air_node_find(*deed.air, peer), "", signal);
    }
    signals_compare(deed, before);
}

int some_root(const Air& air) {
    for (std::size_t node = 0; node < air.nodes.size(); ++node) {
        if (air.nodes[node].is_root) {
            return static_cast<int>(node);
        }
    }
    return NOBODY;
}

bool has_cable(const Air& air, int node) {
    return std::ranges::any_of(air.cables,
                               [node](const AirCable& cable) { return cable.from == node; });
}

void cable_in(const Deed& deed) {
    const int to =
        deed.verb.peer.empty() ? some_root(*deed.air) : air_node_find(*deed.air, deed.verb.peer);
    const bool has_one = has_cable(*deed.air, deed.node);
    if (has_one || to == NOBODY || to == deed.node) {
        *deed.note = has_one ? deed.verb.node + " has a cable already"
                             : "there is no root to lead a cable to";
        return;
    }
    deed.air->cables.push_back({deed.node, to});
}

// One cable, up from either end: each agent finds a port that came up, and no more.
void cable_between(const Deed& deed) {
    const int peer = air_node_find(*deed.air, deed.verb.peer);
    for (const int end : {deed.node, peer}) {
        if (has_cable(*deed.air, end)) {
            *deed.note = deed.air->nodes[air_index(end)].name + " has a cable already";
            return;
        }
    }
    deed.air->cables.push_back({deed.node, peer});
    deed.air->cables.push_back({peer, deed.node});
}

void cable_out(const Deed& deed) {
    std::vector<AirCable>& cables = deed.air->cables;
    const auto pulled = std::find_if(cables.begin(), cables.end(), [&deed](const AirCable& cable) {
        return cable.from == deed.node &&
               (deed.verb.peer.empty() ||
                deed.air->nodes[air_index(cable.to)].name == deed.verb.peer);
    });
    if (pulled == cables.end()) {
        *deed.note = deed.verb.node + " has no such cable";
        return;
    }
    const int from = pulled->from;
    const int to = pulled->to;
    std::erase_if(cables, [&](AirCable& cable) {
        const bool is_it =
            (cable.from == from && cable.to == to) || (cable.from == to && cable.to == from);
        if (is_it) {
            air_cable_lose(&cable, deed.effects);
        }
        if (is_it && cable.up) {
            deed.effects->push_back(effect_fifo(cable.from, "eth_lost"));
        }
        return is_it;
    });
}

void nol_effect(const Deed& deed) {
    Effect effect = effect_on(EffectKind::nol, deed.node);
    for (const int channel : node_of(deed).struck_channels) {
        effect.numbers.push_back(air_frequency(channel));
    }
    deed.effects->push_back(effect);
}

// Moves the node's upper radio to the first channel that radar leaves it.
void channel_move(const Deed& deed) {
    AirNode& node = node_of(deed);
    for (AirAp& ap : node.aps) {
        const int channel = air_channel_choose(deed.air->channels, node.struck_channels, ap.band);
        if (channel == ap.channel) {
            continue;
        }
        ap.channel = channel;
        if (ap.on_air && channel != 0 && ap.is_backhaul) {
            Effect effect = effect_on(EffectKind::channel, deed.node);
            effect.interface = ap.interface;
            effect.number = channel;
            deed.effects->push_back(effect);
        }
    }
}

void radar(const Deed& deed) {
    AirNode& node = node_of(deed);
    const int times =
        deed.verb.all ? static_cast<int>(deed.air->channels.size()) : deed.verb.number;
    for (int strike = 0; strike < times; ++strike) {
        const int channel =
            air_channel_choose(deed.air->channels, node.struck_channels, AirBand::five_high);
        if (channel == 0) {
            *deed.note = strike == 0 ? "radar has taken every channel of " + deed.verb.node : "";
            return;
        }
        node.struck_channels.insert(channel);
        nol_effect(deed);
        channel_move(deed);
    }
}

void clear_radar(const Deed& deed) {
    std::set<int>& struck = node_of(deed).struck_channels;
    const int channel = deed.verb.number;
    if (struck.empty() || (channel != 0 && !struck.contains(channel))) {
        *deed.note = "radar has taken " +
                     (channel == 0 ? "no channel" : "channel " + std::to_string(channel) + " not") +
                     " of " + deed.verb.node;
        return;
    }
    std::erase_if(struck, [channel](int one) { return channel == 0 || one == channel; });
    nol_effect(deed);
    // An AP stays where it is; one without a channel takes the first again.
    for (AirAp& ap : node_of(deed).aps) {
        if (ap.channel == 0) {
            ap.channel = air_channel_choose(deed.air->channels, struck, ap.band);
        }
    }
}

void kill_tool(const Deed& deed) {
    AirNode& node = node_of(deed);
    const std::int64_t until = deed.verb.seconds > 0 ? deed.air->now + deed.verb.seconds : FOR_EVER;
    const bool counted = deed.verb.times > 0;
    if (deed.verb.word == TOOL_HYD) {
        deed.effects->push_back(effect_on(EffectKind::hyd_end, deed.node));
    } else if (deed.verb.word == TOOL_AGENT && counted) {
        node.agent_fails = deed.verb.times;
    } else if (deed.verb.word == TOOL_AGENT) {
        node.agent_fails_until = until;
    } else if (counted) {
        node.supplicant_fails = deed.verb.times;
    } else if (deed.verb.seconds > 0) {
        node.supplicant_fails_until = until;
    } else {
        for (AirStation& station : node.stations) {
            station.attached = false;
        }
        deed.effects->push_back(effect_on(EffectKind::supplicant_end, deed.node));
    }
}

void drop_messages(const Deed& deed) {
    node_of(deed).messages_off_until =
        deed.verb.seconds > 0 ? deed.air->now + deed.verb.seconds : FOR_EVER;
    deed.effects->push_back(effect_on(EffectKind::messages_off, deed.node));
}

void approval(const Deed& deed, bool approved) {
    if (node_of(deed).approved == approved) {
        *deed.note = deed.verb.node + (approved ? " is approved already" : " is not approved");
        return;
    }
    node_of(deed).approved = approved;
    air_approval_lists(deed.air, deed.effects);
    for (std::size_t node = 0; node < deed.air->nodes.size(); ++node) {
        if (deed.air->nodes[node].is_root && deed.air->nodes[node].powered) {
            deed.effects->push_back(effect_fifo(static_cast<int>(node), "approval_list_changed"));
        }
    }
}

void configure(const Deed& deed) {
    for (const AirStation& station : node_of(deed).stations) {
        if (!deed.verb.interface.empty() && deed.verb.interface != station.interface) {
            continue;
        }
        const std::string section = "wireless." + station.interface + ".";
        deed.effects->push_back(effect_uci(deed.node, section + "ssid", deed.air->ssid));
        deed.effects->push_back(effect_uci(deed.node, section + "auth", "WPA2PSK"));
        deed.effects->push_back(effect_uci(deed.node, section + "WPAPSKkey", deed.air->key));
    }
}

void role(const Deed& deed) {
    const bool to_root = deed.verb.word == "root";
    if (node_of(deed).is_root == to_root) {
        *deed.note = deed.verb.node + " has that role already";
        return;
    }
    node_of(deed).is_root = to_root;
    deed.effects->push_back(effect_fifo(deed.node, to_root ? "master" : "slave"));
    air_approval_lists(deed.air, deed.effects);
}

void power_off(const Deed& deed) {
    if (!node_of(deed).powered && node_of(deed).boots_at == AT_NO_TIME) {
        *deed.note = deed.verb.node + " has no power";
    }
    air_power_off(deed.air, deed.node, AT_NO_TIME, deed.effects);
}

void power_on(const Deed& deed) {
    if (node_of(deed).powered || node_of(deed).boots_at != AT_NO_TIME) {
        *deed.note = deed.verb.node + " has power already";
        return;
    }
    node_of(deed).boots_at = deed.air->now + deed.air->boot_seconds;
}

// Verbs that need the node to run.
bool needs_power(VerbKind kind) {
    return kind == VerbKind::deauth || kind == VerbKind::kill_worker ||
           kind == VerbKind::kill_tool || kind == VerbKind::drop_messages ||
           kind == VerbKind::role || kind == VerbKind::command || kind == VerbKind::configure;
}

void fade(const Deed& deed) {
    const auto before = deed.air->signals;
    air_signal_set(deed.air, deed.node, air_node_find(*deed.air, deed.verb.peer), deed.verb.word,
                   deed.verb.number);
    signals_compare(deed, before);
}

// A word that the daemon does not know reaches it all the same: whether it is dropped is its part.
void command(const Deed& deed) {
    const std::vector<std::string> words(FIFO_WORDS.begin(), FIFO_WORDS.end());
    if (std::find(words.begin(), words.end(), deed.verb.word) == words.end()) {
        *deed.note = unknown_word(deed.verb.word, "word of the FIFO", words);
    }
    deed.effects->push_back(effect_fifo(deed.node, deed.verb.word));
}

void worker_signal(const Deed& deed) {
    Effect effect = effect_on(EffectKind::worker_signal, deed.node);
    effect.number = deed.verb.number;
    deed.effects->push_back(effect);
}

void act(const Deed& deed) {
    switch (deed.verb.kind) {
        case VerbKind::deauth:
            return deauth(deed);
        case VerbKind::ap_off:
        case VerbKind::ap_on:
            return ap_silence(deed, deed.verb.kind == VerbKind::ap_off);
        case VerbKind::fade:
            return fade(deed);
        case VerbKind::move:
            return move(deed);
        case VerbKind::cable_in:
            return cable_in(deed);
        case VerbKind::cable_out:
            return cable_out(deed);
        case VerbKind::cable_between:
            return cable_between(deed);
        case VerbKind::radar:
            return radar(deed);
        case VerbKind::clear_radar:
            return clear_radar(deed);
        case VerbKind::reboot:
            return air_power_off(deed.air, deed.node, deed.air->now + deed.air->boot_seconds,
                                 deed.effects);
        case VerbKind::power_off:
            return power_off(deed);
        case VerbKind::power_on:
            return power_on(deed);
        case VerbKind::kill_worker:
            return worker_signal(deed);
        case VerbKind::kill_tool:
            return kill_tool(deed);
        case VerbKind::drop_messages:
            return drop_messages(deed);
        case VerbKind::approve:
        case VerbKind::revoke:
            return approval(deed, deed.verb.kind == VerbKind::approve);
        case VerbKind::configure:
            return configure(deed);
        case VerbKind::role:
            return role(deed);
        case VerbKind::command:
            return command(deed);
    }
}

}  // namespace

Effects air_verb(Air* air, const Verb& verb, std::string* note) {
    Effects effects;
    note->clear();
    const Deed deed{air, verb, air_node_find(*air, verb.node), &effects, note};
    if (deed.node == NOBODY) {
        *note = "there is no node " + verb.node;
        return effects;
    }
    if (needs_power(verb.kind) && !node_of(deed).powered) {
        *note = verb.node + " has no power";
        return effects;
    }
    act(deed);
    air_settle(air, &effects);
    return effects;
}

}  // namespace lab
