#include "lab/replay/replay_world.h"

#include <algorithm>

#include "ctl/log_event.h"
#include "lab/tools/tool_words.h"

namespace lab {
namespace {

bool has(const PendingLines& lines, std::string_view begin) {
    return std::ranges::any_of(
        lines, [begin](const ReplayLine* line) { return line->text.starts_with(begin); });
}

// A reconnect through a supplicant that is gone begins the station anew.
bool supplicant_gone(const PendingLines& lines) {
    bool reconnects = false;
    for (const ReplayLine* line : lines) {
        const std::string& text = line->text;
        if (text == "backhaul_disconnected : try to reconnect" ||
            text.find(": backhaul sta lost connection") != std::string::npos) {
            reconnects = true;
        } else if (reconnects && text.starts_with("dev_intf_enable_set : enable ath")) {
            return true;
        } else if (text.starts_with("backhaul_intf_state_change") &&
                   !has(lines, "backhaul_auto_config_timeout_handle : ")) {
            reconnects = false;
        }
    }
    return false;
}

bool channels_taken(const PendingLines& lines) {
    return has(lines, "device_dfs_monitoring : Disable ") ||
           (has(lines, "device_dfs_blocking : Enter") &&
            !has(lines, "device_dfs_blocking : Enable "));
}

Topology topology(const PendingLines& lines) {
    return has(lines, "backhaul_db_topo_check : can not find ap almac")  ? Topology::unknown_ap
           : has(lines, "backhaul_db_topo_check : there will be a loop") ? Topology::loop
                                                                         : Topology::clear;
}

std::optional<std::string> approval_list(const PendingLines& lines) {
    constexpr std::string_view ADDRESS = "02:00:00:00:09:01";
    if (has(lines, "device_approval_list_check : approval list not ready")) {
        return std::string(ADDRESS) + " 1\n";
    }
    if (!has(lines, "device_ap_steering_workaround : Enter")) {
        return std::nullopt;
    }
    if (has(lines, "device_5g_high_ap_set : config 1")) {
        return std::string(ADDRESS) + " 1 MRX70\n";
    }
    return std::string(ADDRESS) + (has(lines, "device_5g_high_ap_set : config 0") ? " 1" : " 0") +
           " other\n";
}

// Who is sent away is who the lists hold.
void clients_find(const PendingLines& lines, SecondFacts& facts) {
    constexpr std::string_view KICK = "device_disassoc_all_backhaulap_sta : iwpriv ";
    constexpr std::string_view VERB = " kickmac ";
    for (const ReplayLine* line : lines) {
        const std::size_t verb = line->text.find(VERB);
        if (!line->text.starts_with(KICK) || verb == std::string::npos) {
            continue;
        }
        const std::string interface = line->text.substr(KICK.size(), verb - KICK.size());
        const std::string entry =
            line->text.substr(verb + VERB.size()) + " 1 1 " + interface + "\n";
        std::string& list = interface == "ath2" ? facts.clients_low : facts.clients_high;
        if (list.find(entry) == std::string::npos) {
            list += entry;
        }
    }
}

void stations_find(const PendingLines& lines, SecondFacts& facts) {
    std::string station;
    for (const ReplayLine* line : lines) {
        const log_event event = log_event_read(line->text);
        if (event.kind == log_kind::dispatched) {
            station = event.interface;
        } else if (event.kind == log_kind::not_configured) {
            facts.unconfigured.push_back(station);
        } else if (line->text.ends_with(": intf configured change to CONNECTING_BACKHAUL_AP")) {
            facts.configured.push_back(station);
        } else if (line->text.starts_with("ap_alive_chk(not alive) : reload ")) {
            facts.enabled.emplace_back(event.interface);
        } else if (event.kind == log_kind::link_up_mac || event.kind == log_kind::associated_late) {
            facts.access_points.emplace_back(event.mac);
        }
    }
}

AirReply say(std::string out) {
    AirReply reply;
    reply.local = false;
    reply.answer.out = std::move(out);
    return reply;
}

std::string setting(const std::string& interface, const std::string& verb,
                    const std::string& value) {
    return interface + "      " + verb + ":" + value + "  \n";
}

// The first line of that beginning, what stands behind it.
std::optional<std::string> rest_of(const PendingLines& lines, std::string_view begin) {
    for (const ReplayLine* line : lines) {
        if (line->text.starts_with(begin)) {
            return line->text.substr(begin.size());
        }
    }
    return std::nullopt;
}

AirReply iwpriv_reply(const PendingLines& lines, const AirRequest& request) {
    const std::string& interface = request.words[0];
    const std::string& verb = request.words[1];
    std::optional<std::string> value;
    if (verb == "get_whc_dist") {
        value = rest_of(lines, "qca_dist_get : dist ");
    } else if (verb == "get_whc_ul_rate") {
        value = rest_of(lines, "device_backhaul_ap_ul_rate_update : ul_rate ");
    } else if (verb == "get_whc_bssid") {
        value = rest_of(lines, "backhaul_intf_uplink_scan : Find better AP ");
        if (!value) {
            return say("");
        }
        std::erase(*value, ':');
    }
    return value ? say(setting(interface, verb, *value)) : AirReply{};
}

AirReply wpa_cli_reply(const PendingLines& lines, const AirRequest& request) {
    const std::vector<std::string> words = tool_key_words(request.tool, request.words);
    const std::string verb = words.empty() ? "" : words[0];
    // The daemon's own lines come in this order: what stands first is what happens next.
    for (const ReplayLine* line : lines) {
        const bool fails = line->text == "dev_intf_enable_set : wpa_cli fail, try again";
        const bool disabled =
            line->text.find(" is INTERFACE_DISABLED, restart") != std::string::npos;
        if (fails || disabled) {
            return fails && verb == "interface_add" ? say("FAIL\n")
                   : disabled && verb == "status"   ? say("wpa_state=INTERFACE_DISABLED\n")
                                                    : AirReply{};
        }
        if (line->text.starts_with("device_sta_intf_ssid_set : ")) {
            break;
        }
    }
    return {};
}

}  // namespace

SecondFacts second_facts(const PendingLines& lines) {
    SecondFacts facts;
    facts.agent_done = std::ranges::any_of(lines, [](const ReplayLine* line) {
        return line->text.ends_with(" : Service AP Auto Config Success");
    });
    facts.topology = topology(lines);
    facts.hyd_gone = has(lines, "restart hyd");
    facts.supplicant_gone = supplicant_gone(lines);
    facts.channels_taken = channels_taken(lines);
    // An extender that became ready does so as well, whatever the table says.
    if (has(lines, "device_24g_txpower_decrease : ") &&
        !has(lines, "device_reload_ap_settings : Leave ")) {
        facts.extender_listed = true;
    } else if (has(lines, "device_24g_txpower_recover : ")) {
        facts.extender_listed = false;
    }
    if (const auto feature =
            rest_of(lines, "device_wifi_intf_existence_chk : visitor_network_feature ")) {
        facts.visitor_feature = std::atoi(feature->c_str());
    }
    facts.approval_list = approval_list(lines);
    stations_find(lines, facts);
    clients_find(lines, facts);
    return facts;
}

Seen interface_seen(const PendingLines& lines, std::string_view interface, std::string& mac) {
    for (const ReplayLine* line : lines) {
        const std::string& text = line->text;
        const log_event event = log_event_read(text);
        if (event.kind == log_kind::link_gone_unseen) {
            // One of the two texts does not name the station.
            if (event.interface.empty() || event.interface == interface) {
                return Seen::not_associated;
            }
        } else if (event.kind == log_kind::associated_late) {
            mac = event.mac;
            return Seen::associated;
        } else if (text.starts_with("ap_alive_chk(not alive) : reload ") &&
                   event.interface == interface) {
            return Seen::not_associated;
        } else if (text.starts_with("device_wifi_intf_existence_chk : recover WiFi ") &&
                   text.ends_with(" " + std::string(interface))) {
            return Seen::missing;
        }
    }
    return Seen::as_last_told;
}

AirReply tool_reply(const PendingLines& lines, const AirRequest& request) {
    if (request.tool == "iwpriv" && request.words.size() >= 2) {
        return iwpriv_reply(lines, request);
    }
    if (request.tool == "wpa_cli") {
        return wpa_cli_reply(lines, request);
    }
    return {};
}

}  // namespace lab
