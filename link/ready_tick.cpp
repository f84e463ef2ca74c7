#include "link/ready_tick.h"

#include "device/ap_alive.h"
#include "device/association.h"
#include "device/whc.h"
#include "intf/intf_timer.h"
#include "link/slave_event.h"
#include "link/uplink_scan.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

/// The tick logs as part of the checker.
constexpr char CHECKER[] = "interface_timeout_chk";

void disconnects_forgive(intf_record* record) {
    const ready_decay_result decay =
        ready_decay_step(record->disconnect_count, record->ready_count, runtime.ready_decay);
    if (!decay.counted) {
        return;
    }
    record->disconnect_count = decay.disconnect_count;
    record->ready_count = decay.ready_count;
    flow_log("%s(%s) : disconnect_count %d ready_count %d\n", CHECKER, record->name.data(),
             decay.disconnect_count, decay.ready_count);
}

enum class scan_end { go_on, switching };

/// Both scans of one tick; `switching` ends the tick, its timer already re-armed by the switch.
scan_end better_uplink_scan(intf_record* record) {
    if (record->other_band_scan_enable) {
        flow_log("%s : do other band scan\n", CHECKER);
        if (backhaul_intf_other_band_scan(record) == OTHER_BAND_SCAN_FOUND) {
            record->other_band_switching = true;
            wifi_slave_event_process(record, CONFIG_BEST_AP);
            return scan_end::go_on;
        }
    }
    const uint8_t scans = record->uplink_scan_count;
    flow_log("%s : do uplink scan %hhu\n", CHECKER, scans);
    record->uplink_scan_count = static_cast<uint8_t>(scans + 1);
    if (backhaul_intf_uplink_scan(record) == UPLINK_SCAN_FOUND) {
        wifi_slave_event_process(record, CONFIG_BEST_AP);
        return scan_end::switching;
    }
    device_backhaul_ap_ul_rate_update(record);
    return scan_end::go_on;
}

}  // namespace

ready_decay_result ready_decay_step(int8_t disconnect_count, uint8_t ready_count,
                                    uint8_t ready_decay) {
    if (disconnect_count <= 0) {
        return {disconnect_count, ready_count, false};
    }
    const auto periods = static_cast<uint8_t>(ready_count + 1);
    if (periods >= ready_decay) {
        return {static_cast<int8_t>(disconnect_count - 1), 0, true};
    }
    return {disconnect_count, periods, true};
}

void backhaul_ready_tick(intf_record* record) {
    intf_timer_set(record, TIMER_OFF);
    ap_alive_chk(backhaul_ap_check::with_option_d);
    disconnects_forgive(record);
    if (record->uplink_scan_count < UPLINK_SCANS_MAX &&
        better_uplink_scan(record) == scan_end::switching) {
        return;
    }
    intf_timer_set(record, TIMER_ON);
    if (intf_associated(record->name.data())) {
        return;
    }
    flow_log("%s : backhaul(%s) is discconnected, try to reconnect\n", CHECKER,
             record->name.data());
    wifi_slave_event_process(record, AP_DISASSOC);
}
