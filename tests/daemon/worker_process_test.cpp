// The start of a worker: role, waiting for the database, threads, and the ways in which it ends.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "lab/tools/answer.h"
#include "tests/harness/story.h"

namespace {

using harness::Lines;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char START[] = "<-- backhaul_monitor start -->";
constexpr char ROLE[] = "/tmp/backhaul_mode_change";
constexpr char DATABASE[] = "/tmp/netprobe.db";
constexpr char PROFILE[] = "/tmp/wifi_if_profile";

class WorkerStart : public harness::Story {
protected:
    /// What the workers printed so far.
    std::string out() {
        settle();
        return router().file(lab::DAEMON_OUT);
    }

    long count_out(const std::string& line) {
        const std::string text = out();
        long count = 0;
        for (size_t at = text.find(line + "\n"); at != std::string::npos;
             at = text.find(line + "\n", at + 1)) {
            ++count;
        }
        return count;
    }

    // Threads of the worker itself. The thread sanitizer has one of its own in every process, and
    // another one in a process that was forked and then starts threads.
    size_t thread_count() {
        settle();
        const size_t all = router().daemon().worker_threads().size();
#if defined(__SANITIZE_THREAD__)
        return all - (all > 2 ? 2 : 1);
#else
        return all;
#endif
    }

    void move_file(const std::string& from, const std::string& to) {
        ASSERT_EQ(rename(router().node().at(from).c_str(), router().node().at(to).c_str()), 0);
    }
};

TEST_F(WorkerStart, is_an_extender_that_prints_slave_after_the_slave_start) {
    start_extender();
    EXPECT_EQ(thread_count(), 3U) << "main, sockets, announcement";
    advance(9);
    EXPECT_EQ(count_out("Slave"), 0);
    advance(1);
    EXPECT_EQ(count_out("Slave"), 1);
    EXPECT_EQ(count_out("Master"), 0);
    EXPECT_EQ(thread_count(), 3U) << "the timer loop runs on the main thread";
    EXPECT_EQ(router().file(lab::DAEMON_ERR), "");
}

TEST_F(WorkerStart, is_a_root_with_option_m_that_prints_master_after_its_first_settings) {
    add_root();
    lab::answer_hold(router().root(), "uci", "settings");
    router().start({"-m"});
    EXPECT_EQ(count_out("Master"), 0);
    lab::gate_open(router().root(), "settings");
    EXPECT_EQ(count_out("Master"), 1);
    EXPECT_EQ(thread_count(), 3U) << "main, sockets, timer";
    EXPECT_EQ(count_out("Slave"), 0);
}

TEST_F(WorkerStart, is_a_root_without_option_m_when_the_role_file_says_master) {
    add_extender().put_file(ROLE, "master\n");
    router().start();
    EXPECT_EQ(count_out("Master"), 1);
    expect_file(ROLE, "master\n");
}

TEST_F(WorkerStart, is_an_extender_with_option_m_when_the_role_file_says_slave) {
    add_extender().put_file(ROLE, "slave");
    router().start({"-m"});
    advance(10);
    EXPECT_EQ(count_out("Slave"), 1);
    EXPECT_EQ(count_out("Master"), 0);
}

TEST_F(WorkerStart, keeps_the_role_of_the_command_line_for_any_other_word) {
    add_extender().put_file(ROLE, "Master\n");
    router().start();
    advance(10);
    EXPECT_EQ(count_out("Slave"), 1);
    expect_file(ROLE, "Master\n");
}

TEST_F(WorkerStart, changes_the_role_by_command_for_all_later_workers) {
    start_extender();
    advance(10);
    skip();
    router().command("master\n");
    expect_out({"backhaul_fifo_recv : mode change to master"});
    expect_file(ROLE, "master\n");
    expect_log({"normal termination : 1"});
    expect_no_file("/var/log/backhaul_flow_log.crash");
    advance(1);
    expect_out_of_both({"Wait pid", "Master"});
    skip();
    router().kill_worker(10);
    advance(1);
    expect_out_of_both({"Wait pid", "Master"});

    skip();
    router().command("slave\n");
    expect_out({"backhaul_fifo_recv : mode change to slave"});
    expect_file(ROLE, "slave\n");
    expect_log({"normal termination : 1"});
    advance(11);
    expect_out({"Wait pid", "Slave"});
}

TEST_F(WorkerStart, says_five_times_that_a_database_is_not_ready_which_comes_after_5_seconds) {
    constexpr char NOT_READY[] = "backhaul_monitor : Database not ready yet, try again";
    add_extender();
    move_file(DATABASE, "/tmp/later.db");
    router().start();
    EXPECT_EQ(count_out(NOT_READY), 1) << "the first try comes without a pause";
    advance(4);
    EXPECT_EQ(count_out(NOT_READY), 5);
    EXPECT_EQ(thread_count(), 1U) << "no socket thread yet";
    expect_no_file(DATABASE);
    move_file("/tmp/later.db", DATABASE);
    advance(1);
    EXPECT_EQ(count_out(NOT_READY), 5);
    EXPECT_EQ(thread_count(), 3U);
}

TEST_F(WorkerStart, waits_for_the_database_without_limit) {
    add_extender();
    move_file(DATABASE, "/tmp/never.db");
    router().start();
    advance(600);
    EXPECT_EQ(count_out("backhaul_monitor : Database not ready yet, try again"), 601);
    expect_log({START});
}

TEST_F(WorkerStart, ends_when_there_is_no_interface_profile_and_is_tried_again_every_second) {
    add_extender().remove_file(PROFILE);
    router().start();
    EXPECT_EQ(count_out("Init WiFi interface table fail"), 1);
    expect_log({START, "normal termination : 1"});
    advance(3);
    EXPECT_EQ(count_out("Init WiFi interface table fail"), 4);
    expect_log({START, "normal termination : 1", START, "normal termination : 1", START,
                "normal termination : 1"});
    expect_no_file("/var/log/backhaul_flow_log.crash");
}

TEST_F(WorkerStart, takes_a_changed_profile_up_with_the_next_worker_only) {
    start_extender();
    router().put_file(PROFILE, "");
    advance(20);
    EXPECT_NE(router().daemon().worker(), 0);
    EXPECT_EQ(count_out("Init WiFi interface table fail"), 0);
    router().kill_worker(10);
    advance(1);
    EXPECT_EQ(count_out("Init WiFi interface table fail"), 1);
}

TEST_F(WorkerStart, ignores_unknown_options_and_the_text_of_b) {
    add_extender().start({"-z", "-b", "eth9", "-b", "eth8", "-p"});
    advance(10);
    EXPECT_EQ(count_out("Slave"), 1);
    expect_err({"/run/lab/backhaul_monitor: invalid option -- 'z'",
                "/run/lab/backhaul_monitor: option requires an argument -- 'p'"});
}

}  // namespace
