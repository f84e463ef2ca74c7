#pragma once

// The IEEE 1905 auto-configuration agent, driven by its command line and read by its files.
//
// When a backhaul comes up the service APs are configured from the root through this separate
// program. Called on the socket thread (driver events through the dispatcher) and on the timer
// thread, with `state_mutex` held by the dispatcher where it calls. The agent's exit status is
// never looked at. Command codes and file names are the tables of autoconfig_table.h.

#include "intf/intf_record.h"

inline constexpr char AUTOCONFIG_RELOAD[] = "/usr/sbin/vl1905App 18 1 0";
inline constexpr char AUTOCONFIG_RELOAD_AFTER_APPLY[] = "/usr/sbin/vl1905App 18 1 1";
inline constexpr char AUTOCONFIG_CLOSE[] = "/usr/sbin/vl1905App 23 00:00:00:00:00:00";
inline constexpr char WIFI_RELOAD_FLAG_PATH[] = "/tmp/wifi_reload_flag";

/// Starts a configuration pass: asks the agent to reload (twice, 2 s apart, when it did not
/// report a reload value of 0), removes its result files and clears `autoconfig_state` of every
/// record. Returns the number of records. Blocks up to 2 s plus the agent's run time.
int autoconfig_reload_trigger();

/// Asks the agent for every service AP not configured yet, in table order, then closes the
/// series. Does nothing unless `record` (the backhaul that came up) is in state 4, 8 or 14.
void autoconfig_agent_start(const intf_record* record);

/// Whether every independent service AP has received and applied its configuration; stores in each
/// record's `autoconfig_state` whether its output file exists.
bool autoconfig_result_get();
