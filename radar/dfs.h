#pragma once

// Radar on the 5 GHz AP "ath20": repeated channel changes put it under monitoring, and it is off
// while every channel that it could use is on the non-occupancy list.
//
// `backhaul_dfs_check` runs on the socket thread (driver events), the re-checks on the timer
// thread. They store the states 10 and 11 directly, without the transition table and its log
// line: once monitored, an interface alternates between the two for the life of the worker.

#include "intf/intf_record.h"

#include <cstdint>

/// Channel changes at which monitoring starts.
inline constexpr uint8_t DFS_COUNT_LIMIT = 3;

/// Whether `name` is that AP's.
bool intf_is_ath20(const char* name);

/// The driver reports a change of `record` to `channel`; `record->channel` is still the old one.
void backhaul_dfs_check(intf_record* record, uint8_t channel);

/// 180 seconds of monitoring are over.
void device_dfs_monitoring(intf_record* record);

/// 2400 seconds of blocking are over.
void device_dfs_blocking(intf_record* record);
