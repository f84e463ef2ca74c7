#pragma once

// The root's event loop: eight periodic kernel timers, each with one piece of housekeeping.
//
// Main thread of a root, for the life of the worker. Handlers that fall due together run one
// after the other in table order; missed expiries are not made up.

#include <array>
#include <cstdint>

struct root_timer {
    unsigned first;  ///< seconds to the first expiry
    unsigned period; ///< seconds between later expiries
    void (*handler)();
};

/// The timers in creation order.
const std::array<root_timer, 8>& root_timer_table();

/// Returns a timer descriptor armed with `first` and `period` seconds, or -1 after printing why.
int backhaul_timerfd_create(unsigned first, unsigned period);

[[noreturn]] void backhaul_root_loop();
