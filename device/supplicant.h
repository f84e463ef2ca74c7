#pragma once

// The global supplicant: a station's configuration file, attaching it and its state. Any thread;
// result files have fixed names and no lock.

#include "intf/intf_record.h"

#include <array>
#include <cstddef>

inline constexpr char SUPPLICANT_PID_PATH[] = "/var/run/wpa_supplicant-global.pid";
inline constexpr char WPA_RESULT_PATH[] = "/tmp/wpa_result";
inline constexpr char WPA_STATUS_PATH[] = "/tmp/wpa_cli_status";

/// Attaches the station to the global supplicant, booting it when it does not run; tries again
/// every second, without limit, until the supplicant takes it and does not report it disabled.
void device_supplicant_attach(const intf_record* record);

/// Detaches the station from the global supplicant.
void device_supplicant_detach(const intf_record* record);

/// Writes the supplicant's network block for `record` to `path`. With an `auth` other than
/// WPA2PSK the block stays open (no closing brace).
void device_supplicant_conf_write(const intf_record* record, const char* path);

/// Whether the supplicant reports the station as INTERFACE_DISABLED.
bool wpa_state(const intf_record* record);

/// Whether a status line says INTERFACE_DISABLED.
bool wpa_state_line_is_disabled(const char* line);

/// Sets the driver's ESSID to the configured SSID.
void device_sta_intf_ssid_set(const intf_record* record);

/// Whether both options `ssid` and `WPAPSKkey` of the interface are set.
bool device_sta_config_exist(const intf_record* record);
