#pragma once

// The interface record: what the daemon knows of one interface, and its live state.
//
// One record per line of the interface profile, built once by the loader (main thread of a
// worker) and never freed. Afterwards the socket thread, the timer thread and the main thread
// write the live fields without a lock (relaxed atomics): the link state and its timeout as
// link/link_state.h tells, `bssid` and `channel` from driver events (intake/). Field order
// and sizes are fixed.

#include "intf/link_codes.h"
#include "runtime/mac_text.h"
#include "runtime/relaxed.h"

#include <array>
#include <cstddef>
#include <cstdint>

inline constexpr size_t INTF_NAME_SIZE = 16;
/// Name of the wired backhaul's record.
inline constexpr char ETH_INTF_NAME[] = "eth";

/// Interface types (second column of the profile).
enum intf_type : int32_t {
    MAIN_SERVICE_AP = 0,
    GUEST_SERVICE_AP = 1,
    VISITOR_SERVICE_AP = 2,
    BACKHAUL_STA = 3,
    BACKHAUL_AP = 4,
    PRE_DEF_AP = 5,
    ETHERNET = 6,
    AP_TIMER_INTF = 7,
    INTF_TYPE_OTHER = 8,
};

/// Band bits (third column of the profile); 0 when the keyword is unknown.
enum intf_band : uint8_t {
    BAND_NONE = 0,
    BAND_24G = 1,
    BAND_5G = 2,
    BAND_5G_HIGH = 4,
    BAND_5G_LOW = 8,
};

struct intf_record {
    std::array<char, INTF_NAME_SIZE> name{};
    /// Upstream AP of a station; socket thread and timer thread write it.
    RelaxedBytes<6> bssid;
    /// AP that the station is to join; all zero = none. Scans write it, a failed switch clears it.
    RelaxedBytes<6> configured_bssid;
    uint8_t band = BAND_NONE;
    Relaxed<uint8_t> channel{0};
    /// Channel changes seen since the last clear (radar handling).
    Relaxed<uint8_t> dfs_count{0};
    /// Consecutive losses, signed: a network reload can take it from 0 to -1.
    Relaxed<int8_t> disconnect_count{0};
    Relaxed<uint8_t> ready_count{0};
    Relaxed<uint8_t> uplink_scan_count{0};
    uint16_t priority = 0;
    /// On while a timeout is pending; written under `timer_mutex`.
    Relaxed<timer_switch> timer_type{TIMER_OFF};
    Relaxed<bool> held_down{false};
    /// Set once the agent's output file of this AP exists.
    Relaxed<bool> autoconfig_state{false};
    /// 0 = independent interface, else it follows the primary service AP of its type.
    uint8_t follow_primary = 0;
    Relaxed<bool> other_band_scan_enable{false};
    Relaxed<bool> other_band_switching{false};
    /// time() at which the pending timeout started, 0 = none; written under `timer_mutex`.
    Relaxed<uint32_t> timer_start{0};
    intf_type type = INTF_TYPE_OTHER;
    Relaxed<link_state> state{INIT};
};

static_assert(offsetof(intf_record, name) == 0);
static_assert(offsetof(intf_record, bssid) == 16);
static_assert(offsetof(intf_record, configured_bssid) == 22);
static_assert(offsetof(intf_record, band) == 28);
static_assert(offsetof(intf_record, channel) == 29);
static_assert(offsetof(intf_record, dfs_count) == 30);
static_assert(offsetof(intf_record, disconnect_count) == 31);
static_assert(offsetof(intf_record, ready_count) == 32);
static_assert(offsetof(intf_record, uplink_scan_count) == 33);
static_assert(offsetof(intf_record, priority) == 34);
static_assert(offsetof(intf_record, timer_type) == 36);
static_assert(offsetof(intf_record, held_down) == 37);
static_assert(offsetof(intf_record, autoconfig_state) == 38);
static_assert(offsetof(intf_record, follow_primary) == 39);
static_assert(offsetof(intf_record, other_band_scan_enable) == 40);
static_assert(offsetof(intf_record, other_band_switching) == 41);
static_assert(offsetof(intf_record, timer_start) == 44);
static_assert(offsetof(intf_record, type) == 48);
static_assert(offsetof(intf_record, state) == 52);
static_assert(sizeof(intf_record) == 56);

/// True for the three service AP types that clients use.
constexpr bool intf_type_is_service_ap(intf_type type) {
    return type == MAIN_SERVICE_AP || type == GUEST_SERVICE_AP || type == VISITOR_SERVICE_AP;
}
