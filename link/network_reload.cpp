#include "link/network_reload.h"

#include "intf/intf_table.h"
#include "runtime/flow_log.h"

void backhaul_network_reload_handle() {
    flow_log("%s : Enter\n", __func__);
    for (intf_record& record : intf_table_walk()) {
        const link_state state = record.state;
        if (record.type != BACKHAUL_STA ||
            (state != BACKHAUL_READY && state != CONNECT_WITH_BACKHAUL_AP)) {
            continue;
        }
        // A station without losses gets one of credit: 0 becomes -1 on purpose.
        if (record.disconnect_count >= 0) {
            record.disconnect_count = static_cast<int8_t>(record.disconnect_count - 1);
        }
        flow_log("%s : intf(%s) disconnect_count %d\n", __func__, record.name.data(),
                 record.disconnect_count.get());
    }
}
