#pragma once

// Bringing an interface up or down: its `disabled` option, the radio, and for a station its place
// in the global supplicant. Any thread; only the apply step is serialised.

#include "intf/intf_record.h"

/// The primary service AP that a secondary one of `type` follows ("ath10", "ath11", "ath14"), or
/// null for another type.
const char* reference_intf_name(intf_type type);

/// Brings the interface up or down. Enabling a station returns only once the
/// supplicant has taken it: there is no limit on the number of tries, a second apart.
void dev_intf_enable_set(intf_record* record, intf_switch on);
