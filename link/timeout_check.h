#pragma once

// The timer thread: polices every link state that has a time limit, once a second.
//
// `backhaul_timer_monitor` is the main thread of an extender after the slave start, and a thread
// of its own on a root. It sleeps while no timeout is pending. Limits are data
// (`timeout_limit_get`), elapsed times whole wall-clock seconds; a limit of N acts when more than
// N seconds have passed. Events go to the dispatcher, which takes `state_mutex`; the periodic
// work (scans, liveness) runs outside it.

#include "intf/intf_record.h"

#include <cstdint>

/// Result of `timeout_limit_get` for a state without a time limit.
inline constexpr int32_t TIMEOUT_NEVER = -1;

struct timeout_limit {
    bool checked;     ///< false: the checker ignores the state
    int32_t seconds;  ///< acts when elapsed is greater
};

/// Limit of a link state; `disconnect_count` scales that of CONNECT_PENDING.
timeout_limit timeout_limit_get(link_state state, int8_t disconnect_count);

/// Thread body; the argument is unused. Never returns.
void* backhaul_timer_monitor(void* argument);

/// One sweep of the table at `now` (wall-clock seconds): checks every record whose timeout is
/// pending.
void timeout_sweep(uint32_t now);

/// Checks one record at `now` and acts when its time is up.
void interface_timeout_chk(intf_record* record, uint32_t now);
