#include "intake/eth_event.h"

#include "device/client_control.h"
#include "intf/intf_table.h"
#include "link/backhaul_type.h"
#include "link/eth_switch.h"
#include "msg/msg_send.h"
#include "runtime/command.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdio>

void backhaul_eth_event_handle(fifo_command event) {
    flow_log("%s : recv event %s\n", __func__, fifo_command_text(event));
    const intf_record* eth = intf_find_by_name(ETH_INTF_NAME);
    if (event == fifo_command::eth_detect) {
        if (eth == nullptr) {
            flow_log("%s : eth_intf not found\n", __func__);
            return;
        }
        if (!runtime.intf_init_done) {
            // No reply: the agent repeats the event.
            flow_log("%s : intf not finish to init\n", __func__);
            return;
        }
        eth_backhaul_reply("eth_detect_reply");
        backhaul_type_file_write(BACKHAUL_TYPE_ETHERNET);
        wifi_slave_eth_detect();
        backhaul_send_msg(msg_word::flush_forwarding, BACKHAUL_MSG_PORT);
        device_forward_table_flush();
    } else if (event == fifo_command::eth_lost) {
        eth_backhaul_reply("eth_lost_reply");
        wifi_backhaul_recover();
    }
}

void eth_backhaul_reply(const char* reply) {
    // The FIFO belongs to the agent: it is neither created nor looked for here. A word of our own,
    // in a line that is cut at its end.
    std::array<char, COMMAND_SIZE_SHORT> line{};
    std::snprintf(line.data(), line.size(), "echo %s > /tmp/eth_backhaul_fifo", reply);
    command_run(line.data());
}
