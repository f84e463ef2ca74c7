#include "device/ap_settings_reload.h"

#include "device/channel_monitor.h"
#include "device/intf_enable.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <cstdint>

namespace {

/// Applies one AP's settings; other types are left alone.
void ap_settings_reload(intf_record& record) {
    // Radar handling starts to count afresh after a reload.
    record.dfs_count = 0;
    if (intf_type_is_service_ap(record.type)) {
        flow_log("%s : reload %s\n", "device_reload_ap_settings", record.name.data());
        device_wireless_apply(&record);
    } else if (record.type == BACKHAUL_AP) {
        dev_intf_enable_set(&record, runtime.backhaul_ap_enable ? INTF_ENABLE : INTF_DISABLE);
    }
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

double time_diff_sec(const timeval& start, const timeval& end) {
    const auto seconds = static_cast<int32_t>(end.tv_sec - start.tv_sec);
    const auto microseconds = static_cast<int32_t>(end.tv_usec - start.tv_usec);
    return static_cast<double>(seconds) + static_cast<double>(microseconds) * 1e-6;
}
