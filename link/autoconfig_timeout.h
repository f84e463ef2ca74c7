#pragma once

// Auto-configuration has not succeeded within its 15 seconds. Dispatcher, `state_mutex` held.

#include "intf/intf_record.h"

/// Asks the agent again while the station is associated; otherwise reconnects it.
void backhaul_auto_config_timeout_handle(intf_record* record);
