#pragma once

// Small questions to the system: is a process alive, how long did it take, what does a bridge
// port do. No state; any thread.

#include <sys/time.h>

/// 1 when the process named by the pid file at `path` runs, 0 when not or when there is no file,
/// -1 when the file cannot be opened (callers take that for a live process).
int pid_file_alive(const char* path);

/// Returns 1 when `name` is exactly "ath20", else 0.
int intf_is_ath20(const char* name);

/// Seconds from `start` to `end`.
double time_diff_sec(const timeval& start, const timeval& end);

/// Bridge port state of member `name` of br-lan, 0 when unknown.
int bridge_port_state_get(const char* name);

/// Runs "wifi_channel_monitor once". Both arguments are ignored (it serves as a callback).
void wifi_channel_monitor_once(void* = nullptr, void* = nullptr);
