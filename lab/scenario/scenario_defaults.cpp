#include "lab/scenario/scenario_defaults.h"

#include <algorithm>
#include <array>

namespace lab {
namespace {

constexpr std::array<std::string_view, 8> TYPES = {
    "MAIN_SERVICE_AP", "GUEST_SERVICE_AP", "VISITOR_SERVICE_AP", "BACKHAUL_STA",
    "BACKHAUL_AP",     "PRE_DEF_AP",       "ETHERNET",           "AP_TIMER_INTF"};
constexpr std::array<std::string_view, 5> BANDS = {"2", "5", "5h", "5l", "-"};
constexpr std::string_view SERVICE_KEY = "for-all-clients";

using Entries = std::vector<std::pair<std::string, std::string>>;

void network_add(Entries* entries, const std::string& section, std::string_view ssid,
                 std::string_view key) {
    entries->emplace_back(section + "ssid", ssid);
    entries->emplace_back(section + "auth", "WPA2PSK");
    entries->emplace_back(section + "WPAPSKkey", key);
}

void interface_add(Entries* entries, const Scenario& scenario, const ScenarioNode& node,
                   const ScenarioInterface& interface) {
    const std::string section = "wireless." + interface.name + ".";
    const bool is_root = node.role == NodeRole::root;
    if (type_is_station(interface.type)) {
        const auto& without = node.unconfigured;
        if (std::find(without.begin(), without.end(), interface.name) == without.end()) {
            network_add(entries, section, scenario.ssid, scenario.key);
        }
        entries->emplace_back(section + "disabled", "1");
    } else if (type_is_backhaul_ap(interface.type)) {
        network_add(entries, section, scenario.ssid, scenario.key);
        entries->emplace_back(section + "disabled", is_root ? "0" : "1");
    } else if (type_is_service_ap(interface.type)) {
        network_add(entries, section, scenario.ssid + "-" + interface.name, SERVICE_KEY);
        entries->emplace_back(section + "disabled", is_root ? "0" : "1");
    }
}

}  // namespace

std::span<const ScenarioInterface> default_interfaces() {
    static const std::vector<ScenarioInterface> interfaces = {
        {"ath0", "BACKHAUL_STA", "5h", 30, 0},       {"ath1", "BACKHAUL_STA", "5l", 20, 0},
        {"ath3", "BACKHAUL_STA", "2", 10, 0},        {"ath20", "BACKHAUL_AP", "5h", 0, 0},
        {"ath12", "BACKHAUL_AP", "5l", 0, 0},        {"ath2", "BACKHAUL_AP", "2", 0, 0},
        {"ath10", "MAIN_SERVICE_AP", "5l", 0, 0},    {"ath11", "GUEST_SERVICE_AP", "5l", 0, 0},
        {"ath14", "VISITOR_SERVICE_AP", "5l", 0, 0}, {"eth", "ETHERNET", "-", 0, 0},
        {"timer", "AP_TIMER_INTF", "-", 0, 0},
    };
    return interfaces;
}

std::vector<std::string> default_options() {
    return {"-d"};
}

ScenarioNode default_node(std::string_view name, NodeRole role) {
    ScenarioNode node;
    node.name = name;
    node.role = role;
    node.options = default_options();
    node.interfaces.assign(default_interfaces().begin(), default_interfaces().end());
    return node;
}

std::span<const std::string_view> interface_types() {
    return TYPES;
}

std::span<const std::string_view> interface_bands() {
    return BANDS;
}

bool type_is_station(std::string_view type) {
    return type == "BACKHAUL_STA";
}

bool type_is_backhaul_ap(std::string_view type) {
    return type == "BACKHAUL_AP";
}

bool type_is_service_ap(std::string_view type) {
    return type == "MAIN_SERVICE_AP" || type == "GUEST_SERVICE_AP" || type == "VISITOR_SERVICE_AP";
}

std::string scenario_profile_text(const ScenarioNode& node) {
    std::string text;
    for (const ScenarioInterface& interface : node.interfaces) {
        text += interface.name + " " + interface.type + " " + interface.band + " " +
                std::to_string(interface.priority) + " " + std::to_string(interface.follow) + "\n";
    }
    return text;
}

std::vector<std::string> scenario_daemon_options(const ScenarioNode& node) {
    std::vector<std::string> words = node.options;
    if (node.role == NodeRole::root) {
        words.insert(words.begin(), "-m");
    }
    return words;
}

Entries scenario_uci(const Scenario& scenario, const ScenarioNode& node) {
    Entries entries;
    for (const ScenarioInterface& interface : node.interfaces) {
        interface_add(&entries, scenario, node, interface);
    }
    for (const auto& own : node.uci) {
        std::erase_if(entries, [&own](const auto& entry) { return entry.first == own.first; });
        entries.push_back(own);
    }
    return entries;
}

}  // namespace lab
