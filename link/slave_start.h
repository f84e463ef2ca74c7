#pragma once

// The extender's start: service APs off, stations idle, the preferred station chosen and started.
//
// Main thread, once per worker, while the socket thread already runs. Returns after 10 seconds
// and the first START; the timer loop begins afterwards.

#include "intf/intf_record.h"

#include <span>

/// Seconds between the classification of the interfaces and the first START.
inline constexpr unsigned SLAVE_START_PAUSE = 10;

/// The station of highest priority, the first one on a tie; null when there is none.
intf_record* preferred_station_choose(std::span<intf_record> table);

void backhaul_slave_init();
