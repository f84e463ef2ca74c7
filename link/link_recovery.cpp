#include "link/link_recovery.h"

#include "device/ap_policy.h"
#include "device/led.h"
#include "device/supplicant.h"
#include "intf/autoconfig_agent.h"
#include "intf/intf_table.h"
#include "link/link_state.h"
#include "link/link_tools.h"
#include "msg/msg_send.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>

namespace {

constexpr char AUTOCONFIG_TIMEOUT[] = "backhaul_auto_config_timeout_handle";
constexpr char IW_RESULT_PATH[] = "/tmp/iw_result";

void agent_ask_again(intf_record* record) {
    flow_log("%s(%s) : try to sync Service AP settings again\n", AUTOCONFIG_TIMEOUT,
             record->name.data());
    hyd_alive_check();
    hyd_bcast_reset(record, 1);
    backhaul_send_msg("FLUSHFORWARDING", BACKHAUL_MSG_PORT);
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

void backhaul_network_reload_handle() {
    flow_log("%s : Enter\n", __func__);
    for (intf_record& record : intf_table_walk()) {
        const int32_t state = record.state;
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

int backhaul_sta_is_associated(const intf_record* record) {
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s | grep Not-Associated > /tmp/iw_result",
                       record->name.data());
    std::array<char, 64> word{};
    const File result(IW_RESULT_PATH, "r");
    if (result) {
        file_first_word(result.get(), word);
    }
    // A result that cannot be opened counts as associated.
    return word[0] == '\0' ? 1 : 0;
}

void backhaul_auto_config_timeout_handle(intf_record* record) {
    if (backhaul_sta_is_associated(record) != 0) {
        agent_ask_again(record);
    } else {
        lost_station_reconnect(record);
    }
}
