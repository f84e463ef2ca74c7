#include "intake/sock_handle.h"

#include <sys/select.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "intake/control_fifo.h"
#include "intake/msg_receive.h"
#include "intake/netlink_intake.h"
#include "runtime/runtime_block.h"

namespace {

/// A descriptor that is not open, or that select cannot hold, is not waited for.
bool is_watchable(int fd) {
    return fd >= 0 && fd < FD_SETSIZE;
}

void watch(fd_set& set, int fd) {
    if (is_watchable(fd)) {
        FD_SET(fd, &set);
        runtime.max_fd = std::max(runtime.max_fd.get(), fd);
    }
}

bool is_ready(const fd_set& set, int fd) {
    return is_watchable(fd) && FD_ISSET(fd, &set);
}

/// Driver events before commands before node messages.
void ready_serve(const fd_set& ready) {
    if (is_ready(ready, runtime.netlink_fd)) {
        netlink_recv();
    }
    if (is_ready(ready, runtime.fifo_fd)) {
        backhaul_fifo_recv();
    }
    if (is_ready(ready, runtime.msg_fd)) {
        backhaul_notification_recv(runtime.msg_fd);
    }
}

}  // namespace

void* backhaul_sock_handle([[maybe_unused]] void* argument) {
    fd_set watched;
    FD_ZERO(&watched);
    watch(watched, runtime.netlink_fd);
    watch(watched, runtime.fifo_fd);
    watch(watched, runtime.msg_fd);
    for (;;) {
        fd_set ready = watched;
        if (select(runtime.max_fd + 1, &ready, nullptr, nullptr, nullptr) < 0) {
            // At once and without a pause, also when the error stays.
            std::printf("select error: %s\n", std::strerror(errno));
            continue;
        }
        ready_serve(ready);
    }
}
