#pragma once

// Which station carries the link when the preferred one cannot: the backup search, the parking of
// a station that would close a loop, and the release of parked stations.
//
// `find_backup_backhaul_link` and `backhaul_slave_wifi_loop_handle` run with `state_mutex` held
// by the dispatcher; `backhaul_slave_backhaul_restore` is called from the socket thread (control
// FIFO, node messages) without it.

#include "intf/intf_record.h"

#include <span>

/// The idle station (state 0) of highest priority other than `record`, the first one on a tie;
/// null when there is none.
intf_record* backup_station_choose(std::span<intf_record> table, const intf_record* record);

/// `record` failed to connect or was parked: try another station, or this one again.
void find_backup_backhaul_link(intf_record* record);

/// Parks `record`, whose uplink would close a loop, with the imposed disconnect count.
void backhaul_slave_wifi_loop_handle(intf_record* record);

/// Another scan was asked for, by a command or by another node: every station may scan again, and
/// what is parked is released. Socket thread.
void uplink_scan_reopen();

/// Clears every station's disconnect count and releases the parked ones; restarts the preferred
/// station when it was among them.
void backhaul_slave_backhaul_restore();
