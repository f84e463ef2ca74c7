#pragma once

// The driver's hybrid-connectivity data: uplink rate and hop distance advertised by the backhaul
// APs, the best upstream AP, and joining it. Timer thread and dispatcher.

#include "intf/intf_record.h"

#include <cstddef>
#include <cstdint>

/// Number after the first colon of the rate answer, 0 when there is none.
int ul_rate_parse(const char* text);

/// Six bytes after the first colon of the best-BSSID answer; bytes that do not scan are zero.
mac_address best_bssid_parse(const char* line);

/// Passes the station's uplink rate on to every backhaul AP.
void device_backhaul_ap_ul_rate_update(const intf_record* record);

/// Sets the hop distance of every backhaul AP; a negative distance does nothing.
void device_whc_dist_set(int distance);

/// Fills `out` with the driver's preferred AP for station `name`, or zeros. Takes 2 seconds.
void device_best_bssid_get(const char* name, uint8_t* out, size_t length);

/// The address that the supplicant is told to join: the configured one, else the current one.
mac_address best_ap_target(const mac_address& configured, const mac_address& current);

/// Makes the supplicant join the record's target AP; nothing when `bssid` is all zero.
void device_config_best_ap(const intf_record* record);
