#include "lab/air/air_tools.h"

#include <algorithm>

#include "lab/air/air_paths.h"
#include "lab/air/air_station.h"
#include "lab/tools/tool_words.h"

namespace lab {
namespace {

struct Call {
    Air* air;
    int node;
    const AirRequest& request;
    std::vector<std::string> key_words;
    const NodeReader& reader;
    Effects* effects;
};

AirNode& node_of(const Call& call) {
    return call.air->nodes[air_index(call.node)];
}

const std::string& word(const std::vector<std::string>& words, std::size_t at) {
    static const std::string nothing;
    return at < words.size() ? words[at] : nothing;
}

AirReply answer(std::string out) {
    AirReply reply;
    reply.local = false;
    reply.answer.out = std::move(out);
    return reply;
}

bool supplicant_refuses(const Call& call) {
    AirNode& node = node_of(call);
    if (node.supplicant_fails > 0) {
        --node.supplicant_fails;
        return true;
    }
    return node.supplicant_fails_until > call.air->now;
}

// interface_add IF FILE ...: refused for an interface that is attached already, or with a file
// that holds no whole network block.
AirReply interface_add(const Call& call) {
    const int at = air_station_find(node_of(call), word(call.key_words, 1));
    if (at == NOBODY) {
        return {};
    }
    AirStation& station = node_of(call).stations[air_index(at)];
    const NetworkBlock block = network_block_parse(call.reader.file(word(call.key_words, 2)));
    if (supplicant_refuses(call) || station.attached || !block.complete) {
        return answer("FAIL\n");
    }
    station.attached = true;
    station.told_off = false;
    station.network_enabled = true;
    station.network = block;
    station.wanted_bssid.clear();
    return answer("OK\n");
}

AirReply interface_remove(const Call& call) {
    const int at = air_station_find(node_of(call), word(call.key_words, 1));
    if (at == NOBODY) {
        return {};
    }
    AirStation& station = node_of(call).stations[air_index(at)];
    const bool attached = station.attached;
    station.attached = false;
    return answer(attached ? "OK\n" : "FAIL\n");
}

AirReply status(const Call& call, const AirStation& station) {
    if (!station.attached) {
        return answer("");
    }
    std::string text;
    if (station.ap_node != NOBODY) {
        const AirAp& ap = call.air->nodes[air_index(station.ap_node)].aps[air_index(station.ap)];
        text = "bssid=" + ap.bssid + "\nssid=" + ap.ssid + "\nid=0\nmode=station\n" +
               "key_mgmt=WPA2-PSK\nwpa_state=COMPLETED\n";
    } else if (station.told_off || !station.network_enabled) {
        text = "wpa_state=DISCONNECTED\n";
    } else {
        text = "wpa_state=SCANNING\n";
    }
    return answer(text);
}

// set_network 0 bssid MAC
AirReply set_network(const Call& call, AirStation* station) {
    if (word(call.key_words, 3) == "bssid") {
        station->wanted_bssid = word(call.key_words, 4);
    }
    return answer("OK\n");
}

AirReply wpa_cli(const Call& call) {
    const std::string& verb = word(call.key_words, 0);
    if (verb == "interface_add") {
        return interface_add(call);
    }
    if (verb == "interface_remove") {
        return interface_remove(call);
    }
    const std::string interface = wpa_cli_interface(call.request.words);
    const int at = air_station_find(node_of(call), interface);
    if (at == NOBODY) {
        return {};
    }
    AirStation& station = node_of(call).stations[air_index(at)];
    AirReply reply;
    if (verb == "status") {
        reply = status(call, station);
    } else if (verb == "set_network") {
        reply = set_network(call, &station);
    } else if (verb == "disconnect" || verb == "reconnect") {
        station.told_off = verb == "disconnect";
        reply = answer("OK\n");
    } else if (verb == "disable_network" || verb == "enable_network") {
        station.network_enabled = verb == "enable_network";
        reply = answer("OK\n");
    }
    if (!reply.local && word(call.request.words, 0) != "-i") {
        reply.answer.out.insert(0, "Selected interface '" + interface + "'\n");
    }
    return reply;
}

std::string setting_line(const std::string& interface, const std::string& verb,
                         const std::string& value) {
    constexpr std::size_t NAME_COLUMN = 8;
    std::string padded = interface;
    padded.resize(std::max(padded.size(), NAME_COLUMN), ' ');
    return padded + "  " + verb + ":" + value + "  \n";
}

void kick(const Call& call, const std::string& interface, const std::string& mac) {
    for (std::size_t other = 0; other < call.air->nodes.size(); ++other) {
        for (std::size_t at = 0; at < call.air->nodes[other].stations.size(); ++at) {
            const AirStation& client = call.air->nodes[other].stations[at];
            if (client.mac == mac && client.ap_node == call.node &&
                node_of(call).aps[air_index(client.ap)].interface == interface) {
                air_station_lose(call.air, static_cast<int>(other), static_cast<int>(at),
                                 call.effects);
            }
        }
    }
}

AirReply iwpriv(const Call& call) {
    const std::string& interface = word(call.request.words, 0);
    const std::string& verb = word(call.request.words, 1);
    if (verb == "kickmac") {
        kick(call, interface, word(call.request.words, 2));
        return answer("");
    }
    const int station = air_station_find(node_of(call), interface);
    if (station == NOBODY) {
        return {};
    }
    const Air& air = *call.air;
    if (verb == "get_whc_dist") {
        const int hops = air_station_hops(air, call.node, station);
        return answer(setting_line(interface, verb, std::to_string(hops)));
    }
    if (verb == "get_whc_ul_rate") {
        const int rate = air_station_rate(air, call.node, station);
        return answer(setting_line(interface, verb, std::to_string(rate)));
    }
    if (verb == "get_whc_bssid") {
        std::string bssid = air_preferred_bssid(air, call.node, station);
        std::erase(bssid, ':');
        // The driver prints no line when it prefers none.
        return answer(bssid.empty() ? "" : setting_line(interface, verb, bssid));
    }
    return {};
}

AirReply ifconfig(const Call& call) {
    const int at = air_station_find(node_of(call), word(call.request.words, 0));
    const std::string& verb = word(call.request.words, 1);
    if (at == NOBODY || (verb != "down" && verb != "up")) {
        return {};
    }
    node_of(call).stations[air_index(at)].device_down = verb == "down";
    return answer("");
}

// The wireless service: one file names the radio, the radio's file the interface.
AirReply wireless(const Call& call) {
    if (word(call.request.words, 0) != "restart") {
        return {};
    }
    const std::string radio = call.reader.file("/tmp/WirelessDev");
    const std::string path = radio == "wifi0"   ? "/tmp/wifi24G_Apply"
                             : radio == "wifi1" ? "/tmp/wifi5G_Apply"
                             : radio == "wifi2" ? "/tmp/wifi5G_2_Apply"
                                                : "";
    if (path.empty()) {
        return {};
    }
    air_interface_apply(call.air, call.node, call.reader.file(path), call.reader);
    return answer("");
}

bool agent_fails(const Call& call) {
    AirNode& node = node_of(call);
    if (node.agent_fails > 0) {
        --node.agent_fails;
        return true;
    }
    return node.agent_fails_until > call.air->now ||
           air_paths(*call.air).hops[air_index(call.node)] == NOBODY;
}

// The real agent stores what it got from the root before it reports success.
AirReply agent(const Call& call) {
    if (word(call.request.words, 0) != "17") {
        return {};
    }
    if (agent_fails(call)) {
        return answer("");
    }
    for (const std::string& interface :
         air_agent_interfaces(node_of(call), word(call.request.words, 1))) {
        call.effects->push_back(effect_uci(call.node, "wireless." + interface + ".disabled", "0"));
    }
    return {};
}

}  // namespace

std::vector<std::string> air_agent_interfaces(const AirNode& node, std::string_view code) {
    constexpr std::size_t CODE_LENGTH = 4;
    if (code.size() != CODE_LENGTH) {
        return {};
    }
    const std::string_view type = code[2] == '0'   ? "MAIN_SERVICE_AP"
                                  : code[2] == '2' ? "GUEST_SERVICE_AP"
                                                   : "VISITOR_SERVICE_AP";
    std::vector<std::string> names;
    for (const AirAp& ap : node.aps) {
        const char radio = ap.band == AirBand::two         ? '0'
                           : ap.band == AirBand::five_high ? '9'
                                                           : '1';
        if (ap.type == type && radio == code[3]) {
            names.push_back(ap.interface);
        }
    }
    return names;
}

AirReply air_tool_call(Air* air, int node, const AirRequest& request, const NodeReader& reader,
                       Effects* effects) {
    const Call call{air,    node,   request, tool_key_words(request.tool, request.words),
                    reader, effects};
    const std::string& tool = request.tool;
    AirReply reply = tool == "wpa_cli"     ? wpa_cli(call)
                     : tool == "iwpriv"    ? iwpriv(call)
                     : tool == "ifconfig"  ? ifconfig(call)
                     : tool == "wireless"  ? wireless(call)
                     : tool == "vl1905App" ? agent(call)
                                           : AirReply{};
    air_settle(air, effects);
    return reply;
}

}  // namespace lab
