#include "topology/topology_check.h"

#include "device/first_mac.h"
#include "runtime/flow_log.h"
#include "runtime/mac_text.h"
#include "topology/topology_db.h"

#include <cstring>

topo_result backhaul_db_topo_check(const char* bssid) {
    const almac_text ap_almac = db_almac_get(SQL_AP_OWNER, bssid);
    if (ap_almac[0] == '\0') {
        flow_log("%s : can not find ap almac\n", __func__);
        return TOPO_AP_UNKNOWN;
    }
    const mac_text own_almac = device_first_mac_get();

    const DbTable links(SQL_LIVE_LINKS);
    if (links.rows() < 1) {
        return TOPO_NO_LOOP;
    }
    const topo_result result =
        topo_walk(ap_almac.data(), own_almac.data(), links.raw(), links.rows());
    if (result == TOPO_LOOP) {
        flow_log("%s : there will be a loop\n", __func__);
    }
    return result;
}

topo_result topo_walk(const char* ap_almac, const char* own_almac, char** table, int rows) {
    const char* current = ap_almac;
    const char* parent = nullptr;
    // No step limit: a circle in the database that does not hold this node is walked for ever, and
    // `state_mutex` is held meanwhile. The prober that writes it sees to it that there is none.
    while (backhaul_db_wifi_loop_check(current, &parent, table, rows) == TOPO_STEP_PARENT) {
        // A node that does not know its own address never meets itself, not even in an empty
        // column.
        if (own_almac[0] != '\0' && std::strcmp(parent, own_almac) == 0) {
            return TOPO_LOOP;
        }
        current = parent;
    }
    return TOPO_NO_LOOP;
}

topo_step backhaul_db_wifi_loop_check(const char* almac, const char** parent, char** table,
                                      int rows) {
    for (int row = 1; row <= rows; ++row) {
        const size_t index = static_cast<size_t>(row) * 2;
        const char* lower = table[index];
        const char* upper = table[index + 1];
        if (lower == nullptr || upper == nullptr) {
            flow_log("%s : should not happend\n", __func__);
            return TOPO_STEP_TOP;
        }
        if (std::strcmp(lower, almac) == 0) {
            *parent = upper;
            return TOPO_STEP_PARENT;
        }
    }
    return TOPO_STEP_TOP;
}
