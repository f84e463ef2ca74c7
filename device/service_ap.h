#pragma once

// All service APs at once: off while there is no backhaul, on again with one. Any thread, with or
// without `state_mutex`; no lock.

#include "intf/link_codes.h"

/// Switches every service AP in table order, and every backhaul AP when option d was given.
void service_ap_enable_all(intf_switch on);

/// Sets `disabled` to "1" on every service AP and backhaul AP in table order; nothing is applied.
void device_ap_intf_uci_disable_all();
