// The auto-configuration agent. Command 18 reloads, 17 asks for the settings of one service AP,
// 23 closes a series, 33 drops a client from the lists; 23 and 33 are only recorded.
#include <array>
#include <charconv>
#include <string_view>

#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {
namespace {

struct AgentRow {
    std::string_view code;
    std::string_view output_file;
    std::string_view state_file;
};

constexpr std::array<AgentRow, 9> AGENT_FILES = {{
    {"0x00", "APautooutput_24G", "vl1905WIFIState_24G"},
    {"0x01", "APautooutput_5G", "vl1905WIFIState_5G"},
    {"0x09", "APautoconfig_5G2", "vl1905WIFIState_5G2"},
    {"0x20", "APautooutput_G1_24G", "vl1905WIFIState_G1_24G"},
    {"0x21", "APautooutput_G1_5G", "vl1905WIFIState_G1_5G"},
    {"0x29", "APautoconfig_G1_5G2", "vl1905WIFIState_G1_5G2"},
    {"0x40", "APautooutput_V_24G", "vl1905WIFIState_V_24G"},
    {"0x41", "APautooutput_V_5G", "vl1905WIFIState_V_5G"},
    {"0x49", "APautoconfig_V_5G2", "vl1905WIFIState_V_5G2"},
}};

// Requests needed until an AP is configured; 0: never.
int requests_needed(const std::string& mode) {
    constexpr std::string_view AFTER_WORD = "after ";
    if (mode == "at-once" || mode == "output-only") {
        return 1;
    }
    int count = 0;
    if (mode.starts_with(AFTER_WORD)) {
        std::from_chars(mode.data() + AFTER_WORD.size(), mode.data() + mode.size(), count);
    }
    return count;
}

void configure(ToolCall* call, const AgentRow& row) {
    const std::string mode = state_get(call->root, "agent/mode", "never");
    const int count = state_count_up(call->root, "agent/requests/" + std::string(row.code));
    const int needed = requests_needed(mode);
    if (needed == 0 || count < needed) {
        return;
    }
    const std::string folder = call->root + "/tmp/vl1905/";
    file_write(folder + std::string(row.output_file), "configured\n");
    if (mode != "output-only") {
        file_write(folder + std::string(row.state_file), "applied\n");
    }
}

void reload(ToolCall* call) {
    if (!state_is_set(call->root, "agent/reload")) {
        return;
    }
    const std::string value = state_get(call->root, "agent/reload");
    file_write(call->root + "/tmp/vl1905.json",
               "{\n    \"AP-autoconfig_Role\": \"enrollee\",\n"
               "    \"AP-autoconfig_WiFiReload\": \"" +
                   value + "\",\n    \"AP-autoconfig_End\": \"1\"\n}\n");
}

}  // namespace

void tool_agent(ToolCall* call) {
    const std::string& command = word_at(call->words, 0);
    if (command == "18") {
        reload(call);
    }
    if (command != "17") {
        return;
    }
    for (const AgentRow& row : AGENT_FILES) {
        if (row.code == word_at(call->words, 1)) {
            configure(call, row);
        }
    }
}

}  // namespace lab
