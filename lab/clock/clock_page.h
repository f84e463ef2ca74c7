// The page that holds a node's moved time: a file in the sandbox that the preloaded clock, the
// stand-in tools and the clock's owner (clock_control.h) all map.
//
// The owner is the only one that changes `now`. A sleeping thread has a slot; a moved timerfd has a
// timer entry. Both are taken and given back by the preloaded clock, and taken back by the owner
// when their process is gone. All numbers are of the node's own pid namespace. Everything is plain
// 32-bit atomics, so that programs of any word size can share a page.
//
// While `exact` is set, whoever wants to send a datagram lies down like a sleeper, and the owner
// calls it when all nodes rest. The counters behind it are the node's own account, by which the
// owner knows without a look that it rests (clock_exact.cpp).
#pragma once

// The page of a node's moved time, shared by its owner and by every program with the preloaded
// clock, whatever processor that program was made for. Any process, any thread.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <bit>
#include <climits>
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

// What a thread with a slot waits for.
enum SlotKind : std::uint32_t {
    SLOT_SLEEP = 0,  // the deadline
    SLOT_SEND = 1,   // that nobody of any node runs: a datagram is to go out
    SLOT_SENT = 2,   // that all who got the datagram rest again
};

// A number of the page, in memory with its lowest byte first: an emulated program may have the
// other order.
class ClockWord {
public:
    std::uint32_t load() const {
        return in_page(word_.load());
    }
    void store(std::uint32_t value) {
        word_.store(in_page(value));
    }
    std::uint32_t fetch_add(std::uint32_t more) {
        std::uint32_t old = word_.load();
        while (!word_.compare_exchange_weak(old, in_page(in_page(old) + more))) {
        }
        return in_page(old);
    }
    bool compare_exchange_strong(std::uint32_t& expected, std::uint32_t wanted) {
        std::uint32_t old = in_page(expected);
        const bool done = word_.compare_exchange_strong(old, in_page(wanted));
        expected = in_page(old);
        return done;
    }
    // What the kernel waits on, and how `value` looks there.
    const void* futex() const {
        return &word_;
    }
    // Wakes all who wait on it.
    void wake() const {
        syscall(SYS_futex, futex(), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
    }
    static constexpr std::uint32_t in_page(std::uint32_t value) {
        return std::endian::native == std::endian::little ? value : __builtin_bswap32(value);
    }

private:
    std::atomic<std::uint32_t> word_;
};

struct SleeperSlot {
    ClockWord state;  // SleeperState; also the futex that the sleeper waits on
    ClockWord pid;
    ClockWord tid;
    ClockWord deadline;
    ClockWord order;  // grows with each sleep: who lay down first
    ClockWord kind;   // SlotKind
};

struct TimerSlot {
    ClockWord taken;   // 0 or 1
    ClockWord pid;     // of the process that created it
    ClockWord fd;      // its descriptor there
    ClockWord first;   // seconds to the first expiry as armed; 0: disarmed
    ClockWord period;  // seconds between later ones; 0: once only
    ClockWord due;     // when it expires next; 0: never
    ClockWord order;   // grows with each timerfd_create: who was made first
};

struct ClockPage {
    ClockWord magic;
    ClockWord mode;     // ClockMode
    ClockWord now;      // seconds since 1970, valid unless the mode is CLOCK_REAL
    ClockWord gate;     // odd while due timers are being fired; a futex
    ClockWord changes;  // bumped when a sleeper lies down or leaves; a futex
    ClockWord orders;   // source of the two `order` fields
    ClockWord slept;    // seconds passed by sleeps in CLOCK_EAGER
    ClockWord exact;    // 1: the owner runs when nobody of the node does
    ClockWord awake;    // threads that woke, less those that began to wait for the owner or others
    ClockWord lines;    // shell lines begun and not ended, less those that wait for the air
    ClockWord handed;   // bumped when something was started whose end nobody tells, or has ended
    ClockWord senders;  // threads that lie to send
    std::array<SleeperSlot, SLEEPER_SLOTS> sleepers;
    std::array<TimerSlot, TIMER_SLOTS> timers;
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
static_assert(sizeof(ClockPage) == 48 + SLEEPER_SLOTS * 24 + TIMER_SLOTS * 28);

}  // namespace lab
