#include "link/uplink_scan.h"

#include "device/other_band.h"
#include "device/whc.h"
#include "intf/intf_table.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"
#include "runtime/scoped_lock.h"

namespace {

/// What differs between the two scans.
struct scan_kind {
    const char* function;
    void (*candidate_get)(const char* name, uint8_t* out, size_t length);
    const char* found_text;
    int found_result;
};

constexpr scan_kind OTHER_BAND_SCAN = {
    .function = "backhaul_intf_other_band_scan",
    .candidate_get = device_other_band_bssid_get,
    .found_text = "Find other band AP",
    .found_result = OTHER_BAND_SCAN_FOUND,
};

constexpr scan_kind UPLINK_SCAN = {
    .function = "backhaul_intf_uplink_scan",
    .candidate_get = device_best_bssid_get,
    .found_text = "Find better AP",
    .found_result = UPLINK_SCAN_FOUND,
};

void scan_address_log(const char* function, const char* text, const mac_address& mac) {
    flow_log("%s : %s %02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx\n", function, text, mac[0], mac[1],
             mac[2], mac[3], mac[4], mac[5]);
}

int scan_run(const scan_kind& kind, intf_record* record) {
    mac_address candidate{};
    kind.candidate_get(record->name.data(), candidate.data(), candidate.size());
    const mac_address current = record->bssid.get();
    if (!scan_candidate_is_new(candidate, current)) {
        return 0;
    }
    scan_address_log(kind.function, kind.found_text, candidate);
    scan_address_log(kind.function, "Current AP", current);
    record->configured_bssid.set(candidate);
    return kind.found_result;
}

}  // namespace

bool scan_candidate_is_new(const mac_address& candidate, const mac_address& current) {
    return !bssid_is_zero(candidate) && candidate != current;
}

int backhaul_intf_other_band_scan(intf_record* record) {
    return scan_run(OTHER_BAND_SCAN, record);
}

int backhaul_intf_uplink_scan(intf_record* record) {
    return scan_run(UPLINK_SCAN, record);
}

void backhaul_sta_uplink_scan_count_clear() {
    const ScopedLock lock(runtime.intf_table_lock);
    for (intf_record& record : intf_table_walk()) {
        if (record.type == BACKHAUL_STA) {
            record.uplink_scan_count = 0;
        }
    }
}

void backhaul_sta_other_band_scan_enable() {
    const ScopedLock lock(runtime.intf_table_lock);
    for (intf_record& record : intf_table_walk()) {
        if (record.type == BACKHAUL_STA) {
            record.other_band_scan_enable = true;
        }
    }
}
