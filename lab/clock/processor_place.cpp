#include "lab/clock/processor_place.h"

#include <unistd.h>

namespace lab {
namespace {

// Owners take turns with each other; nodes do not, or their order would depend on how fast they
// are.
constexpr int OWNER_POLICY = SCHED_RR;
constexpr int OWNER_PRIORITY = 1;
constexpr int NODE_POLICY = SCHED_FIFO;
constexpr int NODE_PRIORITY = 2;

constexpr std::chrono::milliseconds WATCH_PERIOD{500};

bool become(pid_t thread, int policy, int priority) {
    sched_param wanted{};
    wanted.sched_priority = priority;
    return sched_setscheduler(thread, policy, &wanted) == 0;
}

}  // namespace

std::unique_ptr<ProcessorPlace> ProcessorPlace::take() {
    cpu_set_t before;
    cpu_set_t here;
    CPU_ZERO(&here);
    const int processor = sched_getcpu();
    if (processor < 0 || processor >= CPU_SETSIZE || sched_getscheduler(0) != SCHED_OTHER ||
        sched_getaffinity(0, sizeof before, &before) != 0) {
        return nullptr;
    }
    CPU_SET(static_cast<unsigned>(processor), &here);
    std::unique_ptr<ProcessorPlace> place(new ProcessorPlace);
    place->before_ = before;
    place->owner_ = gettid();
    // Made before the caller is bound: it may run anywhere.
    place->watcher_ = std::thread([&watched = *place] { watched.watch(); });
    place->await_watcher();
    // A node's priority is the higher one: it shows whether the machine allows both.
    if (!become(0, NODE_POLICY, NODE_PRIORITY) || !become(0, OWNER_POLICY, OWNER_PRIORITY) ||
        sched_setaffinity(0, sizeof here, &here) != 0) {
        return nullptr;
    }
    return place;
}

ProcessorPlace::~ProcessorPlace() {
    {
        const std::scoped_lock lock(mutex_);
        over_ = true;
    }
    changed_.notify_all();
    watcher_.join();
    become(owner_, SCHED_OTHER, 0);
    sched_setaffinity(owner_, sizeof before_, &before_);
}

// The owner forks later. What a thread that starts holds at that moment (an allocator's lock) would
// stay held in the child for ever; a watcher that watches holds nothing.
void ProcessorPlace::await_watcher() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return watching_; });
}

void ProcessorPlace::watch() {
    std::uint32_t seen = 0;
    std::int64_t stuck_ms = 0;
    std::unique_lock lock(mutex_);
    watching_ = true;
    changed_.notify_all();
    while (!changed_.wait_for(lock, WATCH_PERIOD, [this] { return over_; })) {
        const std::int64_t patience = patience_ms_.load();
        const std::uint32_t beats = beats_.load();
        stuck_ms = patience == 0 || beats != seen ? 0 : stuck_ms + WATCH_PERIOD.count();
        seen = beats;
        if (patience != 0 && stuck_ms > patience) {
            // In this order: elsewhere it runs at once.
            become(owner_, SCHED_OTHER, 0);
            sched_setaffinity(owner_, sizeof before_, &before_);
        }
    }
}

void ProcessorPlace::begin(std::chrono::milliseconds patience) {
    patience_ms_ = patience.count();
}

void ProcessorPlace::beat() {
    beats_.fetch_add(1, std::memory_order_relaxed);
}

void ProcessorPlace::end() {
    patience_ms_ = 0;
}

NodePriority::NodePriority()
    : raised_(sched_getscheduler(0) == OWNER_POLICY && become(0, NODE_POLICY, NODE_PRIORITY)) {}

NodePriority::~NodePriority() {
    if (raised_) {
        become(0, OWNER_POLICY, OWNER_PRIORITY);
    }
}

}  // namespace lab
