#include "link/eth_switch.h"

#include "device/autoconfig_agent.h"
#include "device/hyd.h"
#include "device/intf_enable.h"
#include "device/led.h"
#include "device/service_ap.h"
#include "intf/intf_table.h"
#include "intf/intf_timer.h"
#include "link/link_state.h"
#include "link/slave_event.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

void station_move_aside(intf_record* station, intf_record* eth) {
    // This also ends the retry of a station in INIT: a wired, unconfigured extender then stays in
    // ETH_BACKHAUL_DOWN until the next START of the preferred station. Kept as it is.
    intf_timer_set(station, TIMER_OFF);
    const link_state state = station->state;
    if (state == CONNECTING_BACKHAUL_AP || state == CONNECT_WITH_BACKHAUL_AP) {
        autoconfig_reload_trigger();
        backhaul_intf_state_change(eth, ETH_BACKHAUL_CONNECTED);
        device_led_control(LED_CONNECTED, runtime.backhaul_sta_num);
        backhaul_intf_state_change(station, ETH_BACKHAUL_STANDBY);
    } else if (state == BACKHAUL_READY) {
        // The configuration already made over Wi-Fi is kept.
        backhaul_intf_state_change(eth, ETH_BACKHAUL_READY);
        backhaul_intf_state_change(station, ETH_BACKHAUL_STANDBY);
    }
    dev_intf_enable_set(station, INTF_DISABLE);
    hyd_bcast_reset(station, INTF_DISABLE);
}

}  // namespace

void wifi_slave_eth_detect() {
    flow_log("%s : Enter\n", __func__);
    runtime.eth_backhaul_active = true;
    intf_record* const eth = intf_find_by_name(ETH_INTF_NAME);
    if (eth == nullptr) {
        flow_log("%s : eth_intf is NULL\n", __func__);
        return;
    }
    runtime.backhaul_sta_num = 0;
    for (intf_record& record : intf_table_walk()) {
        if (record.type == BACKHAUL_STA) {
            station_move_aside(&record, eth);
        }
    }
    runtime.backup_backhaul_sta = nullptr;
}

void wifi_backhaul_recover() {
    flow_log("%s : Enter\n", __func__);
    runtime.eth_backhaul_active = false;
    intf_record* const eth = intf_find_by_name(ETH_INTF_NAME);
    if (eth == nullptr) {
        flow_log("%s : eth_intf is NULL\n", __func__);
        return;
    }
    backhaul_intf_state_change(eth, ETH_BACKHAUL_DOWN);
    service_ap_enable_all(INTF_DISABLE);
    for (intf_record& record : intf_table_walk()) {
        if (record.type == BACKHAUL_STA) {
            intf_timer_set(&record, TIMER_OFF);
            // Directly, past the table: every state may be left this way.
            record.state = INIT;
        }
    }
    wifi_slave_event_process(runtime.best_backhaul_sta, START);
}
