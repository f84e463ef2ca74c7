// The root's timers: what is armed in the kernel, and who runs when several are due.
//
// The table of the daemon is armed for real and read back. For the order of handlers the tests use
// tables of their own, armed in milliseconds through a timerfd_settime of this program.

#include "device/companion_ap.h"
#include "root/ap_list.h"
#include "root/root_loop.h"
#include "tests/harness/contract_record.h"
#include "tests/harness/refusal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>
#include <vector>

namespace {

enum class settime_mode { seconds, milliseconds, fail };
settime_mode mode = settime_mode::seconds;

timespec as_milliseconds(const timespec& value) {
    return {value.tv_sec / 1000, (value.tv_sec % 1000) * 1000000};
}

}  // namespace

extern "C" int timerfd_settime(int fd, int flags, const itimerspec* value,
                               itimerspec* old) noexcept {
    if (mode == settime_mode::fail) {
        errno = EINVAL;
        return -1;
    }
    itimerspec armed = *value;
    if (mode == settime_mode::milliseconds) {
        armed.it_value = as_milliseconds(value->it_value);
        armed.it_interval = as_milliseconds(value->it_interval);
    }
    return static_cast<int>(syscall(SYS_timerfd_settime, fd, flags, &armed, old));
}

namespace {

std::vector<std::string> ran;
std::vector<int> watched_by_slow_handler;

void run_a() {
    ran.emplace_back("a");
}
void run_b() {
    ran.emplace_back("b");
}
void run_c() {
    ran.emplace_back("c");
}

bool wait_readable(int fd) {
    pollfd entry{fd, POLLIN, 0};
    return poll(&entry, 1, 5000) == 1;
}

/// A handler that takes until another timer has become due.
void run_slow() {
    for (const int fd : watched_by_slow_handler) {
        ASSERT_TRUE(wait_readable(fd));
    }
    ran.emplace_back("slow");
}

class RootTimers : public testing::Test {
protected:
    void SetUp() override {
        mode = settime_mode::seconds;
        ran.clear();
        watched_by_slow_handler.clear();
    }
    void TearDown() override {
        for (const int fd : set_.fds) {
            if (fd > 0) {
                close(fd);
            }
        }
    }
    void open_table(std::span<const root_timer> table) {
        root_timers_open(table, set_);
    }
    void wait_all_due(size_t count) {
        for (size_t i = 0; i < count; ++i) {
            ASSERT_TRUE(wait_readable(set_.fds[i])) << "timer " << i;
        }
    }

    root_timer_set set_;
};

struct armed_row {
    long first;
    long period;
};

constexpr std::array<armed_row, 8> ARMED{{
    {10, 10},
    {60, 30},
    {5, 5},
    {120, 90},
    {60, 10},
    {120, 50},
    {130, 50},
    {140, 50},
}};

TEST_F(RootTimers, are_armed_with_the_first_expiry_and_the_period_of_each_duty) {
    open_table(root_timer_table());
    for (size_t i = 0; i < ARMED.size(); ++i) {
        itimerspec armed{};
        ASSERT_EQ(timerfd_gettime(set_.fds[i], &armed), 0) << "timer " << i + 1;
        EXPECT_EQ(armed.it_interval.tv_sec, ARMED[i].period) << "timer " << i + 1;
        EXPECT_EQ(armed.it_interval.tv_nsec, 0);
        // What is left of the first expiry, moments after it was armed.
        const long left = armed.it_value.tv_sec * 1000 + armed.it_value.tv_nsec / 1000000;
        EXPECT_LE(left, ARMED[i].first * 1000) << "timer " << i + 1;
        EXPECT_GT(left, ARMED[i].first * 1000 - 1000) << "timer " << i + 1;
    }
}

TEST_F(RootTimers, are_created_in_table_order_and_all_watched) {
    open_table(root_timer_table());
    for (size_t i = 0; i < set_.fds.size(); ++i) {
        ASSERT_GT(set_.fds[i], 0);
        EXPECT_TRUE(FD_ISSET(set_.fds[i], &set_.watched));
        if (i > 0) {
            EXPECT_GT(set_.fds[i], set_.fds[i - 1]);
        }
    }
    EXPECT_EQ(set_.max_fd, set_.fds[7]);
}

TEST_F(RootTimers, block_on_read_and_are_closed_in_the_tools_that_are_run) {
    open_table(root_timer_table());
    for (const int fd : set_.fds) {
        EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    }
}

TEST(RootTimerTable, names_the_list_first_and_the_approval_check_fifth) {
    EXPECT_EQ(root_timer_table()[0].handler, &backhaul_ap_list_sync);
    EXPECT_EQ(root_timer_table()[4].handler, &device_approval_list_check);
    for (const root_timer& timer : root_timer_table()) {
        EXPECT_NE(timer.handler, nullptr);
    }
}

TEST(RootTimerTable, never_lets_two_configuration_checks_fall_due_together) {
    for (long time = 0; time < 86400; ++time) {
        int due = 0;
        for (size_t i = 5; i < 8; ++i) {
            const long first = root_timer_table()[i].first;
            const long period = root_timer_table()[i].period;
            due += time >= first && (time - first) % period == 0 ? 1 : 0;
        }
        ASSERT_LE(due, 1) << "at " << time;
    }
}

TEST_F(RootTimers, run_in_table_order_when_they_are_due_together) {
    mode = settime_mode::milliseconds;
    // The later ones in the table fall due first.
    const std::array<root_timer, 3> table{{{30, 5000, run_a}, {20, 5000, run_b}, {1, 5000, run_c}}};
    open_table(table);
    wait_all_due(table.size());
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(RootTimers, run_only_when_they_are_due) {
    mode = settime_mode::milliseconds;
    const std::array<root_timer, 3> table{
        {{5000, 5000, run_a}, {1, 5000, run_b}, {5000, 5000, run_c}}};
    open_table(table);
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"b"}));
}

TEST_F(RootTimers, do_not_make_up_for_missed_expiries) {
    mode = settime_mode::milliseconds;
    const std::array<root_timer, 2> table{{{1, 1, run_a}, {25, 5000, run_b}}};
    open_table(table);
    wait_all_due(table.size());
    root_timers_step(table, set_);
    // The first fell due some 25 times until the second did.
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b"}));
}

TEST_F(RootTimers, are_read_so_that_one_expiry_runs_one_handler) {
    mode = settime_mode::milliseconds;
    const std::array<root_timer, 2> table{{{1, 0, run_a}, {400, 0, run_b}}};
    open_table(table);
    root_timers_step(table, set_);
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"a", "b"}));
}

TEST_F(RootTimers, wait_for_a_slow_handler_and_are_not_lost) {
    mode = settime_mode::milliseconds;
    const std::array<root_timer, 3> table{
        {{1, 5000, run_slow}, {300, 5000, run_b}, {200, 5000, run_c}}};
    open_table(table);
    watched_by_slow_handler = {set_.fds[1], set_.fds[2]};
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"slow"}));
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"slow", "b", "c"}));
}

TEST_F(RootTimers, print_why_when_the_wait_fails) {
    const std::array<root_timer, 1> table{{{5000, 5000, run_a}}};
    open_table(table);
    testing::internal::CaptureStdout();
    close(set_.fds[0]);
    root_timers_step(table, set_);
    root_timers_step(table, set_);
    EXPECT_EQ(harness::captured_stdout(),
              "select error: Bad file descriptor\nselect error: Bad file descriptor\n");
    EXPECT_TRUE(ran.empty());
    set_.fds[0] = -1;
}

TEST_F(RootTimers, close_the_descriptor_that_could_not_be_armed) {
    mode = settime_mode::fail;
    const int next = dup(0);
    close(next);
    testing::internal::CaptureStdout();
    EXPECT_EQ(backhaul_timerfd_create(1, 1), -1);
    EXPECT_EQ(harness::captured_stdout(), "timerfd_settime() failed\n");
    const int again = dup(0);
    close(again);
    EXPECT_EQ(again, next) << "a descriptor was left open";
}

TEST_F(RootTimers, say_so_when_there_is_no_descriptor_left) {
    testing::internal::CaptureStdout();
    {
        const harness::DescriptorsRefused refused;
        EXPECT_EQ(backhaul_timerfd_create(1, 1), -1);
    }
    EXPECT_EQ(harness::captured_stdout(), "timerfd_create() failed\n");
}

TEST_F(RootTimers, leave_out_the_one_that_got_descriptor_0_and_do_the_others) {
    mode = settime_mode::milliseconds;
    const std::array<root_timer, 2> table{{{1, 1, run_a}, {1, 1, run_b}}};
    const int input = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    ASSERT_GE(input, 3);
    close(STDIN_FILENO);
    open_table(table);
    EXPECT_EQ(set_.fds[0], 0);
    EXPECT_FALSE(FD_ISSET(0, &set_.watched));
    EXPECT_EQ(set_.max_fd, set_.fds[1]);
    wait_all_due(table.size());
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"b"}));
    dup2(input, STDIN_FILENO);
    close(input);
}

TEST_F(RootTimers, leave_out_the_one_that_could_not_be_made_and_do_the_others) {
    mode = settime_mode::fail;
    const std::array<root_timer, 2> table{{{1, 1, run_a}, {1, 1, run_b}}};
    testing::internal::CaptureStdout();
    open_table(table);
    harness::captured_stdout();
    EXPECT_EQ(set_.fds[0], -1);
    EXPECT_EQ(set_.fds[1], -1);
    EXPECT_EQ(set_.max_fd, 0);
    mode = settime_mode::milliseconds;
    set_.fds[1] = backhaul_timerfd_create(1, 1);
    FD_SET(set_.fds[1], &set_.watched);
    set_.max_fd = set_.fds[1];
    root_timers_step(table, set_);
    EXPECT_EQ(ran, (std::vector<std::string>{"b"}));
}

}  // namespace
