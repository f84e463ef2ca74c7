#include "lab/tools/tool_call.h"

#include <array>
#include <string_view>

#include "lab/tools/air_protocol.h"
#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/small_file.h"
#include "lab/tools/tool_words.h"

namespace lab {
namespace {

struct ToolRow {
    std::string_view name;
    void (*run)(ToolCall* call);  // null: the call is recorded and nothing else
};

constexpr std::array<ToolRow, 17> TOOLS = {{
    {"uci", tool_uci},
    {"wpa_cli", tool_wpa_cli},
    {"iwconfig", tool_iwconfig},
    {"iwpriv", tool_iwpriv},
    {"ifconfig", nullptr},
    {"wifi", tool_wifi},
    {"hyctl", tool_hyctl},
    {"radartool", tool_radartool},
    {"wifisys_tool", tool_wifisys_tool},
    {"wifi_channel_monitor", nullptr},
    {"vl1905App", tool_agent},
    {"vlog", nullptr},
    {"ps", tool_ps},
    {"velmor_led_ctrl", tool_led},
    {"qca-wpa-supplicant", tool_supplicant_script},
    {"wireless", tool_wireless_script},
    {"hyd", tool_hyd_script},
}};

void take_over(ToolCall* call, const ToolAnswer& answer) {
    call->out = answer.out;
    call->err = answer.err;
    call->exit_code = answer.exit_code;
}

// True when a queued or lasting answer settled the call.
bool answer_from_queue(ToolCall* call) {
    ToolAnswer answer;
    if (!answer_take(call->root, call->tool, call->key_words, &answer)) {
        return false;
    }
    if (!answer.gate.empty()) {
        path_wait(gate_path(call->root, answer.gate));
    }
    if (answer.run_tool) {
        return false;
    }
    take_over(call, answer);
    return true;
}

// True when the air settled the call.
bool answer_from_air(ToolCall* call) {
    if (!air_is_asked(call->tool) || !path_exists(air_socket_path(call->root))) {
        return false;
    }
    if (call->air_wait_note != nullptr) {
        call->air_wait_note(true);
    }
    const AirReply reply = air_ask(call->root, {call->tool, call->words});
    if (call->air_wait_note != nullptr) {
        call->air_wait_note(false);
    }
    if (!reply.local) {
        take_over(call, reply.answer);
    }
    return !reply.local;
}

}  // namespace

const std::string& word_at(const std::vector<std::string>& words, std::size_t index) {
    static const std::string none;
    return index < words.size() ? words[index] : none;
}

void tool_call_run(ToolCall* call) {
    call->key_words = tool_key_words(call->tool, call->words);
    const std::string note = call->tool == "wireless" ? wireless_script_note(*call) : "";
    call_record_append(call->root, note, call->tool, call->words);
    if (answer_from_queue(call) || answer_from_air(call)) {
        return;
    }
    for (const ToolRow& row : TOOLS) {
        if (row.name == call->tool && row.run != nullptr) {
            row.run(call);
        }
    }
}

}  // namespace lab
