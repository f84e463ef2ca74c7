#include "link/link_connect.h"

#include "device/autoconfig_agent.h"
#include "device/hop_distance.h"
#include "device/hyd.h"
#include "device/intf_enable.h"
#include "device/led.h"
#include "device/service_ap.h"
#include "link/backhaul_status.h"
#include "link/backup_link.h"
#include "link/link_state.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "topology/topology_check.h"

namespace {

constexpr char CONNECTED[] = "backhaul_connected";

void links_up_decrement() {
    runtime.backhaul_sta_num = runtime.backhaul_sta_num - 1;
}

/// Back to idle and off; the backup's place is free again.
void backup_station_release(intf_record* backup) {
    backhaul_intf_state_change(backup, INIT);
    dev_intf_enable_set(backup, INTF_DISABLE);
    runtime.backup_backhaul_sta = nullptr;
}

void first_link_up(intf_record* record) {
    // For its side effect: "/tmp/rootdistance" is brought up to date.
    qca_dist_get(record);
    backhaul_status_write(backhaul_status::connected);
    device_ap_intf_uci_disable_all();
    hyd_alive_check();
    flow_log("%s(%s) : Sync Service AP settings\n", CONNECTED, record->name.data());
    autoconfig_reload_trigger();
    // The record is still in state 3, in which the agent start sends nothing: the first requests
    // go out with the 15-second timeout of state 4. Other tools rely on that order.
    autoconfig_agent_start(record);
    backhaul_intf_state_change(record, CONNECT_WITH_BACKHAUL_AP);
    intf_record* const backup = runtime.backup_backhaul_sta;
    if (record == runtime.best_backhaul_sta && backup != nullptr &&
        backup->state == CONNECTING_BACKHAUL_AP) {
        flow_log("%s : Best backhaul is alreay ready, disable connecting backup sta(%s)\n",
                 CONNECTED, backup->name.data());
        backup_station_release(backup);
    }
    device_led_control(LED_CONNECTED, runtime.backhaul_sta_num);
}

void preferred_station_back(intf_record* record) {
    const mac_text bssid = mac_format(record->bssid.get());
    if (backhaul_db_topo_check(bssid.data()) == TOPO_LOOP) {
        backhaul_slave_wifi_loop_handle(record);
        links_up_decrement();
        return;
    }
    intf_record* const backup = runtime.backup_backhaul_sta;
    if (backup == nullptr) {
        // The Ethernet detection took the backup away meanwhile.
        return;
    }
    flow_log("%s : Best backhaul come back, disable backup sta(%s)\n", CONNECTED,
             backup->name.data());
    links_up_decrement();
    const link_state backup_state = backup->state;
    backup_station_release(backup);
    if (backup_state == CONNECT_WITH_BACKHAUL_AP) {
        flow_log("%s : backup sta is doing auto-config, try to continue it\n", CONNECTED);
        backhaul_intf_state_change(record, CONNECT_WITH_BACKHAUL_AP);
    } else if (backup_state == BACKHAUL_READY) {
        // The ready backhaul is taken over without a new auto-configuration.
        backhaul_intf_state_change(record, BACKHAUL_READY);
    }
}

void unknown_status_log() {
    flow_log("%s : Unknown status\n", CONNECTED);
    const intf_record* const backup = runtime.backup_backhaul_sta;
    if (backup == nullptr) {
        flow_log("%s : No backup_backhaul_sta\n", CONNECTED);
    } else {
        flow_log("%s : backup_backhaul_sta %s %d\n", CONNECTED, backup->name.data(),
                 backup->state.get());
    }
}

void surplus_link_down(intf_record* record) {
    flow_log("%s : Best backhaul is alreay ready, disable connected backup sta(%s)\n", CONNECTED,
             record->name.data());
    links_up_decrement();
    backhaul_intf_state_change(record, INIT);
    dev_intf_enable_set(record, INTF_DISABLE);
    // Cleared even when the backup is another record.
    runtime.backup_backhaul_sta = nullptr;
}

}  // namespace

link_connect_case link_connect_choose(const link_connect_view& view) {
    if (view.links_up == 1) {
        return link_connect_case::first_link;
    }
    const bool preferred_is_up =
        view.preferred_state == CONNECT_WITH_BACKHAUL_AP || view.preferred_state == BACKHAUL_READY;
    if (!view.record_is_preferred && preferred_is_up) {
        return link_connect_case::preferred_has_link;
    }
    return view.record_is_preferred && view.has_backup ? link_connect_case::preferred_back
                                                       : link_connect_case::unknown_status;
}

void backhaul_connected(intf_record* record) {
    runtime.backhaul_sta_num = runtime.backhaul_sta_num + 1;
    const int32_t links_up = runtime.backhaul_sta_num;
    flow_log("%s(%s) : backhaul_sta_num %d\n", __func__, record->name.data(), links_up);
    const intf_record* const preferred = runtime.best_backhaul_sta;
    const link_connect_view view{
        .links_up = links_up,
        .record_is_preferred = record == preferred,
        .has_backup = runtime.backup_backhaul_sta != nullptr,
        .preferred_state = preferred != nullptr ? preferred->state.get() : INIT,
    };
    switch (link_connect_choose(view)) {
        case link_connect_case::first_link:
            first_link_up(record);
            break;
        case link_connect_case::preferred_back:
            preferred_station_back(record);
            break;
        case link_connect_case::unknown_status:
            unknown_status_log();
            break;
        case link_connect_case::preferred_has_link:
            surplus_link_down(record);
            break;
    }
}
