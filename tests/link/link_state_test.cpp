// Changing states, arming timeouts and the status file, in a sandbox.

#include "link/link_state.h"

#include "intf/intf_timer.h"
#include "link/backhaul_status.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

namespace {

using testing::ElementsAreArray;

class LinkState : public LinkTest {};

TEST_F(LinkState, logs_a_dropped_request_and_leaves_state_and_timer_alone) {
    backhaul_intf_state_change(ath0, CONNECT_WITH_BACKHAUL_AP);
    expect_journal({{"backhaul_intf_state_change : change ath0 state from 0 to 4"}});
    EXPECT_EQ(ath0->state, INIT);
    EXPECT_EQ(ath0->timer_type, 0);
    EXPECT_EQ(ath0->timer_start, 0U);
    EXPECT_EQ(runtime.active_timer_count, 0);
}

TEST_F(LinkState, restarts_the_timeout_when_init_is_requested_in_init) {
    enter(ath0, INIT);
    harness::clock_advance(4);
    backhaul_intf_state_change(ath0, INIT);
    EXPECT_EQ(ath0->state, INIT);
    EXPECT_EQ(ath0->timer_start, START_TIME + 4);
    EXPECT_EQ(runtime.active_timer_count, 1);
}

TEST_F(LinkState, clears_the_timeout_of_a_ready_station_that_is_parked) {
    enter(ath0, BACKHAUL_READY);
    enter(ath1, CONNECTING_BACKHAUL_AP);
    ASSERT_EQ(runtime.active_timer_count, 2);
    backhaul_intf_state_change(ath0, CONNECT_PENDING);
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
    EXPECT_EQ(ath0->timer_type, 0);
    EXPECT_EQ(ath0->timer_start, 0U);
    EXPECT_EQ(runtime.active_timer_count, 1);
}

/// The whole table once more, through the function that applies it.
TEST_F(LinkState, applies_the_table_to_every_pair) {
    for (int32_t from = 0; from < LINK_STATE_COUNT; ++from) {
        for (int32_t to = 0; to < LINK_STATE_COUNT; ++to) {
            enter(ath0, from);
            harness::clock_advance(1);
            backhaul_intf_state_change(ath0, static_cast<link_state>(to));
            EXPECT_THAT(journal_take(), ElementsAreArray(change("ath0", from, to)));
            const link_transition* const row =
                link_transition_find(static_cast<link_state>(from), static_cast<link_state>(to));
            const bool armed = row == nullptr || row->timer == TIMER_ON;
            EXPECT_EQ(ath0->state, row == nullptr ? from : to);
            EXPECT_EQ(ath0->timer_type, armed ? 1 : 0);
            const uint32_t start = row == nullptr ? harness::clock_now() - 1
                                   : armed        ? harness::clock_now()
                                                  : 0;
            EXPECT_EQ(ath0->timer_start, start) << from << " to " << to;
            intf_timer_set(ath0, TIMER_OFF);
            EXPECT_EQ(runtime.active_timer_count, 0);
        }
    }
    EXPECT_FALSE(harness::file_is_there("/tmp/backhaul_status")) << "only callers write it";
}

TEST_F(LinkState, counts_each_record_once_however_often_it_is_armed_or_cleared) {
    intf_timer_set(ath0, TIMER_ON);
    intf_timer_set(ath0, TIMER_ON);
    EXPECT_EQ(runtime.active_timer_count, 1);
    intf_timer_set(ath1, TIMER_ON);
    EXPECT_EQ(ath1->timer_type, TIMER_ON);
    EXPECT_EQ(runtime.active_timer_count, 2);
    intf_timer_set(ath0, TIMER_OFF);
    intf_timer_set(ath0, TIMER_OFF);
    EXPECT_EQ(runtime.active_timer_count, 1);
    intf_timer_set(ath1, TIMER_OFF);
    EXPECT_EQ(runtime.active_timer_count, 0);
}

/// A thread in intf_timer_wait, and how often it has come back.
class Waiter {
public:
    Waiter() : thread_([this] { run(); }) {}
    ~Waiter() {
        stop_ = true;
        stop_.notify_all();
        release();
        thread_.join();
        runtime.active_timer_count = 0;
    }
    int wakes() const {
        return wakes_;
    }

private:
    void run() {
        while (!stop_) {
            intf_timer_wait();
            ++wakes_;
            stop_.wait(false);
        }
    }
    static void release() {
        pthread_mutex_lock(&runtime.timer_mutex);
        runtime.active_timer_count = 1;
        pthread_cond_broadcast(&runtime.timer_cond);
        pthread_mutex_unlock(&runtime.timer_mutex);
    }
    std::atomic<bool> stop_{false};
    std::atomic<int> wakes_{0};
    std::thread thread_;
};

TEST_F(LinkState, wakes_the_timer_thread_with_the_first_timeout) {
    Waiter waiter;
    harness::clock_settle();
    EXPECT_EQ(waiter.wakes(), 0);
    intf_timer_set(ath0, TIMER_ON);
    EXPECT_TRUE(harness::wait_until([&] { return waiter.wakes() == 1; })) << waiter.wakes();
}

TEST_F(LinkState, does_not_wait_while_the_count_of_timeouts_is_negative) {
    runtime.active_timer_count = -1;
    const Waiter waiter;
    EXPECT_TRUE(harness::wait_until([&] { return waiter.wakes() == 1; })) << waiter.wakes();
}

/// A thread that waits for the signal itself, whatever the count is.
class SignalCounter {
public:
    SignalCounter() : thread_([this] { run(); }) {}
    ~SignalCounter() {
        pthread_mutex_lock(&runtime.timer_mutex);
        stop_ = true;
        pthread_cond_signal(&runtime.timer_cond);
        pthread_mutex_unlock(&runtime.timer_mutex);
        thread_.join();
    }
    /// Signals so far, once every one of them has been taken.
    int signals() const {
        harness::clock_settle();
        return signals_;
    }

private:
    void run() {
        pthread_mutex_lock(&runtime.timer_mutex);
        while (!stop_) {
            pthread_cond_wait(&runtime.timer_cond, &runtime.timer_mutex);
            ++signals_;
        }
        pthread_mutex_unlock(&runtime.timer_mutex);
    }
    std::atomic<bool> stop_{false};
    std::atomic<int> signals_{0};
    std::thread thread_;
};

TEST_F(LinkState, signals_only_when_exactly_one_timeout_is_pending_afterwards) {
    const SignalCounter counter;
    EXPECT_EQ(counter.signals(), 0);
    intf_timer_set(ath0, TIMER_ON);
    EXPECT_EQ(counter.signals(), 1);
    intf_timer_set(ath1, TIMER_ON);
    EXPECT_EQ(counter.signals(), 1) << "the thread runs already";
    intf_timer_set(eth, TIMER_ON);
    intf_timer_set(eth, TIMER_OFF);
    EXPECT_EQ(counter.signals(), 1);
    intf_timer_set(ath1, TIMER_OFF);
    EXPECT_EQ(counter.signals(), 2) << "also when the count falls to one";
    intf_timer_set(ath0, TIMER_OFF);
    EXPECT_EQ(counter.signals(), 2);
}

TEST_F(LinkState, never_loses_the_wake_up_when_two_threads_arm_at_once) {
    for (int round = 0; round < 200; ++round) {
        Waiter waiter;
        std::thread one([&] { intf_timer_set(ath0, TIMER_ON); });
        std::thread two([&] { intf_timer_set(ath1, TIMER_ON); });
        one.join();
        two.join();
        EXPECT_EQ(runtime.active_timer_count, 2);
        ASSERT_TRUE(harness::wait_until([&] { return waiter.wakes() >= 1; })) << round;
        intf_timer_set(ath0, TIMER_OFF);
        intf_timer_set(ath1, TIMER_OFF);
    }
}

TEST_F(LinkState, writes_exactly_one_of_three_texts_to_the_status_file) {
    backhaul_status_write(backhaul_status::connected);
    EXPECT_EQ(status_file(), "connected\n");
    backhaul_status_write(backhaul_status::not_ready);
    EXPECT_EQ(status_file(), "not ready\n");
    backhaul_status_write(backhaul_status::ready);
    EXPECT_EQ(status_file(), "ready\n");
    expect_journal({});
}

TEST_F(LinkState, logs_a_line_without_a_function_name_when_the_status_file_cannot_be_opened) {
    ASSERT_EQ(mkdir("/tmp/backhaul_status", 0755), 0);
    backhaul_status_write(backhaul_status::ready);
    expect_journal({{"can't open /tmp/backhaul_status"}});
}

}  // namespace
