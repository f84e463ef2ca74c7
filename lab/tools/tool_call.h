// One call of a stand-in tool: what it was given and what it answers.
//
// A tool is a function that reads the words, reads and changes the state under `root`, and fills
// `out`, `err` and `exit_code`; it prints nothing itself. tool_call_run does what all calls have
// in common: record, answer from the queue, wait at a gate, ask the air, else run the tool.
#pragma once

#include <string>
#include <vector>

namespace lab {

struct ToolCall {
    std::string root;                    // path prefix of the node's files
    std::string tool;                    // name without folder
    std::vector<std::string> words;      // as given, without the name
    std::vector<std::string> key_words;  // the telling ones (lab/tools/tool_words.h)
    std::string out;                     // standard output
    std::string err;                     // standard error
    int exit_code = 0;
    void (*air_wait_note)(bool begins) = nullptr;  // called around the wait for the air
};

// The word at `index` of `words`, or an empty text.
const std::string& word_at(const std::vector<std::string>& words, std::size_t index);

// Serves the call from start to end. Not re-entrant for the same call.
void tool_call_run(ToolCall* call);

void tool_uci(ToolCall* call);
void tool_wpa_cli(ToolCall* call);
void tool_iwconfig(ToolCall* call);
void tool_iwpriv(ToolCall* call);
void tool_wifi(ToolCall* call);
void tool_hyctl(ToolCall* call);
void tool_radartool(ToolCall* call);
void tool_wifisys_tool(ToolCall* call);
void tool_agent(ToolCall* call);
void tool_led(ToolCall* call);
void tool_ps(ToolCall* call);
void tool_supplicant_script(ToolCall* call);
void tool_wireless_script(ToolCall* call);
void tool_hyd_script(ToolCall* call);

// What an apply is for, "wifi1 ath0 disabled=0": the note of a wireless call's record.
std::string wireless_script_note(const ToolCall& call);

}  // namespace lab
