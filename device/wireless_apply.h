#pragma once

// Asking the node's wireless service to apply an interface's configuration. Any thread; the apply
// lock keeps it to one restart at a time.

#include "intf/intf_record.h"

#include <cstdint>

inline constexpr char WIRELESS_DEV_PATH[] = "/tmp/WirelessDev";

/// The radio of a band and its files, or null for a band without a radio.
struct radio_row {
    intf_band band;
    const char* radio;        ///< "wifi0", "wifi1", "wifi2"
    const char* apply_path;   ///< takes the interface name
    const char* status_path;  ///< first word holds "isSetting" while the service applies
};
const radio_row* radio_row_find(uint8_t band);

/// Writes the radio and the interface name for the service and restarts it.
void device_wireless_apply(const intf_record* record);
