#include "link/link_disconnect.h"

#include "device/client_control.h"
#include "device/intf_enable.h"
#include "device/led.h"
#include "device/service_ap.h"
#include "device/station_link.h"
#include "link/backup_link.h"
#include "link/link_state.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

constexpr char DISCONNECTED[] = "backhaul_disconnected";

void last_link_down() {
    flow_log("%s : No backhaul link, disassociate all sta in backhaul ap\n", DISCONNECTED);
    device_disassoc_all_backhaulap_sta();
    flow_log("%s : No backhaul link, disable all service AP\n", DISCONNECTED);
    service_ap_enable_all(INTF_DISABLE);
}

/// The retry is under way before state 3 is requested; the LED comes last.
void retry_finish(intf_record* record) {
    backhaul_intf_state_change(record, CONNECTING_BACKHAUL_AP);
    device_led_control(LED_DISCONNECTED, runtime.backhaul_sta_num);
}

void lost_station_retry_or_park(intf_record* record) {
    switch (link_loss_choose(record->state, record->disconnect_count, runtime.max_disconnect)) {
        case link_loss_action::none:
            break;
        case link_loss_action::restart_unconfigured:
            flow_log("%s : try to reconnect and clear configured bssid\n", DISCONNECTED);
            record->configured_bssid.set({});
            dev_intf_enable_set(record, INTF_DISABLE);
            dev_intf_enable_set(record, INTF_ENABLE);
            retry_finish(record);
            break;
        case link_loss_action::reconnect:
            flow_log("%s : try to reconnect\n", DISCONNECTED);
            device_sta_reconnect(record);
            retry_finish(record);
            break;
        case link_loss_action::park:
            dev_intf_enable_set(record, INTF_DISABLE);
            backhaul_intf_state_change(record, CONNECT_PENDING);
            find_backup_backhaul_link(record);
            break;
    }
}

bool state_has_link(link_state state) {
    return state == CONNECT_WITH_BACKHAUL_AP || state == BACKHAUL_READY ||
           state == CONNECTING_TARGET_BACKHAUL_AP;
}

}  // namespace

bool link_loss_counts(uint8_t band, link_state state) {
    // A 2.4 GHz station is the last resort and must never be parked; a failed switch is not a
    // fault of the link.
    return band != BAND_24G && state != CONNECTING_TARGET_BACKHAUL_AP;
}

link_loss_action link_loss_choose(link_state state, int8_t disconnect_count,
                                  uint8_t max_disconnect) {
    if (!state_has_link(state)) {
        return link_loss_action::none;
    }
    // The count is signed, the limit is not: compared as integers.
    if (static_cast<int>(disconnect_count) >= static_cast<int>(max_disconnect)) {
        return link_loss_action::park;
    }
    return state == CONNECTING_TARGET_BACKHAUL_AP ? link_loss_action::restart_unconfigured
                                                  : link_loss_action::reconnect;
}

void backhaul_disconnected(intf_record* record) {
    runtime.backhaul_sta_num = runtime.backhaul_sta_num - 1;
    record->uplink_scan_count = 0;
    record->other_band_scan_enable = true;
    device_sta_disconnect(record);
    if (runtime.backhaul_sta_num == 0) {
        last_link_down();
    }
    const link_state state = record->state;
    if (!state_has_link(state)) {
        return;
    }
    flow_log("%s(%s) : try to connect again\n", __func__, record->name.data());
    if (link_loss_counts(record->band, state)) {
        record->disconnect_count = static_cast<int8_t>(record->disconnect_count + 1);
    }
    flow_log("%s(%s) : sta_intf->disconnect_count %d\n", __func__, record->name.data(),
             record->disconnect_count.get());
    lost_station_retry_or_park(record);
}
