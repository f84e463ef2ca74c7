#pragma once

// Addresses and presence of interfaces, read from tool output and files. Timer thread and
// dispatcher.

#include "intf/intf_record.h"
#include "runtime/relaxed.h"

#include <cstdint>

/// Value of `visitor_network_feature` while the tool has not told it, and the one that says that
/// the visitor network is in use.
inline constexpr int32_t VISITOR_FEATURE_UNKNOWN = -1;
inline constexpr int32_t VISITOR_FEATURE_IN_USE = 2;

/// What the system tool says of the visitor network; asked once, kept for the worker's life.
extern Relaxed<int32_t> visitor_network_feature;

/// Writes this node's first MAC address as text into `out` (18 bytes); unchanged when the file is
/// missing.
void device_first_mac_get(char* out);

/// AP address in a line of iwconfig that contains "Point" (its sixth word); bytes that do not
/// scan keep their value.
void access_point_line_scan(const char* line, mac_address& bssid);

/// Reads the AP that station `name` is associated with; `bssid` is left as it was when there is
/// none.
void device_sta_ap_bssid_get(const char* name, mac_address& bssid);

/// 1 when the interface exists (or the answer cannot be read), 0 when not.
int wifi_intf_present(const intf_record* record);

/// Whether an interface of `type` is probed, given the visitor network feature.
bool intf_existence_probed(int32_t type, int32_t visitor_feature);

/// Brings a radio up again when one of its interfaces has vanished (not for the plain 5 GHz band);
/// logs each missing interface. There is no limit on how often it acts.
void device_wifi_intf_existence_chk();
