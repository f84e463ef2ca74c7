#include "lab/node/standard.h"

#include <array>
#include <cstdio>

#include "lab/node/database.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

void configure(const Node& node, const std::string& section) {
    const std::string prefix = "wireless." + section + ".";
    uci_store_set(node.root(), prefix + "ssid", MESH_NAME);
    uci_store_set(node.root(), prefix + "auth", "WPA2PSK");
    uci_store_set(node.root(), prefix + "WPAPSKkey", MESH_KEY);
    uci_store_set(node.root(), prefix + "disabled", "0");
}

std::string extender_al_mac(const Node& node) {
    const std::string ip = node.ip();
    return "02:00:00:00:00:" + (ip.size() < 2 ? "20" : ip.substr(ip.size() - 2));
}

std::string standard_rows(const Node& node) {
    std::string rows = std::string("INSERT INTO Device VALUES ('") + ROOT_AL_MAC +
                       "', 1, 0, 'Router', 'Root', '192.168.1.1');" +
                       "INSERT INTO Device VALUES ('" + extender_al_mac(node) +
                       "', 1, 0, 'L2Device', 'Extender', '" + node.ip() + "');";
    for (unsigned number = 1; number <= 4; ++number) {
        rows += "INSERT INTO ExtenderWiFiLink VALUES ('" + ap_address(number) + "', '" +
                ROOT_AL_MAC + "', '', 0);";
    }
    return rows;
}

bool furnish(const Node& node, const char* profile, std::string& error) {
    if (!file_write(node.at("/tmp/wifi_if_profile"), profile)) {
        error = "cannot write the interface profile";
        return false;
    }
    hyd_running_set(node.root(), true);
    supplicant_pid_file_set(node.root(), 1);
    agent_mode_set(node.root(), AgentMode::at_once);
    agent_reload_value_set(node.root(), "0");
    return database_run(
        node, std::string("PRAGMA synchronous=OFF;") + DATABASE_SCHEMA + standard_rows(node),
        error);
}

}  // namespace

std::string ap_address(unsigned number) {
    std::array<char, 24> text{};
    snprintf(text.data(), text.size(), "02:00:00:00:01:%02x", number & 0xFF);
    return text.data();
}

bool standard_extender(const Node& node, std::string& error) {
    for (const char* section : {"ath0", "ath1", "ath10", "ath11", "ath20"}) {
        configure(node, section);
    }
    iwpriv_value_set(node.root(), "ath0", "whc_dist", "1");
    iwpriv_value_set(node.root(), "ath1", "whc_dist", "1");
    if (!file_write(node.at("/tmp/FirstMAC"), extender_al_mac(node) + "\n")) {
        error = "cannot write the first MAC address";
        return false;
    }
    return furnish(node, EXTENDER_PROFILE, error);
}

bool standard_root(const Node& node, std::string& error) {
    for (const char* section : {"ath10", "ath11", "ath20", "ath22", "ath23"}) {
        configure(node, section);
    }
    return furnish(node, ROOT_PROFILE, error);
}

}  // namespace lab
