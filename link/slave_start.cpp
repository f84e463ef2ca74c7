#include "link/slave_start.h"

#include "device/intf_enable.h"
#include "device/supplicant.h"
#include "device/wireless_apply.h"
#include "intf/intf_table.h"
#include "intf/intf_timer.h"
#include "link/backhaul_status.h"
#include "link/link_state.h"
#include "link/slave_event.h"
#include "runtime/runtime_block.h"

#include <unistd.h>

namespace {

void backhaul_ap_start(intf_record* record) {
    if (!runtime.backhaul_ap_enable) {
        // A mark for people who look at a dump; nothing reads it back.
        record->held_down = true;
        dev_intf_enable_set(record, INTF_DISABLE);
    } else if (device_sta_config_exist(record)) {
        device_wireless_apply(record);
    }
}

void intf_start(intf_record* record) {
    switch (record->type) {
        case MAIN_SERVICE_AP:
        case GUEST_SERVICE_AP:
        case VISITOR_SERVICE_AP:
            // Clients get no service until the backhaul is configured.
            dev_intf_enable_set(record, INTF_DISABLE);
            break;
        case BACKHAUL_STA:
            record->state = INIT;
            break;
        case BACKHAUL_AP:
            backhaul_ap_start(record);
            break;
        case ETHERNET:
            record->state = ETH_BACKHAUL_DOWN;
            break;
        case AP_TIMER_INTF:
            intf_timer_set(record, TIMER_ON);
            record->state = AP_TIMER_WAIT;
            break;
        case PRE_DEF_AP:
        case INTF_TYPE_OTHER:
            break;
    }
}

}  // namespace

intf_record* preferred_station_choose(std::span<intf_record> table) {
    intf_record* best = nullptr;
    for (intf_record& record : table) {
        if (record.type == BACKHAUL_STA && (best == nullptr || record.priority > best->priority)) {
            best = &record;
        }
    }
    return best;
}

void backhaul_slave_init() {
    backhaul_status_write(backhaul_status::not_ready);
    for (intf_record& record : intf_table_walk()) {
        intf_start(&record);
    }
    runtime.intf_init_done = true;
    runtime.best_backhaul_sta = preferred_station_choose(intf_table_walk());
    sleep(SLAVE_START_PAUSE);
    wifi_slave_event_process(runtime.best_backhaul_sta, START);
}
