#pragma once

// Keeping the service APs up and in step: the settings reload after auto-configuration, the
// liveness check and the watch over hyd. Dispatcher, timer thread and root loop.

#include "intf/intf_record.h"

/// Applies the settings of every service AP, framed by hyd's stop and restart. Also clears every
/// record's `dfs_count`.
void device_reload_ap_settings();

/// Re-applies every AP that is not alive; `force` 1 also checks backhaul APs without option d.
void ap_alive_chk(unsigned char force);

/// 1 if the AP is alive, deliberately down or being configured, else 0.
int ap_intf_alive(const intf_record* record);

/// 1 unless iwconfig shows the interface as Not-Associated.
int intf_associated(const char* name);

/// Restarts hyd when the process list shows none.
void hyd_alive_check();
