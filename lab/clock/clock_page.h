// The page that holds a node's moved time: a file in the sandbox that the preloaded clock, the
// stand-in tools and the clock's owner (clock_control.h) all map.
//
// The owner is the only one that changes `now`. A sleeping thread has a slot; a moved timerfd has a
// timer entry. Both are taken and given back by the preloaded clock, and taken back by the owner
// when their process is gone. All numbers are of the node's own pid namespace. Everything is plain
// 32-bit atomics, so that programs of any word size can share a page.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace lab {

inline constexpr std::uint32_t CLOCK_MAGIC = 0x4C414243;
inline constexpr std::uint32_t SLEEPER_SLOTS = 256;
inline constexpr std::uint32_t TIMER_SLOTS = 64;

// How sleep() behaves while the clock is moved.
enum ClockMode : std::uint32_t {
    CLOCK_REAL = 0,   // not moved at all: everything passes through
    CLOCK_HELD = 1,   // time stands still until the owner advances it; sleepers wait for that
    CLOCK_EAGER = 2,  // a sleep moves time on by itself and returns at once
};

enum SleeperState : std::uint32_t {
    SLEEPER_FREE = 0,
    SLEEPER_TAKEN = 1,   // being filled in
    SLEEPER_WAITS = 2,   // until `now` reaches the deadline
    SLEEPER_CALLED = 3,  // its time has come and it has not left yet
};

struct SleeperSlot {
    std::atomic<std::uint32_t> state;  // SleeperState; also the futex that the sleeper waits on
    std::atomic<std::uint32_t> pid;
    std::atomic<std::uint32_t> tid;
    std::atomic<std::uint32_t> deadline;
    std::atomic<std::uint32_t> order;  // grows with each sleep: who lay down first
};

struct TimerSlot {
    std::atomic<std::uint32_t> taken;   // 0 or 1
    std::atomic<std::uint32_t> pid;     // of the process that created it
    std::atomic<std::uint32_t> fd;      // its descriptor there
    std::atomic<std::uint32_t> first;   // seconds to the first expiry as armed; 0: disarmed
    std::atomic<std::uint32_t> period;  // seconds between later ones; 0: once only
    std::atomic<std::uint32_t> due;     // when it expires next; 0: never
    std::atomic<std::uint32_t> order;   // grows with each timerfd_create: who was made first
};

struct ClockPage {
    std::atomic<std::uint32_t> magic;
    std::atomic<std::uint32_t> mode;     // ClockMode
    std::atomic<std::uint32_t> now;      // seconds since 1970, valid unless the mode is CLOCK_REAL
    std::atomic<std::uint32_t> gate;     // odd while due timers are being fired; a futex
    std::atomic<std::uint32_t> changes;  // bumped when a sleeper lies down or leaves; a futex
    std::atomic<std::uint32_t> orders;   // source of the two `order` fields
    std::atomic<std::uint32_t> slept;    // seconds passed by sleeps in CLOCK_EAGER
    std::array<SleeperSlot, SLEEPER_SLOTS> sleepers;
    std::array<TimerSlot, TIMER_SLOTS> timers;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
static_assert(sizeof(ClockPage) == 28 + SLEEPER_SLOTS * 20 + TIMER_SLOTS * 28);

}  // namespace lab
