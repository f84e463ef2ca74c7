// The model of the air: who is powered, which APs are on the air, which station is joined to which
// AP, who hears whom, which channels radar has taken, and where cables lie.
//
// Values only; no process, no socket, no file. The lab owns one Air. It changes through four
// inputs, each of which returns effects (air_effect.h) for the lab to carry out in their order:
//
//   air_tool_call      a daemon on some node called a tool (air_tools.h)
//   air_verb           somebody did something to the mesh (air_verbs.h)
//   air_advance        time went on (air_time.h)
//   air_node_prepare   a node's files are there and its daemon is about to start (air_time.h)
//
// and answers questions (air_paths.h, air_radio.h) without changing. All of it on one thread.
//
// Rules of this air:
//  - A backhaul station joins an AP that is on the air, is heard with at least SIGNAL_USABLE on the
//    station's band, and has the SSID and key of the station's network block. It takes
//    `association_seconds`. A BSSID set in the network block is the only one that will do; else the
//    strongest wins.
//  - Backhaul APs announce their node's distance to the root. A station without a set BSSID passes
//    over an AP that has no way to the root, as the driver does.
//  - A joined station stays until its AP, its signal or its supplicant goes away.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lab/air/network_block.h"
#include "lab/scenario/scenario.h"

namespace lab {

inline constexpr int NOBODY = -1;
inline constexpr int SIGNAL_USABLE = -88;
inline constexpr std::int64_t AT_NO_TIME = -1;
inline constexpr std::int64_t FOR_EVER = INT64_MAX;

enum class AirBand {
    two,        // 2.4 GHz
    five_high,  // upper 5 GHz radio, where radar is
    five_low,   // lower 5 GHz radio
    five,       // the 5 GHz radio of a dual-band node: hears both
    none,
};

struct AirAp {
    std::string interface;
    AirBand band = AirBand::none;
    bool is_backhaul = false;  // else for clients
    std::string type;          // as the profile has it
    std::string bssid;
    std::string ssid;
    std::string key;
    bool enabled = false;   // as the wireless service last applied it
    bool silenced = false;  // by the verb ap-off
    bool on_air = false;    // what is heard; follows from all of this
    int channel = 0;        // 0: radar leaves none
};

struct AirStation {
    std::string interface;
    AirBand band = AirBand::none;
    std::string mac;
    bool disabled = true;      // as the wireless service last applied it
    bool device_down = false;  // ifconfig
    bool attached = false;     // to the supplicant
    bool told_off = false;     // wpa_cli disconnect
    bool network_enabled = true;
    NetworkBlock network;
    std::string wanted_bssid;  // empty: any
    bool searching = false;
    std::int64_t searching_since = 0;
    int ap_node = NOBODY;  // joined to this node's
    int ap = NOBODY;       // AP with this index
    std::int64_t joined_at = 0;
};

struct AirNode {
    std::string name;
    std::string almac;
    std::string ip;
    bool is_root = false;
    bool approved = true;
    bool powered = false;
    std::int64_t boots_at = AT_NO_TIME;  // when its files are made and its daemon starts
    std::vector<AirAp> aps;
    std::vector<AirStation> stations;
    std::set<int> struck_channels;            // non-occupancy list
    int agent_fails = 0;                      // so many requests more
    std::int64_t agent_fails_until = 0;       // or until then
    int supplicant_fails = 0;                 // so many interface_add more
    std::int64_t supplicant_fails_until = 0;  // or until then
    std::int64_t messages_off_until = 0;      // 0: not dropped
    std::map<int, int> missed;                // probes that a device did not answer
    std::map<int, int> parent_seen;           // where a device last was, as this node knows it
    std::map<std::string, std::string> sent;  // files as last sent, by path
};

struct AirCable {
    int from = NOBODY;  // the node whose uplink it is
    int to = NOBODY;
    bool up = false;          // both ends powered
    bool answered = false;    // the daemon has taken "eth_detect"
    bool forwarding = false;  // frames pass
    std::int64_t asked_at = 0;
    std::int64_t up_since = 0;
};

struct Air {
    std::int64_t now = 0;
    std::int64_t probe_at = 0;
    int association_seconds = DEFAULT_ASSOCIATION_SECONDS;
    int boot_seconds = DEFAULT_BOOT_SECONDS;
    std::string ssid;
    std::string key;
    std::vector<int> channels;
    std::vector<AirNode> nodes;
    std::vector<std::array<int, 3>> signals;  // [a * nodes + b]: TWO, FIVE_HIGH, FIVE_LOW
    std::vector<AirCable> cables;
    bool joins_changed = false;  // since the association lists were last sent
};

// An index as containers want it. NOBODY is none.
constexpr std::size_t air_index(int at) {
    return static_cast<std::size_t>(at);
}

// Index of the node, station or AP of that name, or NOBODY.
int air_node_find(const Air& air, std::string_view name);
int air_station_find(const AirNode& node, std::string_view interface);
int air_ap_find(const AirNode& node, std::string_view interface);

AirBand air_band(std::string_view keyword);

// Addresses of the node with that index: of the device itself, and of its interface number
// `interface` counted from 0.
std::string air_almac(int node);
std::string air_interface_mac(int node, int interface);
std::string air_ip(int node);

}  // namespace lab
