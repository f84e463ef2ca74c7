#include "lab/clock/virtual_timer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>

#include "lab/sandbox/layout.h"

namespace lab {
namespace {

std::uint32_t own_pid() {
    return static_cast<std::uint32_t>(syscall(SYS_getpid));
}

// "/run/lab/timers/N".
std::array<char, 64> timer_path(std::uint32_t number) {
    std::array<char, 64> path{};
    unsigned long length = 0;
    for (const char* at = LAB_TIMERS; *at != '\0'; ++at) {
        path[length++] = *at;
    }
    path[length++] = '/';
    std::array<char, 12> digits{};
    unsigned long count = 0;
    do {
        digits[count++] = static_cast<char>('0' + number % 10);
        number /= 10;
    } while (number != 0);
    while (count > 0) {
        path[length++] = digits[--count];
    }
    return path;
}

std::uint32_t whole_seconds(const timespec& value) {
    return static_cast<std::uint32_t>(value.tv_sec) + (value.tv_nsec > 0 ? 1U : 0U);
}

// A descriptor number that was closed and given out again belongs to its newest timer.
void forget_older(ClockPage& page, const TimerSlot& newest) {
    for (TimerSlot& timer : page.timers) {
        if (&timer != &newest && timer.taken.load() == 1 && timer.pid.load() == newest.pid.load() &&
            timer.fd.load() == newest.fd.load()) {
            timer.taken.store(0);
        }
    }
}

int open_fifo(std::uint32_t number, int flags) {
    const std::array<char, 64> path = timer_path(number);
    // A FIFO left by an earlier owner of the entry may still hold a count.
    syscall(SYS_unlinkat, AT_FDCWD, path.data(), 0);
    if (syscall(SYS_mknodat, AT_FDCWD, path.data(), S_IFIFO | 0600, 0) != 0) {
        return -1;
    }
    const int open_flags = O_RDWR | ((flags & TFD_NONBLOCK) != 0 ? O_NONBLOCK : 0) |
                           ((flags & TFD_CLOEXEC) != 0 ? O_CLOEXEC : 0);
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path.data(), open_flags, 0));
}

}  // namespace

int virtual_timer_create(ClockPage& page, int flags) noexcept {
    for (std::uint32_t number = 0; number < TIMER_SLOTS; ++number) {
        TimerSlot& timer = page.timers[number];
        std::uint32_t expected = 0;
        if (!timer.taken.compare_exchange_strong(expected, 1)) {
            continue;
        }
        timer.due.store(0);
        timer.first.store(0);
        timer.period.store(0);
        const int fd = open_fifo(number, flags);
        if (fd < 0) {
            timer.taken.store(0);
            return -1;
        }
        timer.pid.store(own_pid());
        timer.fd.store(static_cast<std::uint32_t>(fd));
        timer.order.store(page.orders.fetch_add(1));
        forget_older(page, timer);
        return fd;
    }
    errno = EMFILE;
    return -1;
}

TimerSlot* virtual_timer_find(ClockPage& page, int fd) noexcept {
    const std::uint32_t pid = own_pid();
    for (TimerSlot& timer : page.timers) {
        if (timer.taken.load() == 1 && timer.pid.load() == pid &&
            timer.fd.load() == static_cast<std::uint32_t>(fd)) {
            return &timer;
        }
    }
    return nullptr;
}

void virtual_timer_arm(const ClockPage& page, TimerSlot& timer, int flags,
                       const itimerspec& value) noexcept {
    const std::uint32_t first = whole_seconds(value.it_value);
    const std::uint32_t from = (flags & TFD_TIMER_ABSTIME) != 0 ? 0 : page.now.load();
    timer.first.store(first);
    timer.period.store(whole_seconds(value.it_interval));
    timer.due.store(first == 0 ? 0 : from + first);
}

void virtual_timer_read(const ClockPage& page, const TimerSlot& timer, itimerspec& value) noexcept {
    const std::uint32_t due = timer.due.load();
    const std::uint32_t now = page.now.load();
    value = {};
    value.it_interval.tv_sec = timer.period.load();
    value.it_value.tv_sec = due == 0 || due < now ? 0 : due - now;
}

}  // namespace lab
