// The count that wakes the timer thread, under many threads at once.
#include "intf/intf_timer.h"

#include "runtime/runtime_block.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace {

constexpr int THREADS = 4;
constexpr int ARMS = 10000;  // of each thread
constexpr std::chrono::seconds PATIENCE(60);

std::array<intf_record, THREADS> records;
std::atomic<int> acted{0};
std::atomic<bool> is_late{false};

/// As the timer thread does: waits, then acts on whatever is pending.
void sweep_until_acted_on(int total) {
    while (acted < total && !is_late) {
        intf_timer_wait();
        for (intf_record& record : records) {
            if (record.timer_type != TIMER_OFF) {
                intf_timer_set(&record, TIMER_OFF);
                ++acted;
            }
        }
    }
}

/// Arms again as soon as the last timeout was acted on, so that the count falls to 0 all the time.
void arm_again_and_again(intf_record* record) {
    for (int arm = 0; arm < ARMS; ++arm) {
        intf_timer_set(record, TIMER_ON);
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        while (record->timer_type != TIMER_OFF) {
            if (std::chrono::steady_clock::now() > deadline) {
                is_late = true;
                // Nobody else can wake the sweep then, and it must end for the test to end.
                pthread_cond_signal(&runtime.timer_cond);
                return;
            }
            std::this_thread::yield();
        }
    }
}

void arm_with_threads(int count) {
    acted = 0;
    std::thread sweep(sweep_until_acted_on, count * ARMS);
    std::vector<std::thread> armers;
    for (int at = 0; at < count; ++at) {
        armers.emplace_back(arm_again_and_again, &records.at(static_cast<size_t>(at)));
    }
    for (std::thread& armer : armers) {
        armer.join();
    }
    sweep.join();
}

TEST(IntfTimer, loses_no_wake_up_over_100000_arms_and_clears_at_once) {
    // Alone, an arm is always the first one; with others it comes in between.
    for (int count = 1; count <= THREADS; ++count) {
        arm_with_threads(count);
        ASSERT_FALSE(is_late) << count
                              << " threads: a timeout was armed and nobody acted on it, after "
                              << acted;
        ASSERT_EQ(acted, count * ARMS);
        ASSERT_EQ(runtime.active_timer_count, 0);
    }
}

}  // namespace
