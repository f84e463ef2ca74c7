#include "device/ap_policy.h"

#include "device/intf_enable.h"
#include "device/system_probe.h"
#include "device/uci.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

/// Applies one AP's settings; other types are left alone.
void ap_settings_reload(intf_record& record) {
    // Radar handling starts to count afresh after a reload.
    record.dfs_count = 0;
    if (intf_type_is_service_ap(record.type)) {
        flow_log("%s : reload %s\n", "device_reload_ap_settings", record.name.data());
        device_wireless_apply(&record);
    } else if (record.type == BACKHAUL_AP) {
        dev_intf_enable_set(&record, runtime.backhaul_ap_enable != 0 ? 1 : 0);
    }
}

/// Whether the wireless service is applying settings to the radio of `band`.
bool radio_is_setting(uint8_t band) {
    const radio_row* const row = radio_row_find(band);
    if (row == nullptr) {
        return false;
    }
    const File file(row->status_path, "r");
    if (!file) {
        return false;
    }
    std::array<char, 128> word{};
    file_first_word(file.get(), word);
    return std::strstr(word.data(), "isSetting") != nullptr;
}

}  // namespace

void device_reload_ap_settings() {
    flow_log("%s : Enter\n", __func__);
    timeval start{};
    gettimeofday(&start, nullptr);
    // Not committed: only the final Enable=1 is to survive a restart of the node.
    command_run("uci set hyd.config.Enable=0");
    command_run("/etc/init.d/hyd stop");
    for (intf_record& record : intf_table_walk()) {
        ap_settings_reload(record);
    }
    command_run("uci set hyd.config.Enable=1");
    command_run("uci commit hyd");
    command_run("/etc/init.d/hyd restart");
    timeval end{};
    gettimeofday(&end, nullptr);
    flow_log("%s : Leave %f\n", __func__, time_diff_sec(start, end));
    wifi_channel_monitor_once();
}

void ap_alive_chk(unsigned char force) {
    const bool backhaul_ap_watched = runtime.backhaul_ap_enable == 1 || force == 1;
    for (const intf_record& record : intf_table_walk()) {
        const bool watched = intf_type_is_service_ap(record.type) ||
                             (record.type == BACKHAUL_AP && backhaul_ap_watched);
        if (watched && ap_intf_alive(&record) != 1) {
            flow_log("%s(not alive) : reload %s\n", __func__, record.name.data());
            device_wireless_apply(&record);
        }
    }
}

int ap_intf_alive(const intf_record* record) {
    std::array<char, UCI_VALUE_MAX + 1> disabled{};
    wireless_uci_get(record->name.data(), "disabled", disabled);
    if (std::string_view(disabled.data()) == "1") {
        return 1;
    }
    if (radio_is_setting(record->band)) {
        return 1;
    }
    return intf_associated(record->name.data());
}

int intf_associated(const char* name) {
    std::array<char, COMMAND_SIZE_MEDIUM> line{};
    std::snprintf(line.data(), line.size(), "iwconfig %s | grep Not-Associated", name);
    const CommandPipe pipe(line.data());
    if (pipe.file() == nullptr) {
        return 1;
    }
    std::array<char, 65> word{};
    return file_first_word(pipe.file(), word) == 0 ? 1 : 0;
}

void hyd_alive_check() {
    command_run("ps | grep hyd | grep -v grep > /tmp/hyd_alive");
    const File file("/tmp/hyd_alive", "r");
    if (!file) {
        return;
    }
    int pid = 0;
    if (std::fscanf(file.get(), "%d", &pid) == 1 && pid != 0) {
        return;
    }
    flow_log("restart hyd\n");
    // No commit here, unlike the settings reload.
    command_run("uci set hyd.config.Enable=1");
    command_run("/etc/init.d/hyd restart");
}
