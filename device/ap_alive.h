#pragma once

// The liveness of the access points, every minute: one that should be up and is not is applied
// again. Timer thread and root loop.

#include "intf/intf_record.h"

/// Which backhaul APs `ap_alive_chk` looks at.
enum class backhaul_ap_check { with_option_d, always };

/// Re-applies every service AP that is not alive, and the backhaul APs that `check` names.
void ap_alive_chk(backhaul_ap_check check);

/// Whether the AP is alive, deliberately down or being configured.
bool ap_intf_alive(const intf_record* record);
