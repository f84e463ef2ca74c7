#include "lab/clock/own_page.h"

#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace lab {
namespace {

ClockPage* page = nullptr;

void owner_tell() {
    page->changes.fetch_add(1);
    page->changes.wake();
}

SleeperSlot* slot_take() {
    for (SleeperSlot& slot : page->sleepers) {
        std::uint32_t expected = SLEEPER_FREE;
        if (slot.state.compare_exchange_strong(expected, SLEEPER_TAKEN)) {
            return &slot;
        }
    }
    constexpr char TEXT[] = "lab clock: too many sleepers\n";
    syscall(SYS_write, 2, TEXT, sizeof(TEXT) - 1);
    syscall(SYS_exit_group, 97);
    return nullptr;
}

}  // namespace

ClockPage* own_page_map() {
    const char* path = getenv(OWN_PAGE_VARIABLE);
    if (path == nullptr) {
        return nullptr;
    }
    const int fd = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, O_RDWR | O_CLOEXEC, 0));
    void* mapped = MAP_FAILED;
    if (fd >= 0) {
        mapped = mmap(nullptr, sizeof(ClockPage), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        syscall(SYS_close, fd);
    }
    if (mapped != MAP_FAILED && static_cast<ClockPage*>(mapped)->magic.load() == CLOCK_MAGIC) {
        page = static_cast<ClockPage*>(mapped);
    }
    return page;
}

long own_futex_wait(const ClockWord& word, std::uint32_t value) {
    return syscall(SYS_futex, word.futex(), FUTEX_WAIT, ClockWord::in_page(value), nullptr, nullptr,
                   0);
}

void own_call_await(SlotKind kind, std::uint32_t deadline) {
    SleeperSlot* const slot = slot_take();
    slot->pid.store(static_cast<std::uint32_t>(syscall(SYS_getpid)));
    slot->tid.store(static_cast<std::uint32_t>(syscall(SYS_gettid)));
    slot->deadline.store(deadline);
    slot->order.store(page->orders.fetch_add(1));
    slot->kind.store(kind);
    page->senders.fetch_add(kind == SLOT_SLEEP ? 0 : 1);
    own_wait_begin();
    slot->state.store(SLEEPER_WAITS);
    owner_tell();
    // Only the owner's call ends the sleep: `now` alone would let two sleepers leave at once.
    long result = 0;
    while (slot->state.load() == SLEEPER_WAITS && result == 0) {
        result = own_futex_wait(slot->state, SLEEPER_WAITS);
        if (result != 0 && errno == EAGAIN) {
            result = 0;
        }
    }
    own_wait_end();
    page->senders.fetch_add(kind == SLOT_SLEEP ? 0U : ~0U);
    slot->state.store(SLEEPER_FREE);
    owner_tell();
}

bool own_exact() {
    return page != nullptr && page->exact.load() != 0 && page->mode.load() == CLOCK_HELD;
}

void own_handed_note() {
    if (page != nullptr) {
        page->handed.fetch_add(1);
    }
}

void own_line_begin() {
    if (page != nullptr) {
        page->lines.fetch_add(1);
    }
}

void own_line_end() {
    if (page != nullptr) {
        page->lines.fetch_add(~0U);
    }
}

void own_wait_begin() {
    if (page != nullptr) {
        page->awake.fetch_add(~0U);
    }
}

void own_wait_end() {
    if (page != nullptr) {
        page->awake.fetch_add(1);
    }
}

}  // namespace lab
