// Many nodes on one processor, moved exactly.
//
// The owner runs when no node can (processor_place.h): when a call that wakes somebody returns,
// that one has run to its rest, and everybody whom it woke. Left to be seen by a look through /proc
// is who waits for the machine (a page of a program's file, a lock that others hold), and that can
// only be in a program that the node has started. Its account tells: when as many threads are awake
// as at the last look, no line is under way and nothing was started whose end nobody tells, then
// the node rests.
//
// Datagrams go out when all nodes rest, one at a time, in the order of the nodes; the kernel may
// deliver some of them a moment later, which is waited for.

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "lab/clock/clock_control.h"

namespace lab {
namespace {

using RealClock = std::chrono::steady_clock;

constexpr useconds_t FIRST_PAUSE_US = 20;
constexpr useconds_t LONGEST_PAUSE_US = 1000;

}  // namespace

void MovedClock::be_exact(ProcessorPlace* place) {
    place_ = place;
}

void MovedClock::touch(int node) {
    Node& touched = *nodes_[static_cast<std::size_t>(node)];
    touched.touched = true;
    ++touched.touches;
}

std::uint32_t MovedClock::starts(int node) const {
    const Node& asked = *nodes_[static_cast<std::size_t>(node)];
    return asked.page->handed.load() + asked.touches;
}

bool MovedClock::Node::may_run() const {
    return touched || page->awake.load() != awake_at_rest || page->lines.load() != lines_at_rest ||
           page->handed.load() != handed_at_rest;
}

// Waits until the kernel has delivered what was sent.
bool MovedClock::packets_wait(std::string& error) const {
    const auto end = RealClock::now() + patience;
    while (packets_under_way()) {
        if (RealClock::now() > end) {
            return not_quiet(error);
        }
        usleep(FIRST_PAUSE_US);
        place_->beat();
    }
    return true;
}

// A look at who may run, until nobody does.
bool MovedClock::exact_rest(std::string& error) {
    const auto end = RealClock::now() + patience;
    useconds_t pause = FIRST_PAUSE_US;
    for (;;) {
        bool rests = true;
        for (const auto& node : nodes_) {
            if (!node->may_run()) {
                continue;
            }
            if ((also_busy && also_busy()) || !node->watch->rests()) {
                rests = false;
                break;
            }
            node->awake_at_rest = node->page->awake.load();
            node->lines_at_rest = node->page->lines.load();
            node->handed_at_rest = node->page->handed.load();
            node->touched = false;
            slots_take_back(*node);
        }
        if (rests) {
            return true;
        }
        if (RealClock::now() > end) {
            return not_quiet(error);
        }
        usleep(pause);
        pause = std::min(pause * 2, LONGEST_PAUSE_US);
        place_->beat();
    }
}

// Who was called and is gone before it could come was killed.
void MovedClock::slots_take_back(const Node& node) {
    for (SleeperSlot& slot : node.page->sleepers) {
        const std::uint32_t state = slot.state.load();
        if (state == SLEEPER_CALLED ||
            (state == SLEEPER_WAITS && slot.kind.load() != SLOT_SLEEP &&
             !node.watch->thread_exists(static_cast<pid_t>(slot.pid.load()),
                                        static_cast<pid_t>(slot.tid.load())))) {
            if (slot.kind.load() != SLOT_SLEEP) {
                node.page->senders.fetch_add(~0U);
            }
            slot.state.store(SLEEPER_FREE);
        }
    }
}

// Calls whoever lies there; when this returns, it has run, and all that it woke.
void MovedClock::exact_call(Node& node, SleeperSlot& slot) {
    place_->beat();
    slot.state.store(SLEEPER_CALLED);
    slot.state.wake();
    // Still there: its thread was killed.
    node.touched = node.touched || slot.state.load() == SLEEPER_CALLED;
}

// The slot of the first node, and there of who lay down first, that waits for this.
std::pair<MovedClock::Node*, SleeperSlot*> MovedClock::exact_first(SlotKind kind) const {
    for (const auto& node : nodes_) {
        SleeperSlot* first = nullptr;
        for (SleeperSlot& slot : node->page->sleepers) {
            if (slot.state.load() == SLEEPER_WAITS && slot.kind.load() == kind &&
                (first == nullptr || slot.order.load() < first->order.load())) {
                first = &slot;
            }
        }
        if (first != nullptr) {
            return {node.get(), first};
        }
    }
    return {nullptr, nullptr};
}

// Lets one sender go on: back from its datagram, else out with it. False when none waits.
bool MovedClock::exact_send(std::string& error) {
    if (std::none_of(nodes_.begin(), nodes_.end(),
                     [](const auto& node) { return node->page->senders.load() != 0; })) {
        return false;
    }
    for (const SlotKind kind : {SLOT_SENT, SLOT_SEND}) {
        const auto [node, slot] = exact_first(kind);
        if (slot != nullptr) {
            exact_call(*node, *slot);
            return packets_wait(error);
        }
    }
    return false;
}

bool MovedClock::exact_settle(std::string& error) {
    error.clear();
    do {
        if (!exact_rest(error)) {
            return false;
        }
    } while (exact_send(error) || (error.empty() && serve_at_rest()));
    return error.empty();
}

bool MovedClock::exact_move(std::string& error) {
    for (const Due& due : due_sleepers()) {
        // One that was killed meanwhile may have left its slot to another.
        if (due.slot->state.load() != SLEEPER_WAITS || due.slot->kind.load() != SLOT_SLEEP ||
            due.slot->deadline.load() > now()) {
            continue;
        }
        exact_call(*due.node, *due.slot);
        if ((due.node->may_run() || due.node->page->senders.load() != 0) && !exact_settle(error)) {
            return false;
        }
    }
    return true;
}

}  // namespace lab
