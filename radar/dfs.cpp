#include "radar/dfs.h"

#include "device/intf_enable.h"
#include "intf/intf_timer.h"
#include "radar/dfs_channels.h"
#include "runtime/flow_log.h"

#include <string_view>

bool intf_is_ath20(const char* name) {
    return std::string_view(name) == "ath20";
}

void backhaul_dfs_check(intf_record* record, uint8_t channel) {
    if (!intf_is_ath20(record->name.data())) {
        return;
    }
    const uint8_t current = record->channel;
    flow_log("%s : intf->channel %hhu channel %hhu\n", __func__, current, channel);
    if (current == 0 || current == channel) {
        return;
    }
    const auto count = static_cast<uint8_t>(record->dfs_count + 1);
    record->dfs_count = count;
    flow_log("%s : dfs_count %hhu state %d\n", __func__, count, record->state.get());
    if (count < DFS_COUNT_LIMIT) {
        return;
    }
    if (record->state == DFS_BLOCKING) {
        flow_log("%s : Under dfs blocking state\n", __func__);
    } else {
        // Past the transition table: the radar states belong to this file alone.
        if (record->state != DFS_MONITORING) {
            record->state = DFS_MONITORING;
        }
        intf_timer_set(record, TIMER_ON);
    }
    // Every further change counts as a third one again.
    record->dfs_count = DFS_COUNT_LIMIT - 1;
}

void device_dfs_monitoring(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    if (!device_dfs_channel_available(record)) {
        flow_log("%s : Disable %s\n", __func__, record->name.data());
        record->state = DFS_BLOCKING;
        dev_intf_enable_set(record, INTF_DISABLE);
    }
    intf_timer_set(record, TIMER_ON);
}

void device_dfs_blocking(intf_record* record) {
    flow_log("%s : Enter\n", __func__);
    intf_timer_set(record, TIMER_OFF);
    if (device_dfs_channel_available(record)) {
        flow_log("%s : Enable %s\n", __func__, record->name.data());
        record->state = DFS_MONITORING;
        dev_intf_enable_set(record, INTF_ENABLE);
    }
    intf_timer_set(record, TIMER_ON);
}
