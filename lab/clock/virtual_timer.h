// Moved timerfds: a FIFO /run/lab/timers/N, opened for both directions, that the clock's owner
// writes 8-byte expiry counts into. read() and select() work on it as on the real thing. Called by
// the preloaded timerfd functions on the caller's thread; allocates nothing.
#pragma once

#include <sys/timerfd.h>

#include "lab/clock/clock_page.h"

namespace lab {

// Makes the FIFO of a free timer entry and opens it. `flags` are those of timerfd_create. Returns
// the descriptor, or -1 with errno set (EMFILE when all entries are taken).
int virtual_timer_create(ClockPage& page, int flags) noexcept;

// The entry behind a descriptor of the calling process, or nullptr.
TimerSlot* virtual_timer_find(ClockPage& page, int fd) noexcept;

// Arms or disarms; fractions of a second are rounded up.
void virtual_timer_arm(const ClockPage& page, TimerSlot& timer, int flags,
                       const itimerspec& value) noexcept;

// Rest until the next expiry, and the period.
void virtual_timer_read(const ClockPage& page, const TimerSlot& timer, itimerspec& value) noexcept;

}  // namespace lab
