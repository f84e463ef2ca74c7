#pragma once

// Two more reactions of an extender: a network reload announced by another node (socket thread,
// no lock), and an auto-configuration that has not succeeded within its 15 seconds (dispatcher,
// `state_mutex` held).

#include "intf/intf_record.h"

/// Gives every station in state 7 or 4 one disconnect of credit (0 becomes -1 on purpose).
void backhaul_network_reload_handle();

/// Asks the agent again while the station is associated; otherwise reconnects it.
void backhaul_auto_config_timeout_handle(intf_record* record);

/// Returns 1 when the station is associated (also when the answer cannot be read), else 0.
int backhaul_sta_is_associated(const intf_record* record);
