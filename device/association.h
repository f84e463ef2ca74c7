#pragma once

// Is a station associated, and with which AP? Read from iwconfig. Timer thread and dispatcher.

#include "intf/intf_record.h"

/// False when iwconfig shows the interface as Not-Associated; an answer that cannot be read is no
/// such answer.
bool intf_associated(const char* name);

/// The same of a station, asked by way of a result file.
bool backhaul_sta_is_associated(const intf_record* record);

/// AP address in a line of iwconfig that contains "Point" (its sixth word); bytes that do not
/// scan keep their value.
void access_point_line_scan(const char* line, mac_address& bssid);

/// Reads the AP that station `name` is associated with; `bssid` is left as it was when there is
/// none.
void device_sta_ap_bssid_get(const char* name, mac_address& bssid);
