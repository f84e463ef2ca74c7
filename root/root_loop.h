#pragma once

// The root's event loop: eight periodic kernel timers, each with one piece of housekeeping.
//
// Main thread of a root, for the life of the worker. Handlers that fall due together run one
// after the other in table order; missed expiries are not made up.

#include <sys/select.h>
#include <array>
#include <cstddef>
#include <span>

inline constexpr size_t ROOT_TIMER_COUNT = 8;

struct root_timer {
    unsigned first;   ///< seconds to the first expiry
    unsigned period;  ///< seconds between later expiries
    void (*handler)();
};

/// The timers in creation order.
const std::array<root_timer, ROOT_TIMER_COUNT>& root_timer_table();

/// The open timers of a table, in its order.
struct root_timer_set {
    std::array<int, ROOT_TIMER_COUNT> fds{};  ///< -1 where a timer could not be made
    fd_set watched{};
    int max_fd = 0;
};

/// Returns a timer descriptor armed with `first` and `period` seconds, or -1 after printing why.
int backhaul_timerfd_create(unsigned first, unsigned period);

/// Creates and arms the timers of `table` (at most ROOT_TIMER_COUNT) in order.
void root_timers_open(std::span<const root_timer> table, root_timer_set& set);

/// Waits without limit until a timer is due, then runs the handlers of all that are, in table
/// order. Prints why when the wait fails.
void root_timers_step(std::span<const root_timer> table, const root_timer_set& set);

[[noreturn]] void backhaul_root_loop();
