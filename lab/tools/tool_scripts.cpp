// The init scripts: the global supplicant, the wireless service, the hybrid-networking daemon.
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <string_view>

#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"
#include "lab/tools/tool_call.h"

namespace lab {
namespace {

struct RadioRow {
    std::string_view radio;
    std::string_view apply_file;
    std::string_view status_file;
};

constexpr std::array<RadioRow, 3> RADIOS = {{
    {"wifi0", "/tmp/wifi24G_Apply", "/tmp/wifi24G_Status"},
    {"wifi1", "/tmp/wifi5G_Apply", "/tmp/wifi5G_Status"},
    {"wifi2", "/tmp/wifi5G_2_Apply", "/tmp/wifi5G_2_Status"},
}};

constexpr unsigned PID_OF_NO_PROCESS = 4194303;  // the largest that a kernel hands out

struct Apply {
    const RadioRow* row = nullptr;  // null: the files ask for nothing
    std::string interface;
};

Apply apply_asked_for(const std::string& root) {
    std::string radio;
    file_read(root + "/tmp/WirelessDev", &radio);
    for (const RadioRow& row : RADIOS) {
        Apply apply{&row, {}};
        if (row.radio == radio && file_read(root + std::string(row.apply_file), &apply.interface)) {
            return apply;
        }
    }
    return {};
}

// A process that does nothing until it is killed. It keeps none of the caller's descriptors, so
// that nobody waits for its standard output to end.
unsigned idle_process_start() {
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        // By its number: not every C library has a name for it.
        syscall(SYS_close_range, 0U, ~0U, 0U);
        prctl(PR_SET_NAME, "wpa_supplicant");
        for (;;) {
            pause();
        }
    }
    return child > 0 ? static_cast<unsigned>(child) : PID_OF_NO_PROCESS;
}

void supplicant_start(ToolCall* call) {
    switch (supplicant_boot(call->root)) {
        case SupplicantBoot::init_pid:
            supplicant_pid_file_set(call->root, 1);
            break;
        case SupplicantBoot::process:
            supplicant_pid_file_set(call->root, idle_process_start());
            break;
        case SupplicantBoot::dead_pid:
            supplicant_pid_file_set(call->root, PID_OF_NO_PROCESS);
            break;
        case SupplicantBoot::no_file:
            break;
    }
}

}  // namespace

void tool_supplicant_script(ToolCall* call) {
    const std::string& verb = word_at(call->words, 0);
    if (verb == "stop") {
        supplicant_pid_file_remove(call->root);
    } else if (verb == "boot" || verb == "start" || verb == "restart") {
        supplicant_start(call);
    }
}

std::string wireless_script_note(const ToolCall& call) {
    const Apply apply = apply_asked_for(call.root);
    if (apply.row == nullptr) {
        return {};
    }
    const std::string disabled =
        uci_store_get(call.root, "wireless." + apply.interface + ".disabled");
    return std::string(apply.row->radio) + " " + apply.interface + " disabled=" + disabled;
}

void tool_wireless_script(ToolCall* call) {
    const Apply apply = apply_asked_for(call->root);
    if (word_at(call->words, 0) != "restart" || apply.row == nullptr) {
        return;
    }
    const bool disabled =
        uci_store_get(call->root, "wireless." + apply.interface + ".disabled") == "1";
    if (wifi_mode(call->root, apply.interface) == "Master") {
        wifi_bss_up_set(call->root, apply.interface, !disabled);
    } else if (disabled) {
        wifi_not_associated_set(call->root, apply.interface);
    }
    if (state_is_set(call->root, "wireless_status")) {
        file_write(call->root + std::string(apply.row->status_file),
                   state_get(call->root, "wireless_status") + "\n");
    }
}

void tool_hyd_script(ToolCall* call) {
    const std::string& verb = word_at(call->words, 0);
    const bool enabled = uci_store_get(call->root, "hyd.config.Enable") != "0";
    if (verb == "stop") {
        hyd_running_set(call->root, false);
    } else if (verb == "start" || verb == "restart") {
        hyd_running_set(call->root, enabled);
    }
}

}  // namespace lab
