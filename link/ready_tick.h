#pragma once

// The periodic work of a ready backhaul, every 60 seconds: liveness of the service APs, decay of
// the disconnect count, uplink scans, and whether the station is still associated.
//
// Timer thread, outside `state_mutex`; posts events to the dispatcher.

#include "intf/intf_record.h"

#include <cstdint>

/// Uplink scans per outage.
inline constexpr uint8_t UPLINK_SCANS_MAX = 6;

struct ready_decay_result {
    int8_t disconnect_count;
    uint8_t ready_count;
    bool counted;  ///< false: there was nothing to forgive and nothing is logged
};

/// One ready period: after `ready_decay` of them one disconnect is forgiven.
ready_decay_result ready_decay_step(int8_t disconnect_count, uint8_t ready_count,
                                    uint8_t ready_decay);

/// The tick of `record` in BACKHAUL_READY.
void backhaul_ready_tick(intf_record* record);
