// The wireless settings tool. Its access point line is what others cut words from: the address, or
// Not-Associated, is the sixth word.
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {
namespace {

std::string iface_name(const std::string& interface, const std::string& value) {
    return "iface/" + state_name(interface) + "/" + value;
}

std::string access_point(const ToolCall& call, const std::string& interface, bool master) {
    const std::string address = wifi_ap_address(call.root, interface);
    if (master && state_is_set(call.root, iface_name(interface, "down"))) {
        return "Not-Associated";
    }
    if (!address.empty()) {
        return address;
    }
    return master ? "02:AA:00:00:00:01" : "Not-Associated";
}

void show(ToolCall* call, const std::string& interface) {
    const std::string mode = wifi_mode(call->root, interface);
    const std::string essid = state_get(call->root, iface_name(interface, "essid"));
    const std::string frequency = state_get(call->root, iface_name(interface, "frequency"), "5.18");
    const std::string power = state_get(call->root, iface_name(interface, "txpower"), "24");
    std::string padded = interface;
    padded.resize(padded.size() < 10 ? 10 : padded.size() + 1, ' ');
    call->out = padded + "IEEE 802.11ac  ESSID:\"" + essid + "\"  \n";
    call->out += "          Mode:" + mode + "  Frequency:" + frequency +
                 " GHz  Access Point: " + access_point(*call, interface, mode == "Master") +
                 "   \n";
    call->out += "          Bit Rate:866.7 Mb/s   Tx-Power:" + power + " dBm   \n";
    call->out +=
        "          RTS thr:off   Fragment thr:off\n"
        "          Encryption key:off\n"
        "          Power Management:off\n"
        "          Link Quality=60/94  Signal level=-36 dBm  Noise level=-96 dBm\n"
        "          Rx invalid nwid:0  Rx invalid crypt:0  Rx invalid frag:0\n"
        "          Tx excessive retries:0  Invalid misc:0   Missed beacon:0\n"
        "\n";
}

}  // namespace

void tool_iwconfig(ToolCall* call) {
    const std::string& interface = word_at(call->words, 0);
    const std::string& setting = word_at(call->words, 1);
    const std::string& value = word_at(call->words, 2);
    if (interface.empty() || wifi_is_missing(call->root, interface)) {
        call->err = interface + "      No such device\n\n";
        call->exit_code = 1;
        return;
    }
    if (setting.empty()) {
        show(call, interface);
    } else if (setting == "txpower" || (setting == "essid" && value != "on" && value != "off")) {
        state_set(call->root, iface_name(interface, setting), value);
    }
}

}  // namespace lab
