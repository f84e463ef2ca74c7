// The moved clock: exact to the second, and the same in every run.
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <mutex>
#include <thread>

#include "lab/clock/quiet.h"
#include "lab/sandbox/layout.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/sandbox.h"
#include "tests/harness/wait.h"

namespace {

using harness::clock_advance;
using harness::clock_now;
using harness::clock_settle;
using harness::clock_start;
using harness::put_file;

constexpr std::uint32_t START = 1'700'000'000;

class MovedClock : public harness::SandboxTest {};

std::uint64_t read_count(int fd) {
    std::uint64_t count = 0;
    EXPECT_EQ(read(fd, &count, sizeof(count)), 8);
    return count;
}

int armed_timer(long first, long period) {
    const int fd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC);
    const itimerspec value{{period, 0}, {first, 0}};
    EXPECT_EQ(timerfd_settime(fd, 0, &value, nullptr), 0);
    return fd;
}

TEST_F(MovedClock, is_the_real_time_until_it_is_started) {
    timespec real{};
    clock_gettime(CLOCK_REALTIME, &real);
    EXPECT_NEAR(static_cast<double>(time(nullptr)), static_cast<double>(real.tv_sec), 2.0);
}

TEST_F(MovedClock, shows_whole_seconds_everywhere_and_stands_still) {
    clock_start(START, lab::CLOCK_HELD);
    timeval now{};
    gettimeofday(&now, nullptr);
    EXPECT_EQ(time(nullptr), 1'700'000'000);
    EXPECT_EQ(now.tv_sec, 1'700'000'000);
    EXPECT_EQ(now.tv_usec, 0);
    clock_advance(1);
    EXPECT_EQ(time(nullptr), 1'700'000'001);
}

TEST_F(MovedClock, moves_by_itself_with_each_sleep_when_eager) {
    clock_start(START, lab::CLOCK_EAGER);
    EXPECT_EQ(sleep(10), 0U);
    EXPECT_EQ(sleep(2), 0U);
    EXPECT_EQ(time(nullptr), 1'700'000'012);
}

TEST_F(MovedClock, wakes_a_sleeper_in_its_second_and_not_before) {
    clock_start(START, lab::CLOCK_HELD);
    std::atomic<std::uint32_t> woke{0};
    std::thread sleeper([&woke] {
        sleep(181);
        woke = static_cast<std::uint32_t>(time(nullptr));
    });
    clock_advance(180);
    EXPECT_EQ(woke.load(), 0U);
    clock_advance(1);
    EXPECT_EQ(woke.load(), START + 181);
    sleeper.join();
}

TEST_F(MovedClock, wakes_sleepers_of_one_second_in_the_order_in_which_they_lay_down) {
    clock_start(START, lab::CLOCK_HELD);
    std::mutex guard;
    std::string order;
    std::vector<std::thread> sleepers;
    const auto lie_down = [&](char name, unsigned seconds) {
        sleepers.emplace_back([&order, &guard, name, seconds] {
            sleep(seconds);
            const std::lock_guard<std::mutex> held(guard);
            order += name;
        });
        clock_settle();
    };
    lie_down('x', 1);
    lie_down('a', 5);
    lie_down('b', 5);
    clock_advance(1);
    lie_down('c', 4);  // in the place that x has left
    lie_down('d', 4);
    clock_advance(4);
    for (std::thread& one : sleepers) {
        one.join();
    }
    EXPECT_EQ(order, "xabcd");
}

TEST_F(MovedClock, counts_every_second_of_a_loop_that_sleeps_one_second) {
    clock_start(START, lab::CLOCK_HELD);
    std::atomic<bool> stop{false};
    std::atomic<int> rounds{0};
    std::thread loop([&] {
        while (!stop) {
            ++rounds;
            sleep(1);
        }
    });
    const auto before = std::chrono::steady_clock::now();
    clock_advance(2400);
    const auto took = std::chrono::steady_clock::now() - before;
    EXPECT_EQ(rounds.load(), 2401);
    EXPECT_LT(std::chrono::duration_cast<std::chrono::milliseconds>(took).count(), 5000);
    RecordProperty(
        "microseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::microseconds>(took).count()));
    stop = true;
    clock_advance(1);
    loop.join();
}

TEST_F(MovedClock, waits_for_a_child_process_that_works_before_the_next_second) {
    clock_start(START, lab::CLOCK_HELD);
    std::vector<std::string> lines;
    std::thread worker([&lines] {
        for (int round = 0; round < 3; ++round) {
            EXPECT_EQ(system("x=0; while [ $x -lt 2000 ]; do x=$((x+1)); done; echo $x > /tmp/x"),
                      0);
            lines.push_back(std::to_string(time(nullptr)) + " " + harness::file_text("/tmp/x"));
            sleep(1);
        }
    });
    clock_advance(5);
    worker.join();
    EXPECT_EQ(lines, (std::vector<std::string>{"1700000000 2000\n", "1700000001 2000\n",
                                               "1700000002 2000\n"}));
}

TEST_F(MovedClock, never_misses_a_chain_of_processes_that_start_one_another) {
    clock_start(START, lab::CLOCK_HELD);
    for (int round = 0; round < 200; ++round) {
        put_file("/tmp/end", "");
        std::thread worker([] {
            EXPECT_EQ(system("true | (true; (sh -c 'true; sh -c \"echo end > /tmp/end\"')) &"), 0);
        });
        worker.join();
        clock_settle();
        ASSERT_EQ(harness::file_text("/tmp/end"), "end\n") << "in round " << round;
    }
}

TEST_F(MovedClock, fails_with_the_name_of_the_thread_that_never_rests) {
    clock_start(START, lab::CLOCK_HELD);
    lab::MovedClock impatient;
    std::string error;
    ASSERT_TRUE(impatient.add_node("", error, {getpid()}));
    impatient.patience = std::chrono::milliseconds(100);
    std::atomic<bool> stop{false};
    std::thread busy([&stop] {
        pthread_setname_np(pthread_self(), "never_rests");
        while (!stop) {
        }
    });
    EXPECT_FALSE(impatient.advance(1, error));
    stop = true;
    busy.join();
    EXPECT_NE(error.find("not quiet after 100 ms"), std::string::npos) << error;
    EXPECT_NE(error.find("never_rests R"), std::string::npos) << error;
}

TEST_F(MovedClock, passes_seconds_for_those_who_wait_though_somebody_never_rests) {
    clock_start(START, lab::CLOCK_HELD);
    std::atomic<bool> stop{false};
    std::atomic<std::uint32_t> woke{0};
    std::thread busy([&stop] {
        while (!stop) {
        }
    });
    std::thread sleeper([&woke] {
        sleep(2);
        woke = static_cast<std::uint32_t>(time(nullptr));
    });
    const int timer = armed_timer(2, 1);
    lab::MovedClock clock;
    std::string error;
    ASSERT_TRUE(clock.add_node("", error, {getpid()}));
    ASSERT_TRUE(harness::wait_until([&clock] { return !clock.sleepers().empty(); }));
    clock.pass_second();
    EXPECT_EQ(time(nullptr), START + 1);
    EXPECT_EQ(clock.sleepers().size(), 1U);
    clock.pass_second();
    sleeper.join();
    EXPECT_EQ(woke, START + 2);
    EXPECT_EQ(read_count(timer), 1U);
    clock.pass_second();
    clock.pass_second();
    EXPECT_EQ(read_count(timer), 2U);
    stop = true;
    busy.join();
    close(timer);
}

TEST(PacketsUnderWay, are_those_that_any_processor_has_still_to_deliver) {
    const std::string idle =
        "0002d991 00000007 00000001 00000000 00000000 00000000 00000000 00000000 00000000 "
        "00000002 00000003 00000000 00000001 00000000 00000000\n";
    std::string busy = idle;
    busy[11 * 9 + 7] = '1';
    EXPECT_FALSE(lab::packets_under_way(idle + idle));
    EXPECT_TRUE(lab::packets_under_way(idle + busy));
    EXPECT_FALSE(lab::packets_under_way("0002d991 00000007 00000001\n")) << "an older kernel";
    EXPECT_FALSE(lab::packets_under_way(""));
}

TEST(HasLeftItsProcessor, is_said_by_the_kernel_of_who_waits_and_of_who_has_ended) {
    EXPECT_TRUE(lab::has_left_its_processor("230 0x0 0x0 0x7ffe72912080 0x7ffe729120c0 0x0\n"));
    EXPECT_TRUE(lab::has_left_its_processor("-1 0x0 0x0\n")) << "ended, and its parent was woken";
    EXPECT_FALSE(lab::has_left_its_processor("running\n"));
    EXPECT_TRUE(lab::has_left_its_processor("")) << "gone";
}

TEST_F(MovedClock, takes_a_process_that_nobody_has_buried_for_one_at_rest) {
    clock_start(START, lab::CLOCK_HELD);
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    clock_advance(1);
    siginfo_t ended{};
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT), 0);
    EXPECT_EQ(ended.si_pid, child) << "it ended before the clock was at rest";
    waitpid(child, nullptr, 0);
}

TEST_F(MovedClock, forgets_a_sleeper_whose_process_was_killed) {
    clock_start(START, lab::CLOCK_HELD);
    {
        const harness::Child child([] { sleep(100); });
        clock_settle();
    }
    clock_advance(200);
    EXPECT_EQ(clock_now(), START + 200);
}

TEST_F(MovedClock, expires_a_timer_first_and_then_every_period) {
    clock_start(START, lab::CLOCK_HELD);
    const int fd = armed_timer(10, 30);
    clock_advance(10);
    EXPECT_EQ(read_count(fd), 1U);
    clock_advance(29);
    EXPECT_EQ(harness::clock_timers()[0].due, START + 40);
    clock_advance(1);
    EXPECT_EQ(read_count(fd), 1U);
    close(fd);
}

TEST_F(MovedClock, adds_up_expiries_that_nobody_has_read) {
    clock_start(START, lab::CLOCK_HELD);
    const int fd = armed_timer(5, 5);
    clock_advance(17);
    EXPECT_EQ(read_count(fd), 3U);
    close(fd);
}

TEST_F(MovedClock, shows_what_each_timer_was_armed_with_in_the_order_of_creation) {
    clock_start(START, lab::CLOCK_HELD);
    const int one = armed_timer(10, 10);
    const int two = armed_timer(120, 50);
    const std::vector<lab::ArmedTimer> timers = harness::clock_timers();
    ASSERT_EQ(timers.size(), 2U);
    EXPECT_EQ(timers[0].first, 10U);
    EXPECT_EQ(timers[0].fd, one);
    EXPECT_EQ(timers[1].first, 120U);
    EXPECT_EQ(timers[1].period, 50U);
    EXPECT_EQ(timers[1].due, START + 120);
    itimerspec rest{};
    EXPECT_EQ(timerfd_gettime(two, &rest), 0);
    EXPECT_EQ(rest.it_value.tv_sec, 120);
    EXPECT_EQ(rest.it_interval.tv_sec, 50);
    close(one);
    close(two);
}

TEST_F(MovedClock, makes_all_timers_of_one_second_readable_in_the_same_wake_up) {
    clock_start(START, lab::CLOCK_HELD);
    const std::array<int, 3> fds = {armed_timer(60, 30), armed_timer(60, 10), armed_timer(60, 60)};
    int ready = 0;
    std::thread waiter([&] {
        fd_set set;
        FD_ZERO(&set);
        for (const int fd : fds) {
            FD_SET(fd, &set);
        }
        ready = select(fds[2] + 1, &set, nullptr, nullptr, nullptr);
    });
    clock_advance(60);
    waiter.join();
    EXPECT_EQ(ready, 3);
    for (const int fd : fds) {
        close(fd);
    }
}

TEST_F(MovedClock, forgets_a_timer_that_was_closed) {
    clock_start(START, lab::CLOCK_HELD);
    close(armed_timer(5, 5));
    clock_advance(5);
    EXPECT_TRUE(harness::clock_timers().empty());
}

TEST_F(MovedClock, leaves_select_with_a_limit_in_real_time) {
    clock_start(START, lab::CLOCK_HELD);
    timeval limit{0, 1000};
    EXPECT_EQ(select(0, nullptr, nullptr, nullptr, &limit), 0);
    EXPECT_EQ(clock_now(), START);
}

struct ChannelRequest {
    char name[16];
    void* data;
    std::uint16_t length;
    std::uint16_t flags;
};

int ask_channels(std::array<char, 20464>& list, std::uint16_t length) {
    ChannelRequest request{};
    strcpy(request.name, "ath20");
    request.data = list.data();
    request.length = length;
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int result = ioctl(fd, 0x8BE7, &request);
    const int reason = errno;
    close(fd);
    errno = reason;
    return result;
}

std::uint32_t number_at(const std::array<char, 20464>& list, size_t at, size_t size) {
    std::uint32_t value = 0;
    memcpy(&value, list.data() + at, size);
    return value;
}

TEST_F(MovedClock, answers_the_channel_list_request_from_a_text_file) {
    harness::put_file(lab::LAB_CHANNELS, "5180 5260\n5500\n");
    std::array<char, 20464> list{};
    EXPECT_EQ(ask_channels(list, 20464), 0);
    EXPECT_EQ(number_at(list, 0, 4), 3U);
    EXPECT_EQ(number_at(list, 4, 2), 5180U);
    EXPECT_EQ(number_at(list, 24, 2), 5260U);
    EXPECT_EQ(number_at(list, 44, 2), 5500U);
    EXPECT_EQ(harness::recorded_ioctls(), std::vector<std::string>{"ath20 20464 0"});
}

TEST_F(MovedClock, copies_a_raw_channel_list_byte_for_byte) {
    harness::put_file(lab::LAB_CHANNELS_RAW, std::string("\xff\xff\x00\x00\x3c\x14", 6));
    std::array<char, 20464> list{};
    EXPECT_EQ(ask_channels(list, 20464), 0);
    EXPECT_EQ(number_at(list, 0, 4), 65535U);
    EXPECT_EQ(number_at(list, 4, 2), 5180U);
}

TEST_F(MovedClock, refuses_the_channel_list_without_a_file_or_with_another_length) {
    std::array<char, 20464> list{};
    EXPECT_EQ(ask_channels(list, 20464), -1);
    EXPECT_EQ(errno, EOPNOTSUPP);
    harness::put_file(lab::LAB_CHANNELS, "5180");
    EXPECT_EQ(ask_channels(list, 20460), -1);
    EXPECT_EQ(errno, EINVAL);
}

struct AddressRequest {
    char name[16];
    std::uint16_t family;
    std::array<std::uint8_t, 6> address;
    std::uint64_t rest;
};

std::string ap_of_ath0() {
    AddressRequest request{};
    strcpy(request.name, "ath0");
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const int result = ioctl(fd, 0x8B15, &request);
    const int reason = errno;
    close(fd);
    std::string text;
    for (const std::uint8_t byte : request.address) {
        text += std::to_string(byte) + " ";
    }
    return result == 0 ? text : strerror(reason);
}

TEST_F(MovedClock, tells_the_ap_of_a_station_as_the_tools_do) {
    EXPECT_EQ(ap_of_ath0(), "0 0 0 0 0 0 ");
    ASSERT_TRUE(lab::wifi_associated_set("", "ath0", "02:9A:bc:00:0f:F1"));
    EXPECT_EQ(ap_of_ath0(), "2 154 188 0 15 241 ");
    ASSERT_TRUE(lab::wifi_missing_set("", "ath0"));
    EXPECT_EQ(ap_of_ath0(), "No such device");
}

TEST_F(MovedClock, leaves_other_requests_to_the_kernel) {
    ifreq wanted{};
    strcpy(wanted.ifr_name, "br-lan");
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(ioctl(fd, SIOCGIFINDEX, &wanted), 0);
    EXPECT_EQ(static_cast<unsigned>(wanted.ifr_ifindex), if_nametoindex("br-lan"));
    close(fd);
}

}  // namespace
