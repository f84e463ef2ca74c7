// One processor for a mesh: who is woken has run before who woke it goes on.
#include <gtest/gtest.h>
#include <sched.h>
#include <semaphore.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "lab/clock/processor_place.h"
#include "lab/sandbox/plain_priority.h"

namespace {

using lab::NodePriority;
using lab::PlainPriority;
using lab::ProcessorPlace;

constexpr int ROUNDS = 200;

class ProcessorPlaceTest : public testing::Test {
protected:
    void SetUp() override {
        place = ProcessorPlace::take();
        if (place == nullptr) {
            GTEST_SKIP() << "this machine allows no real-time scheduling to who runs the test";
        }
    }

    // Starts a thread as a node's program starts.
    template <typename Work>
    static std::thread node_start(const Work& work) {
        const NodePriority first;
        return std::thread(work);
    }

    std::unique_ptr<ProcessorPlace> place;
};

TEST_F(ProcessorPlaceTest, lets_all_that_one_call_wakes_come_to_rest_first) {
    std::array<sem_t, 2> calls{};
    for (sem_t& call : calls) {
        sem_init(&call, 0, 0);
    }
    std::atomic<int> first = 0;
    std::atomic<int> second = 0;
    std::thread one = node_start([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            sem_wait(&calls[0]);
            sem_post(&calls[1]);
            // The other one is ready now and waits for its turn.
            EXPECT_EQ(second, round);
            ++first;
        }
    });
    std::thread other = node_start([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            sem_wait(&calls[1]);
            ++second;
        }
    });
    for (int round = 0; round < ROUNDS; ++round) {
        sem_post(&calls[0]);
        EXPECT_EQ(first, round + 1);
        EXPECT_EQ(second, round + 1);
    }
    one.join();
    other.join();
}

TEST_F(ProcessorPlaceTest, frees_an_owner_whom_a_node_that_never_rests_keeps_from_running) {
    std::atomic<bool> over = false;
    place->begin(std::chrono::milliseconds(100));
    std::thread spins = node_start([&] {
        while (!over.load(std::memory_order_relaxed)) {
        }
    });
    // Only the watch has brought us here.
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
    over = true;
    spins.join();
    place->end();
}

TEST_F(ProcessorPlaceTest, gives_the_caller_back_what_it_had) {
    cpu_set_t bound;
    cpu_set_t free;
    EXPECT_EQ(sched_getscheduler(0), SCHED_RR);
    sched_getaffinity(0, sizeof bound, &bound);
    EXPECT_EQ(CPU_COUNT(&bound), 1);
    place.reset();
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
    sched_getaffinity(0, sizeof free, &free);
    EXPECT_EQ(CPU_COUNT(&free) > 1, std::thread::hardware_concurrency() > 1);
}

// A file that only a lock of the kernel opens is tried again and again: at a node's priority for
// ever.
TEST_F(ProcessorPlaceTest, lets_a_node_be_plain_for_a_moment) {
    std::thread node = node_start([] {
        sched_param own{};
        EXPECT_EQ(sched_getscheduler(0), SCHED_FIFO);
        {
            const PlainPriority patient;
            EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
        }
        EXPECT_EQ(sched_getscheduler(0), SCHED_FIFO);
        sched_getparam(0, &own);
        EXPECT_EQ(own.sched_priority, 2);
    });
    node.join();
}

TEST(PlainPriority, is_nothing_for_who_is_plain_already) {
    {
        const PlainPriority same;
        EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
    }
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

TEST(NodePriority, is_nothing_without_a_place) {
    const NodePriority first;
    EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
}

TEST(ProcessorPlace, is_not_taken_by_who_has_one_already) {
    const auto place = ProcessorPlace::take();
    EXPECT_EQ(ProcessorPlace::take(), nullptr);
}

}  // namespace
