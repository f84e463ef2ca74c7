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

#include <span>

struct link_transition {
    link_state current;
    link_state requested;  ///< also the state entered
    timer_switch timer;    ///< what becomes of the record's timeout
};

/// Every accepted (current, requested) pair, in the order of the printed table.
std::span<const link_transition> link_transition_table();

/// The accepted transition of the pair, or null: the request is dropped.
const link_transition* link_transition_find(link_state current, link_state requested);

/// Name of a state as the table and the documents show it; "-" for values that have none.
const char* link_state_name(int32_t state);

/// Logs the request (always, also when it is then dropped) and applies the table: stores the
/// state and arms or clears the record's timeout.
void backhaul_intf_state_change(intf_record* record, link_state requested);
