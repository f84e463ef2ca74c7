#pragma once

// Are the interfaces still there? A radio of which one has vanished is brought up again. Timer
// thread, every ten minutes.

#include "intf/intf_record.h"

#include <cstdint>

/// Value of `visitor_network_feature` that says that the visitor network is in use.
inline constexpr int32_t VISITOR_FEATURE_IN_USE = 2;

/// Whether the interface exists; an answer that cannot be read says so too.
bool wifi_intf_present(const intf_record* record);

/// Whether an interface of `type` is probed, given the visitor network feature.
bool intf_existence_probed(intf_type type, int32_t visitor_feature);

/// Brings a radio up again when one of its interfaces has vanished (not for the plain 5 GHz band);
/// logs each missing interface. There is no limit on how often it acts.
void device_wifi_intf_existence_chk();
