#pragma once

// The settings reload: what auto-configuration brought is applied to all access points. Dispatcher.

#include <sys/time.h>

/// Applies the settings of every service AP, framed by hyd's stop and restart. Also clears every
/// record's `dfs_count`.
void device_reload_ap_settings();

/// Seconds from `start` to `end`.
double time_diff_sec(const timeval& start, const timeval& end);
