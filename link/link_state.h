#pragma once

// Link states of an interface and the one function that moves a record between them.
//
// Stations use 0 to 7 and 16, the wired record 13 to 15, AP records 10 and 11 (radar), the
// periodic pseudo-record 12. The transition table is data (`link_transition_find` is a function
// of two numbers); docs/states.md is printed from it. `backhaul_intf_state_change` takes no lock:
// the dispatcher calls it with `state_mutex` held, the Ethernet detection without. Radar
// handling, slave start, recovery and the backup search also store states directly, past the
// table and without touching the timer; they say so where they do.

#include "intf/intf_record.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Values appear in the log and in other tools: fixed.
enum link_state : int32_t {
    INIT = 0,
    CONNECTING_BACKHAUL_AP = 3,
    CONNECT_WITH_BACKHAUL_AP = 4,
    CONNECTING_TARGET_BACKHAUL_AP = 5,
    CONNECT_PENDING = 6,
    BACKHAUL_READY = 7,
    /// Never entered; the timeout checker and the agent start treat it as 4.
    LINK_STATE_8 = 8,
    /// Never entered; the timeout checker posts a timeout.
    LINK_STATE_9 = 9,
    DFS_MONITORING = 10,
    DFS_BLOCKING = 11,
    AP_TIMER_WAIT = 12,
    ETH_BACKHAUL_DOWN = 13,
    ETH_BACKHAUL_CONNECTED = 14,
    ETH_BACKHAUL_READY = 15,
    ETH_BACKHAUL_STANDBY = 16,
};
inline constexpr int32_t LINK_STATE_COUNT = 17;

/// What a transition does to the record's timeout.
enum class link_timer_action : uint8_t { arm, clear };

struct link_transition {
    int32_t current;
    int32_t requested;  ///< also the state entered
    link_timer_action timer;
};

/// Every accepted (current, requested) pair, in the order of the printed table.
std::span<const link_transition> link_transition_table();

/// The accepted transition of the pair, or null: the request is dropped.
const link_transition* link_transition_find(int32_t current, int32_t requested);

/// Name of a state as the table and the documents show it; "-" for values that have none.
const char* link_state_name(int32_t state);

/// Logs the request (always, also when it is then dropped) and applies the table: stores the
/// state and arms or clears the record's timeout.
void backhaul_intf_state_change(intf_record* record, int32_t requested);
