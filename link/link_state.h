#pragma once

// The link state machine: what each state means, how a link's life goes, and the one function that
// moves a record by the rules.
//
// A station (type BACKHAUL_STA) begins idle in INIT. START enables it once it is configured:
// CONNECTING_BACKHAUL_AP, for at most 180 seconds. The driver reports the association:
// CONNECT_WITH_BACKHAUL_AP, while the agent configures the service APs from the root, asked again
// every 15 seconds. The agent's success makes it BACKHAUL_READY: the service APs are up, every
// minute its health is looked at, a better AP is looked for. A better one is tried in
// CONNECTING_TARGET_BACKHAUL_AP, for at most 120 seconds. A loss leads back to
// CONNECTING_BACKHAUL_AP and is counted; at `max_disconnect` losses the station is parked and
// switched off, CONNECT_PENDING, and another one takes over; so is one whose uplink would close a
// loop. Only a request for scans (restore) or the backup search lets a parked station go.
// ETH_BACKHAUL_STANDBY is a station whose uplink the cable, or for the moment a backup, carries.
// A 2.4 GHz station's losses are not counted: it is the last resort and is never parked for them.
//
// The wired record "eth" goes its own way: ETH_BACKHAUL_DOWN, with a cable ETH_BACKHAUL_CONNECTED
// (as 4, for the agent) and ETH_BACKHAUL_READY (as 7). Access points know only radar:
// DFS_MONITORING, watched for 180 seconds, and DFS_BLOCKING, off for 2400. AP_TIMER_WAIT is no
// link at all but a timeout of 600 seconds after which interfaces that vanished are looked for.
//
// Who moves a record: the dispatcher's reactions (link/slave_event, with `state_mutex` held) and
// the Ethernet events (link/eth_switch, socket thread, without it) through
// `backhaul_intf_state_change`. Past the table, and without touching the timer, states are stored
// by the extender start, the Ethernet recovery (both: INIT, the wired record's DOWN), the backup
// search (standby, INIT), the release of parked stations (INIT) and the radar handling; each says
// so where it does. The transition table is data: docs/states.md and its drawing are printed from
// it.

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
