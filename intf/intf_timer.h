#pragma once

// The per-record timeout and the count that wakes the timer thread.
//
// `intf_timer_set` is called on every thread, with or without `state_mutex`, and holds
// `timer_mutex` for its whole body: the count is read and changed as one step, so that the
// wake-up cannot be lost. Times are wall-clock seconds of time().

#include "intf/intf_record.h"

#include <cstdint>

/// TIMER_ON starts (or restarts) the record's timeout now, TIMER_OFF clears it. Wakes the timer
/// thread when the count of pending timeouts is exactly 1 afterwards.
void intf_timer_set(intf_record* record, timer_switch on);

/// Blocks while no timeout is pending anywhere; timer thread only.
void intf_timer_wait();

/// Seconds since the record's timeout was started, signed: a clock set back gives a negative
/// value, on which nothing falls due.
int32_t intf_timer_elapsed(uint32_t now, uint32_t timer_start);
