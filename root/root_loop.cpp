#include "root/root_loop.h"

#include "device/ap_alive.h"
#include "device/channel_monitor.h"
#include "device/companion_ap.h"
#include "msg/msg_send.h"
#include "root/ap_list.h"
#include "runtime/runtime_block.h"

#include <fcntl.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::array<root_timer, ROOT_TIMER_COUNT> ROOT_TIMERS{{
    {10, 10, backhaul_ap_list_sync},
    {60, 30,
     [] {
         ap_alive_chk(backhaul_ap_check::always);
     }},
    {5, 5,
     [] {
         backhaul_send_msg(msg_word::root_announcement, ROOT_ANNOUNCE_PORT);
     }},
    {120, 90,
     [] {
         wifi_channel_monitor_once();
     }},
    {60, 10, device_approval_list_check},
    // One period, 10 seconds apart: these three never fall due together.
    {120, 50,
     [] {
         device_wifi_config_check(0);
     }},
    {130, 50,
     [] {
         device_wifi_config_check(1);
     }},
    {140, 50,
     [] {
         device_wifi_config_check(2);
     }},
}};

/// Reads the expiry count away; missed expiries are not made up.
void timer_clear(int fd) {
    uint64_t expiries = 0;
    [[maybe_unused]] const ssize_t size = read(fd, &expiries, sizeof(expiries));
}

}  // namespace

const std::array<root_timer, ROOT_TIMER_COUNT>& root_timer_table() {
    return ROOT_TIMERS;
}

int backhaul_timerfd_create(unsigned first, unsigned period) {
    const int fd = timerfd_create(CLOCK_MONOTONIC, 0);
    if (fd < 0) {
        std::puts("timerfd_create() failed");
        return -1;
    }
    // The services that handlers restart must not inherit the timers.
    fcntl(fd, F_SETFD, FD_CLOEXEC);
    itimerspec timing{};
    timing.it_value.tv_sec = static_cast<time_t>(first);
    timing.it_interval.tv_sec = static_cast<time_t>(period);
    if (timerfd_settime(fd, 0, &timing, nullptr) < 0) {
        close(fd);
        std::puts("timerfd_settime() failed");
        return -1;
    }
    return fd;
}

void root_timers_open(std::span<const root_timer> table, root_timer_set& set) {
    FD_ZERO(&set.watched);
    set.max_fd = 0;
    for (size_t i = 0; i < table.size(); ++i) {
        const int fd = backhaul_timerfd_create(table[i].first, table[i].period);
        set.fds[i] = fd;
        // A timer that could not be made is left out: its duty is never done.
        if (fd > 0 && fd < FD_SETSIZE) {
            FD_SET(fd, &set.watched);
            set.max_fd = std::max(set.max_fd, fd);
        }
    }
}

void root_timers_step(std::span<const root_timer> table, const root_timer_set& set) {
    fd_set ready = set.watched;
    if (select(set.max_fd + 1, &ready, nullptr, nullptr, nullptr) < 0) {
        std::printf("select error: %s\n", std::strerror(errno));
        return;
    }
    for (size_t i = 0; i < table.size(); ++i) {
        const int fd = set.fds[i];
        if (fd > 0 && fd < FD_SETSIZE && FD_ISSET(fd, &ready)) {
            timer_clear(fd);
            table[i].handler();
        }
    }
}

void backhaul_root_loop() {
    backhaul_ap_list_init();
    root_timer_set timers{};
    root_timers_open(ROOT_TIMERS, timers);
    for (;;) {
        root_timers_step(ROOT_TIMERS, timers);
    }
}
