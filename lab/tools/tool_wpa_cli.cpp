// The supplicant's control tool. Attaching and detaching is kept per interface; a station that is
// detached or told to disconnect loses its AP in the local state. Nothing here associates: the
// test or the air does.
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"
#include "lab/tools/tool_words.h"

namespace lab {
namespace {

std::string wpa_name(const std::string& interface, const std::string& value) {
    return "wpa/" + state_name(interface) + "/" + value;
}

void interface_add(ToolCall* call) {
    const std::string& interface = word_at(call->key_words, 1);
    state_set(call->root, wpa_name(interface, "conf"), word_at(call->key_words, 2));
    call->out = "OK\n";
}

void interface_remove(ToolCall* call) {
    const std::string& interface = word_at(call->key_words, 1);
    const bool attached = state_is_set(call->root, wpa_name(interface, "conf"));
    state_unset(call->root, wpa_name(interface, "conf"));
    wifi_not_associated_set(call->root, interface);
    call->out = attached ? "OK\n" : "FAIL\n";
}

void status(ToolCall* call, const std::string& interface) {
    const std::string address = wifi_ap_address(call->root, interface);
    const std::string ssid = uci_store_get(call->root, "wireless." + interface + ".ssid");
    if (!address.empty()) {
        call->out += "bssid=" + address + "\nfreq=5180\nssid=" + ssid + "\nid=0\nmode=station\n";
        call->out += "pairwise_cipher=CCMP\ngroup_cipher=CCMP\nkey_mgmt=WPA2-PSK\n";
    }
    const std::string usual = address.empty() ? "SCANNING" : "COMPLETED";
    call->out += "wpa_state=" + state_get(call->root, wpa_name(interface, "state"), usual) + "\n";
}

// set_network ID VARIABLE VALUE: kept as wpa/IF/network.VARIABLE.
void set_network(ToolCall* call, const std::string& interface) {
    const std::string& variable = word_at(call->key_words, 3);
    const std::string value = word_at(call->key_words, 4);
    if (variable.empty()) {
        call->out += "FAIL\n";
        return;
    }
    state_set(call->root, wpa_name(interface, "network." + state_name(variable)), value);
    call->out += "OK\n";
}

}  // namespace

void tool_wpa_cli(ToolCall* call) {
    const std::string& verb = word_at(call->key_words, 0);
    if (verb == "interface_add") {
        interface_add(call);
        return;
    }
    if (verb == "interface_remove") {
        interface_remove(call);
        return;
    }
    const std::string interface = wpa_cli_interface(call->words);
    if (word_at(call->words, 0) != "-i") {
        call->out = "Selected interface '" + interface + "'\n";
    }
    if (verb == "status") {
        status(call, interface);
    } else if (verb == "set_network") {
        set_network(call, interface);
    } else if (verb == "disable_network" || verb == "enable_network") {
        const bool enabled = verb == "enable_network";
        state_set(call->root, wpa_name(interface, "network.enabled"), enabled ? "1" : "0");
        call->out += "OK\n";
    } else {
        if (verb == "disconnect") {
            wifi_not_associated_set(call->root, interface);
        }
        call->out += "OK\n";
    }
}

}  // namespace lab
