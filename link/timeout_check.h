#pragma once

// The timer thread: polices every link state that has a time limit, once a second.
//
// `backhaul_timer_monitor` is the main thread of an extender after the extender start, and a thread
// of its own on a root. It sleeps while no timeout is pending. Limits are data
// (link/timeout_limit), elapsed times whole wall-clock seconds; a limit of N acts when more than
// N seconds have passed. Events go to the dispatcher, which takes `state_mutex`; the periodic
// work (scans, liveness) runs outside it.

#include "intf/intf_record.h"

#include <cstdint>

/// Thread body; the argument is unused. Never returns.
void* backhaul_timer_monitor(void* argument);

/// One sweep of the table at `now` (wall-clock seconds): checks every record whose timeout is
/// pending.
void timeout_sweep(uint32_t now);

/// Checks one record at `now` and acts when its time is up.
void interface_timeout_chk(intf_record* record, uint32_t now);
