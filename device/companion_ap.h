#pragma once

// The companion access points "ath22" and "ath23": offered while an approved node of the steering
// model is in the mesh, and kept in step with "ath10" and "ath11". Root loop; the hidden option
// also from the control FIFO (socket thread).

#include "intf/link_codes.h"

/// Runs the steering workaround once the approval list is complete after a change.
void device_approval_list_check();

void device_ap_steering_workaround();

/// Offers the companions or withdraws them.
void device_5g_high_ap_set(intf_switch on);

/// Sets the option "hidden" of "ath22", "ath23" and "ath24" to `value`.
void device_hidden_ap_set(int value);

/// What one configuration check does, from the state before it.
struct wifi_config_step {
    bool reload;        ///< carry the enabled flag to the companion now
    bool reload_next;   ///< new reload flag
    bool enabled_next;  ///< new enabled flag of the reference
};
wifi_config_step wifi_config_choose(bool companion_exists, bool reload, bool enabled,
                                    const char* reference_disabled);

/// Carries a change of a reference interface to its companion, one call later. `index` 0 is
/// "ath10"/"ath22", 1 is "ath11"/"ath23"; other values do nothing.
void device_wifi_config_check(int index);
