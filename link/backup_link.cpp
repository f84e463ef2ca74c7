#include "link/backup_link.h"

#include "device/intf_enable.h"
#include "device/led.h"
#include "intf/intf_table.h"
#include "link/link_state.h"
#include "link/uplink_scan.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

constexpr char FIND_BACKUP[] = "find_backup_backhaul_link";

bool losses_reach_limit(const intf_record* record) {
    return static_cast<int>(record->disconnect_count.get()) >=
           static_cast<int>(runtime.max_disconnect);
}

void station_start(intf_record* record) {
    backhaul_intf_state_change(record, CONNECTING_BACKHAUL_AP);
    dev_intf_enable_set(record, INTF_ENABLE);
}

void backup_found(intf_record* record, intf_record* backup, bool record_is_preferred) {
    runtime.backup_backhaul_sta = backup;
    station_start(backup);
    flow_log("%s : found backup backhaul sta %s\n", FIND_BACKUP, backup->name.data());
    if (record->state == CONNECT_PENDING) {
        return;
    }
    if (record_is_preferred) {
        // The preferred station keeps trying beside the backup.
        station_start(record);
    } else {
        // Directly to idle, without a timer: available to the next search.
        record->state = INIT;
    }
}

void backup_search(intf_record* record, bool record_is_preferred) {
    if (record->state != CONNECT_PENDING) {
        // Directly, past the table: its timer stays as it is.
        record->state = ETH_BACKHAUL_STANDBY;
    }
    flow_log("%s : finding backup backhaul link\n", FIND_BACKUP);
    intf_record* const backup = backup_station_choose(intf_table_walk(), record);
    if (backup == nullptr) {
        // 6 and 16 both accept 3: without a backup even a parked station is tried again at once.
        station_start(record);
        return;
    }
    backup_found(record, backup, record_is_preferred);
}

}  // namespace

intf_record* backup_station_choose(std::span<intf_record> table, const intf_record* record) {
    intf_record* best = nullptr;
    for (intf_record& candidate : table) {
        if (candidate.type != BACKHAUL_STA || &candidate == record || candidate.state != INIT) {
            continue;
        }
        if (best == nullptr || candidate.priority > best->priority) {
            best = &candidate;
        }
    }
    return best;
}

void find_backup_backhaul_link(intf_record* record) {
    const bool record_is_preferred = record == runtime.best_backhaul_sta;
    if (record_is_preferred && losses_reach_limit(record)) {
        backhaul_intf_state_change(record, CONNECT_PENDING);
    }
    if (runtime.backup_backhaul_sta == nullptr || !record_is_preferred) {
        backup_search(record, record_is_preferred);
    } else {
        flow_log("%s : already have backup backhaul sta\n", __func__);
        if (!losses_reach_limit(record)) {
            station_start(record);
        }
    }
    device_led_control(LED_DISCONNECTED, runtime.backhaul_sta_num);
}

void backhaul_slave_wifi_loop_handle(intf_record* record) {
    flow_log("%s : Enter\n", __func__);
    record->disconnect_count = static_cast<int8_t>(runtime.loop_disconnect);
    backhaul_intf_state_change(record, CONNECT_PENDING);
    dev_intf_enable_set(record, INTF_DISABLE);
}

void uplink_scan_reopen() {
    backhaul_sta_uplink_scan_count_clear();
    backhaul_sta_other_band_scan_enable();
    backhaul_slave_backhaul_restore();
}

void backhaul_slave_backhaul_restore() {
    flow_log("%s : Enter\n", __func__);
    intf_record* const preferred = runtime.best_backhaul_sta;
    bool preferred_was_parked = false;
    for (intf_record& record : intf_table_walk()) {
        if (record.type != BACKHAUL_STA) {
            continue;
        }
        record.disconnect_count = 0;
        if (record.state == CONNECT_PENDING) {
            // Directly, past the table: a parked station has no timer to change.
            record.state = INIT;
            preferred_was_parked = preferred_was_parked || &record == preferred;
        }
    }
    if (preferred_was_parked) {
        flow_log("%s : best backhaul reconncet\n", __func__);
        station_start(preferred);
    }
}
