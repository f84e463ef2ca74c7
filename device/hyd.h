#pragma once

// The hybrid-networking daemon hyd: is it alive, and may it forward broadcasts to a station?
// Dispatcher, socket thread and timer thread; no lock.

#include "intf/intf_record.h"

/// Restarts hyd when the process list shows none.
void hyd_alive_check();

/// Switches hyd's broadcast forwarding on the station's bridge port on or off. Does nothing for a
/// record that is not a station.
void hyd_bcast_reset(const intf_record* record, intf_switch on);
