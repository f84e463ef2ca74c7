#include "intake/control_fifo.h"

#include "device/approval_list.h"
#include "device/companion_ap.h"
#include "device/intf_enable.h"
#include "intake/eth_event.h"
#include "intake/fifo_command.h"
#include "intf/intf_table.h"
#include "link/backup_link.h"
#include "msg/msg_send.h"
#include "runtime/mode_file.h"
#include "runtime/runtime_block.h"
#include "runtime/worker_end.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr mode_t FIFO_MODE = 0777;

/// The role is taken up by the next worker: says so, leaves it in the file and ends this one.
[[noreturn]] void role_change(bool master, const char* word) {
    runtime.master = master;
    std::printf("%s : mode change to %s\n", "backhaul_fifo_recv", word);
    mode_file_write(word);
    worker_end_now(EXIT_SUCCESS);
}

void uplink_scan_request() {
    uplink_scan_reopen();
    backhaul_send_msg(msg_word::uplink_scan, BACKHAUL_MSG_PORT);
}

}  // namespace

void control_fifo_create() {
    std::remove(CONTROL_FIFO_PATH);
    if (mkfifo(CONTROL_FIFO_PATH, FIFO_MODE) < 0) {
        std::puts("mkfifo : error");
        return;
    }
    // Read-write: with a writer of its own the daemon never sees the end of the file.
    runtime.fifo_fd = open(CONTROL_FIFO_PATH, O_RDWR | O_CLOEXEC);
    if (runtime.fifo_fd < 0) {
        std::printf("fifo: Failed to open fifo: %s\n", std::strerror(errno));
    }
}

void backhaul_fifo_recv() {
    std::array<char, FIFO_READ_SIZE> buffer{};
    const ssize_t count = read(runtime.fifo_fd, buffer.data(), buffer.size());
    const fifo_command command = fifo_command_parse(buffer, count, runtime.master);
    switch (command) {
        case fifo_command::master:
            role_change(true, MODE_MASTER);
        case fifo_command::slave:
            role_change(false, MODE_SLAVE);
        case fifo_command::approval_list_changed:
            service_ap_approval_apply();
            break;
        case fifo_command::uplink_scan:
            uplink_scan_request();
            break;
        case fifo_command::network_reload:
            backhaul_send_msg(msg_word::network_reload, BACKHAUL_MSG_PORT);
            break;
        case fifo_command::eth_detect:
        case fifo_command::eth_lost:
            backhaul_eth_event_handle(command);
            break;
        case fifo_command::none:
            break;
    }
}

void service_ap_approval_apply() {
    const intf_switch on = approval_list_approved_count() == 0 ? INTF_ENABLE : INTF_DISABLE;
    for (auto& record : intf_table_walk()) {
        if (record.follow_primary == 0 || !intf_type_is_service_ap(record.type)) {
            continue;
        }
        device_hidden_ap_set(0);
        dev_intf_enable_set(&record, on);
    }
    runtime.approval_changed = true;
}
