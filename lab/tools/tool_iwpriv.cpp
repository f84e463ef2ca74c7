// The driver's private settings: `get_NAME` prints a value, `set_NAME VALUE` or `NAME VALUE`
// stores one.
#include <algorithm>

#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {
namespace {

constexpr std::string_view GET = "get_";
constexpr std::string_view SET = "set_";

std::string value_when_unset(const std::string& name) {
    return name == "whc_dist" ? "1" : name == "whc_ul_rate" ? "300" : "0";
}

void get(ToolCall* call, const std::string& interface, const std::string& verb) {
    const std::string name = verb.substr(GET.size());
    std::string value = iwpriv_value(call->root, interface, name);
    if (name == "whc_bssid") {
        // The driver prints twelve digits without separators, and no line without an address.
        value.erase(std::remove(value.begin(), value.end(), ':'), value.end());
        if (value.empty()) {
            return;
        }
    } else if (value.empty()) {
        value = value_when_unset(name);
    }
    std::string padded = interface;
    padded.resize(std::max<std::size_t>(padded.size(), 8), ' ');
    call->out = padded + "  " + verb + ":" + value + "  \n";
}

}  // namespace

void tool_iwpriv(ToolCall* call) {
    const std::string& interface = word_at(call->words, 0);
    const std::string& verb = word_at(call->words, 1);
    if (interface.empty() || wifi_is_missing(call->root, interface)) {
        call->err = interface + "      No such device\n";
        call->exit_code = 1;
        return;
    }
    if (verb.starts_with(GET)) {
        get(call, interface, verb);
    } else if (call->words.size() > 2 && verb != "kickmac") {
        const std::string name = verb.starts_with(SET) ? verb.substr(SET.size()) : verb;
        iwpriv_value_set(call->root, interface, name, word_at(call->words, 2));
    }
}

}  // namespace lab
