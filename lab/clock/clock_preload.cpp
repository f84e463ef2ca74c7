// The preloaded clock: stands before the C library in the daemon, the tools and in-process tests.
//
// time(), gettimeofday(), sleep() and timerfds follow the page that LAB_CLOCK names; the requests
// to the wireless driver are answered from files. Without LAB_CLOCK, and while the page's
// mode is CLOCK_REAL, everything means what it always means. Runs on whatever thread calls it, also
// between fork and exec and under sanitizers: no allocation, no lock, no library call that a
// sanitizer may have replaced.

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "lab/clock/clock_page.h"
#include "lab/clock/driver_request.h"
#include "lab/clock/own_page.h"
#include "lab/clock/virtual_timer.h"

namespace {

lab::ClockPage* page = nullptr;

__attribute__((constructor)) void page_map() {
    const char* named = getenv(lab::OWN_PAGE_VARIABLE);
    page = lab::own_page_map();
    if (page == nullptr && named != nullptr && *named != '\0') {
        constexpr char TEXT[] = "lab clock: LAB_CLOCK names no clock page\n";
        syscall(SYS_write, 2, TEXT, sizeof(TEXT) - 1);
        syscall(SYS_exit_group, 97);
    }
}

lab::ClockMode mode() {
    return page == nullptr ? lab::CLOCK_REAL : static_cast<lab::ClockMode>(page->mode.load());
}

unsigned int sleep_held(unsigned int seconds) {
    const std::uint32_t deadline = page->now.load() + seconds;
    lab::own_call_await(lab::SLOT_SLEEP, deadline);
    const std::uint32_t now = page->now.load();
    return now < deadline ? deadline - now : 0;
}

unsigned int sleep_real(unsigned int seconds) {
    timespec wanted{static_cast<time_t>(seconds), 0};
    timespec left{0, 0};
    if (syscall(SYS_nanosleep, &wanted, &left) == 0) {
        return 0;
    }
    return static_cast<unsigned int>(left.tv_sec + (left.tv_nsec >= 500'000'000 ? 1 : 0));
}

timeval real_now() {
    timespec now{0, 0};
    syscall(SYS_clock_gettime, CLOCK_REALTIME, &now);
    return {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / 1000)};
}

// Due timers are fired one after the other; nobody may see the first before the last is there.
// Returns what the gate says when it is open.
std::uint32_t pass_gate() {
    std::uint32_t gate = page->gate.load();
    while (gate % 2 != 0) {
        lab::own_futex_wait(page->gate, gate);
        gate = page->gate.load();
    }
    return gate;
}

long select_once(int count, fd_set* in, fd_set* out, fd_set* odd, timeval* limit) {
    if (limit == nullptr) {
        return syscall(SYS_pselect6, count, in, out, odd, nullptr, nullptr);
    }
    timespec rest{limit->tv_sec, static_cast<long>(limit->tv_usec) * 1000};
    const long result = syscall(SYS_pselect6, count, in, out, odd, &rest, nullptr);
    limit->tv_sec = rest.tv_sec;
    limit->tv_usec = static_cast<suseconds_t>(rest.tv_nsec / 1000);
    return result;
}

}  // namespace

#define LAB_EXPORT extern "C" __attribute__((visibility("default")))

LAB_EXPORT time_t time(time_t* out) noexcept {
    const time_t now =
        mode() == lab::CLOCK_REAL ? real_now().tv_sec : static_cast<time_t>(page->now.load());
    if (out != nullptr) {
        *out = now;
    }
    return now;
}

LAB_EXPORT int gettimeofday(timeval* out, void* /*zone*/) noexcept {
    *out =
        mode() == lab::CLOCK_REAL ? real_now() : timeval{static_cast<time_t>(page->now.load()), 0};
    return 0;
}

LAB_EXPORT unsigned int sleep(unsigned int seconds) {
    switch (mode()) {
        case lab::CLOCK_HELD:
            return seconds == 0 ? 0 : sleep_held(seconds);
        case lab::CLOCK_EAGER:
            page->now.fetch_add(seconds);
            page->slept.fetch_add(seconds);
            return 0;
        case lab::CLOCK_REAL:
            break;
    }
    return sleep_real(seconds);
}

LAB_EXPORT int timerfd_create(int clock, int flags) noexcept {
    if (mode() == lab::CLOCK_REAL) {
        return static_cast<int>(syscall(SYS_timerfd_create, clock, flags));
    }
    return lab::virtual_timer_create(*page, flags);
}

LAB_EXPORT int timerfd_settime(int fd, int flags, const itimerspec* value,
                               itimerspec* old) noexcept {
    lab::TimerSlot* timer = page == nullptr ? nullptr : lab::virtual_timer_find(*page, fd);
    if (timer == nullptr) {
        return static_cast<int>(syscall(SYS_timerfd_settime, fd, flags, value, old));
    }
    if (old != nullptr) {
        lab::virtual_timer_read(*page, *timer, *old);
    }
    lab::virtual_timer_arm(*page, *timer, flags, *value);
    return 0;
}

LAB_EXPORT int timerfd_gettime(int fd, itimerspec* value) noexcept {
    lab::TimerSlot* timer = page == nullptr ? nullptr : lab::virtual_timer_find(*page, fd);
    if (timer == nullptr) {
        return static_cast<int>(syscall(SYS_timerfd_gettime, fd, value));
    }
    lab::virtual_timer_read(*page, *timer, *value);
    return 0;
}

LAB_EXPORT int select(int count, fd_set* in, fd_set* out, fd_set* odd, timeval* limit) {
    if (page == nullptr) {
        return static_cast<int>(select_once(count, in, out, odd, limit));
    }
    const auto copy = [](const fd_set* set, fd_set& into) {
        if (set != nullptr) {
            into = *set;
        }
    };
    fd_set in_wanted;
    fd_set out_wanted;
    fd_set odd_wanted;
    copy(in, in_wanted);
    copy(out, out_wanted);
    copy(odd, odd_wanted);
    const std::uint32_t gate = pass_gate();
    lab::own_wait_begin();
    const long first = select_once(count, in, out, odd, limit);
    const int reason = errno;
    lab::own_wait_end();
    if (first <= 0 || pass_gate() == gate) {
        errno = reason;
        return static_cast<int>(first);
    }
    // Timers were fired meanwhile, and not all of them may have been seen.
    copy(&in_wanted, *(in == nullptr ? &in_wanted : in));
    copy(&out_wanted, *(out == nullptr ? &out_wanted : out));
    copy(&odd_wanted, *(odd == nullptr ? &odd_wanted : odd));
    timeval none{0, 0};
    return static_cast<int>(select_once(count, in, out, odd, &none));
}

LAB_EXPORT int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list words;
    va_start(words, request);
    void* argument = va_arg(words, void*);
    va_end(words);
    if (page != nullptr && request == lab::CHANNEL_LIST_REQUEST) {
        const auto now = static_cast<unsigned long>(time(nullptr));
        return lab::driver_channel_list(argument, now);
    }
    if (page != nullptr && request == lab::STATION_AP_REQUEST) {
        return lab::driver_station_ap(argument);
    }
    // It may wait for who else asks for the machine's networks.
    lab::own_handed_note();
    return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
