#pragma once

// Would joining an AP close a loop? Walks the live links of the topology database upwards.
//
// Dispatcher, `state_mutex` held. The walk works on the snapshot of one query.

/// Results of `backhaul_db_topo_check`.
enum topo_result : int {
    TOPO_AP_UNKNOWN = 0,
    TOPO_NO_LOOP = 1,
    TOPO_LOOP = 3,
};

/// Results of `backhaul_db_wifi_loop_check`.
enum topo_step : int {
    TOPO_STEP_TOP = 1,
    TOPO_STEP_PARENT = 2,
};

/// Whether the AP `bssid` (lower-case text with colons) may be joined: 0 its owner is unknown,
/// 1 no loop, 3 loop.
topo_result backhaul_db_topo_check(const char* bssid);

/// One step of the walk over the two-column result `table` with `rows` data rows. Returns 2 with
/// `*parent` pointing into the table when `almac` has a row, else 1.
topo_step backhaul_db_wifi_loop_check(const char* almac, const char** parent, char** table,
                                      int rows);

/// The walk from `ap_almac` upwards: 3 when it meets `own_almac`, else 1. Has no step limit.
topo_result topo_walk(const char* ap_almac, const char* own_almac, char** table, int rows);
