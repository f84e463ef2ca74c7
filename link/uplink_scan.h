#pragma once

// Looks for a better upstream AP, on the other band or in general, and re-opens the scan budget.
//
// The scans run on the timer thread (ready tick); they record the candidate in
// `configured_bssid` and change no state. The resets run on the socket thread.

#include "intf/intf_record.h"

/// Result of a scan that chose an AP on the other band.
inline constexpr int OTHER_BAND_SCAN_FOUND = 2;
/// Result of a scan that chose a better AP.
inline constexpr int UPLINK_SCAN_FOUND = 1;

/// Whether a candidate is worth a switch: not all zero and not the current AP.
bool scan_candidate_is_new(const mac_address& candidate, const mac_address& current);

/// Returns 2 when an AP on the other band was chosen, else 0.
int backhaul_intf_other_band_scan(intf_record* record);

/// Returns 1 when a better AP was chosen, else 0.
int backhaul_intf_uplink_scan(intf_record* record);

/// Sets `uplink_scan_count` to 0 on every station, under the table's leaf lock.
void backhaul_sta_uplink_scan_count_clear();

/// Sets `other_band_scan_enable` on every station, under the table's leaf lock.
void backhaul_sta_other_band_scan_enable();
