// Radios, bridge control, feature numbers, LED and process list.
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {

// wifi up RADIO: interfaces that went missing with that radio come back.
void tool_wifi(ToolCall* call) {
    if (word_at(call->words, 0) != "up") {
        return;
    }
    const std::string& radio = word_at(call->words, 1);
    for (const std::string& interface : folder_list(state_path(call->root, "iface"))) {
        const std::string missing = "iface/" + interface + "/missing";
        if (!radio.empty() && state_get(call->root, missing) == radio) {
            state_unset(call->root, missing);
        }
    }
}

// hyctl setifbcast BRIDGE IF enable|disable is kept; everything else is only recorded.
void tool_hyctl(ToolCall* call) {
    if (word_at(call->words, 0) == "setifbcast" && call->words.size() == 4) {
        state_set(call->root, "ifbcast/" + state_name(call->words[2]), call->words[3]);
    }
}

// radartool -i RADIO getnol FILE: the file is written only when there is a list.
void tool_radartool(ToolCall* call) {
    const std::string& path = word_at(call->key_words, 1);
    std::string list;
    if (word_at(call->key_words, 0) != "getnol" || path.empty()) {
        return;
    }
    if (!file_read(state_path(call->root, "nol"), &list)) {
        call->err = "radartool: ioctl failed: Operation not supported\n";
        call->exit_code = 1;
        return;
    }
    file_overwrite(call->root + path, list);
}

void tool_wifisys_tool(ToolCall* call) {
    const std::string name =
        "feature/" + word_at(call->key_words, 0) + "." + word_at(call->key_words, 1);
    call->out = state_get(call->root, name, "0") + "\n";
}

void tool_led(ToolCall* call) {
    state_set(call->root, "led", word_at(call->words, 0));
}

void tool_ps(ToolCall* call) {
    call->out =
        "  PID USER       VSZ STAT COMMAND\n"
        "    1 root      1524 S    init\n"
        "  412 root      1180 S    /sbin/ubusd\n"
        "  655 root      1740 S    /sbin/netifd\n";
    if (hyd_is_running(call->root)) {
        call->out += " 2345 root      4120 S    /usr/sbin/hyd -d -C /tmp/hyd.conf -P 7777\n";
    }
    call->out += state_get(call->root, "process_list_extra");
    if (call->out.back() != '\n') {
        call->out += "\n";
    }
}

}  // namespace lab
