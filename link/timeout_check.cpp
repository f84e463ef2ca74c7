#include "link/timeout_check.h"

#include "device/ap_alive.h"
#include "device/association.h"
#include "device/autoconfig_agent.h"
#include "device/intf_existence.h"
#include "intf/intf_table.h"
#include "intf/intf_timer.h"
#include "link/link_state.h"
#include "link/ready_tick.h"
#include "link/slave_event.h"
#include "link/timeout_limit.h"
#include "radar/dfs.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"
#include "runtime/table_check.h"

#include <unistd.h>
#include <array>
#include <ctime>

namespace {

constexpr char CHECKER[] = "interface_timeout_chk";

void init_timeout(intf_record* record) {
    wifi_slave_event_process(record, START);
}

void connecting_timeout(intf_record* record) {
    flow_log("%s : %s -> CONNECTING_BACKHAUL_AP timeout\n", CHECKER, record->name.data());
    if (!intf_associated(record->name.data())) {
        wifi_slave_event_process(record, TIMEOUT);
        return;
    }
    // Associated after all: the driver's event was missed.
    mac_address bssid = record->bssid.get();
    device_sta_ap_bssid_get(record->name.data(), bssid);
    record->bssid.set(bssid);
    flow_log("%s: connect with : %.2x:%.2x:%.2x:%.2x:%.2x:%.2x\n", CHECKER, bssid[0], bssid[1],
             bssid[2], bssid[3], bssid[4], bssid[5]);
    wifi_slave_event_process(record, ASSOC);
}

void autoconfig_timeout(intf_record* record) {
    // The same text for all three states that wait for the agent.
    flow_log("%s : %s -> CONNECT_WITH_BACKHAUL_AP timeout\n", CHECKER, record->name.data());
    wifi_slave_event_process(record, TIMEOUT);
}

void switch_timeout(intf_record* record) {
    flow_log("%s : %s -> CONNECTING_TARTGET_BACKHAUL_AP timeout\n", CHECKER, record->name.data());
    wifi_slave_event_process(record, TIMEOUT);
}

void pending_timeout(intf_record* record) {
    flow_log("%s : %s -> CONNECT_PENDING timeout\n", CHECKER, record->name.data());
    flow_log("%s : keep %s in PENDING state\n", CHECKER, record->name.data());
    intf_timer_set(record, TIMER_OFF);
}

void unnamed_timeout(intf_record* record) {
    wifi_slave_event_process(record, TIMEOUT);
}

void dfs_monitoring_timeout(intf_record* record) {
    device_dfs_monitoring(record);
}

void dfs_blocking_timeout(intf_record* record) {
    flow_log("%s : %s -> DFS_BLOCKING timeout\n", CHECKER, record->name.data());
    device_dfs_blocking(record);
}

void periodic_existence_check(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    {
        const ScopedLock lock(runtime.state_mutex);
        device_wifi_intf_existence_chk();
    }
    intf_timer_set(record, TIMER_ON);
}

void wired_ready_tick(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    ap_alive_chk(backhaul_ap_check::with_option_d);
    intf_timer_set(record, TIMER_ON);
}

/// What is done when a state's limit (link/timeout_limit) has passed.
struct timeout_row {
    link_state state;
    bool waits_for_autoconfig;
    void (*act)(intf_record*);
};

constexpr std::array TIMEOUTS = {
    timeout_row{INIT, false, init_timeout},
    timeout_row{CONNECTING_BACKHAUL_AP, false, connecting_timeout},
    timeout_row{CONNECT_WITH_BACKHAUL_AP, true, autoconfig_timeout},
    timeout_row{CONNECTING_TARGET_BACKHAUL_AP, false, switch_timeout},
    timeout_row{CONNECT_PENDING, false, pending_timeout},
    timeout_row{BACKHAUL_READY, false, backhaul_ready_tick},
    timeout_row{LINK_STATE_8, true, autoconfig_timeout},
    timeout_row{LINK_STATE_9, false, unnamed_timeout},
    timeout_row{DFS_MONITORING, false, dfs_monitoring_timeout},
    timeout_row{DFS_BLOCKING, false, dfs_blocking_timeout},
    timeout_row{AP_TIMER_WAIT, false, periodic_existence_check},
    timeout_row{ETH_BACKHAUL_CONNECTED, true, autoconfig_timeout},
    timeout_row{ETH_BACKHAUL_READY, false, wired_ready_tick},
};

static_assert(table_keys_are_unique(TIMEOUTS, [](const timeout_row& row) { return row.state; }));

const timeout_row* timeout_row_find(link_state state) {
    for (const timeout_row& row : TIMEOUTS) {
        if (row.state == state) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

void interface_timeout_chk(intf_record* record, uint32_t now) {
    const link_state state = record->state;
    const uint32_t timer_start = record->timer_start;
    const timeout_row* const row = timeout_row_find(state);
    // Another thread may have cleared the timeout since the sweep saw it pending: without a start
    // there is nothing that could have elapsed.
    if (row == nullptr || timer_start == 0) {
        return;
    }
    if (row->waits_for_autoconfig && autoconfig_result_get()) {
        wifi_slave_event_process(record, AUTO_CONFIG_SUCCESS);
        return;
    }
    const timeout_limit limit = timeout_limit_get(state, record->disconnect_count);
    if (intf_timer_elapsed(now, timer_start) > limit.seconds) {
        row->act(record);
    }
}

void timeout_sweep(uint32_t now) {
    for (intf_record& record : intf_table_walk()) {
        if (record.timer_type != 0) {
            interface_timeout_chk(&record, now);
        }
    }
}

void* backhaul_timer_monitor(void* /*argument*/) {
    while (true) {
        intf_timer_wait();
        timeout_sweep(static_cast<uint32_t>(time(nullptr)));
        sleep(1);
    }
}
