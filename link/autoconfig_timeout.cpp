#include "link/autoconfig_timeout.h"

#include "device/association.h"
#include "device/autoconfig_agent.h"
#include "device/hyd.h"
#include "device/led.h"
#include "device/station_link.h"
#include "link/link_state.h"
#include "msg/msg_send.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

constexpr char AUTOCONFIG_TIMEOUT[] = "backhaul_auto_config_timeout_handle";

void agent_ask_again(intf_record* record) {
    flow_log("%s(%s) : try to sync Service AP settings again\n", AUTOCONFIG_TIMEOUT,
             record->name.data());
    hyd_alive_check();
    hyd_bcast_reset(record, INTF_ENABLE);
    backhaul_send_msg(msg_word::flush_forwarding, BACKHAUL_MSG_PORT);
    autoconfig_agent_start(record);
    backhaul_intf_state_change(record, CONNECT_WITH_BACKHAUL_AP);
}

void lost_station_reconnect(intf_record* record) {
    flow_log("%s : backhaul sta lost connection, try to connect again\n", AUTOCONFIG_TIMEOUT);
    if (runtime.backhaul_sta_num > 0) {
        runtime.backhaul_sta_num = runtime.backhaul_sta_num - 1;
    }
    device_led_control(LED_DISCONNECTED, runtime.backhaul_sta_num);
    backhaul_intf_state_change(record, CONNECTING_BACKHAUL_AP);
    device_sta_reconnect(record);
}

}  // namespace

void backhaul_auto_config_timeout_handle(intf_record* record) {
    if (backhaul_sta_is_associated(record)) {
        agent_ask_again(record);
    } else {
        lost_station_reconnect(record);
    }
}
