#pragma once

// The dispatcher: the single entry through which link events reach an extender's state machine.
//
// Called on the socket thread (driver events, Ethernet recovery), the timer thread (timeouts,
// scans) and the main thread (first start). It holds `state_mutex` for the whole reaction; what
// it calls never posts an event back and never takes that mutex. A null record is dropped before
// the lock. A pair of state and event without a reaction is logged and ignored.

#include "intf/intf_record.h"

/// Handles `event` for `record`. Returns with the mutex released, except on the path "eth_intf is
/// NULL" (a wired backhaul is flagged but the profile has no record "eth"), which keeps it.
void wifi_slave_event_process(intf_record* record, slave_event event);

/// Applies the service AP settings that auto-configuration brought, framed by the LED.
void service_ap_reload();

/// Tells the supplicant which AP to join (device_config_best_ap).
void backhaul_config_best_ap(intf_record* record);
