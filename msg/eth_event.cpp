#include "msg/eth_event.h"

#include "device/client_control.h"
#include "intf/intf_table.h"
#include "link/eth_switch.h"
#include "msg/msg_send.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <cstring>

namespace {

constexpr char ETH_DETECT[] = "eth_detect";
constexpr char ETH_LOST[] = "eth_lost";

const char* backhaul_type_text(int kind) {
    switch (kind) {
        case BACKHAUL_TYPE_WIFI:
            return "wifi\n";
        case BACKHAUL_TYPE_ETHERNET:
            return "ethernet\n";
        default:
            return "other\n";
    }
}

}  // namespace

void backhaul_eth_event_handle(const char* event) {
    flow_log("%s : recv event %s\n", __func__, event);
    const intf_record* eth = intf_find_by_name(ETH_INTF_NAME);
    if (std::strcmp(event, ETH_DETECT) == 0) {
        if (eth == nullptr) {
            flow_log("%s : eth_intf not found\n", __func__);
            return;
        }
        if (runtime.intf_init_done != 1) {
            // No reply: the agent repeats the event.
            flow_log("%s : intf not finish to init\n", __func__);
            return;
        }
        eth_backhaul_reply("eth_detect_reply");
        backhaul_type_file_write(BACKHAUL_TYPE_ETHERNET);
        wifi_slave_eth_detect();
        backhaul_send_msg("FLUSHFORWARDING", BACKHAUL_MSG_PORT);
        device_forward_table_flush();
    } else if (std::strcmp(event, ETH_LOST) == 0) {
        eth_backhaul_reply("eth_lost_reply");
        wifi_backhaul_recover();
    }
}

void eth_backhaul_reply(const char* reply) {
    // The FIFO belongs to the agent: it is neither created nor looked for here.
    command_format_cut_run(COMMAND_SIZE_SHORT, "echo %s > /tmp/eth_backhaul_fifo", reply);
}

void backhaul_type_file_write(int kind) {
    file_rewrite(BACKHAUL_TYPE_PATH, backhaul_type_text(kind));
}
