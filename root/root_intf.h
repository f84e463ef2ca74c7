#pragma once

// The root's interface initialisation: which APs are up when a root starts.
// Main thread, once per worker unless the start hint skipped it.

#include "intf/intf_record.h"

#include <cstdint>

enum class root_intf_action {
    none,
    enable_if_configured,
    disable,
};

/// Action for an interface, given the number of approved nodes.
root_intf_action root_intf_choose(intf_type type, uint8_t follow_primary, int approved);

void backhaul_root_intf_init();
