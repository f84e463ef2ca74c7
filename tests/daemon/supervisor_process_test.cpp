// The real daemon is killed and restarted: what its supervisor logs, keeps and leaves behind.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <string>
#include <vector>

#include "lab/node/processes.h"
#include "lab/tools/record.h"
#include "tests/harness/story.h"

namespace {

using harness::Lines;
using testing::IsEmpty;
using testing::Not;

constexpr char START[] = "<-- backhaul_monitor start -->";
constexpr char CRASH[] = "/var/log/backhaul_flow_log.crash";
constexpr char LIVE[] = "/var/log/backhaul_flow_log";

class Restart : public harness::Story {
protected:
    /// Starts an extender whose worker dies of a segmentation fault as it would without sanitizers,
    /// which otherwise turn it into a report and an exit.
    void start_extender_that_can_crash() {
        const std::string log = "log_path=/run/lab/out/sanitizer";
        add_extender().start(
            {}, {"ASAN_OPTIONS=handle_segv=0:" + log, "TSAN_OPTIONS=handle_segv=0:" + log});
        skip();
    }

    /// The lines of a log file of the router, without dates.
    Lines log_file(const std::string& path) {
        Lines lines;
        const std::string text = router().file(path);
        for (size_t at = 0; at < text.size();) {
            const size_t end = text.find('\n', at);
            std::string line;
            std::int64_t time = 0;
            EXPECT_TRUE(lab::log_line_split(text.substr(at, end - at), time, line));
            lines.push_back(line);
            at = end + 1;
        }
        return lines;
    }

    static size_t descriptor_count(pid_t pid) {
        return lab::descriptors_of(pid).size();
    }
};

TEST_F(Restart, is_quiet_and_takes_a_second_after_signal_10) {
    start_extender();
    expect_log({START, "..."});
    router().kill_worker(10);
    EXPECT_EQ(router().daemon().worker(), 0);
    expect_log({});
    expect_no_file(CRASH);
    advance(1);
    EXPECT_NE(router().daemon().worker(), 0);
    expect_log({START, "..."});
    EXPECT_EQ(router().time_of_log(START), now());
    expect_no_file(CRASH);
}

TEST_F(Restart, keeps_the_flow_log_of_a_worker_that_was_killed) {
    start_extender();
    expect_log({START, "..."});
    router().kill_worker(SIGKILL);
    expect_log({"abnormal termination : 9"});
    expect_no_file(LIVE);
    const Lines crash = log_file(CRASH);
    EXPECT_EQ(crash.front(), START);
    EXPECT_EQ(crash.back(), "abnormal termination : 9");
    EXPECT_EQ(router().daemon().worker(), 0);
    advance(1);
    EXPECT_EQ(log_file(LIVE).front(), START);
    EXPECT_NE(router().daemon().worker(), 0);
}

TEST_F(Restart, keeps_the_flow_log_of_a_worker_that_crashed_and_replaces_an_older_one) {
    start_extender_that_can_crash();
    router().kill_worker(SIGSEGV);
    EXPECT_EQ(log_file(CRASH).back(), "abnormal termination : 11");
    advance(1);
    router().kill_worker(SIGTERM);
    const Lines crash = log_file(CRASH);
    EXPECT_EQ(crash.front(), START);
    EXPECT_EQ(crash.back(), "abnormal termination : 15");
    EXPECT_EQ(std::count(crash.begin(), crash.end(), START), 1);
}

TEST_F(Restart, comes_a_second_after_each_exit_for_ever_when_the_port_is_taken) {
    start_extender();
    skip();
    // The first daemon of the router has port 36003: the workers of a second one exit with 1.
    lab::Daemon second(router().node());
    std::string error;
    ASSERT_TRUE(second.start({}, error)) << error;
    expect_err({"bind: Address already in use"});
    expect_log({START, "normal termination : 1"});
    for (int i = 0; i < 5; ++i) {
        advance(1);
        expect_err({"bind: Address already in use"});
        expect_log({START, "normal termination : 1"});
    }
    expect_no_file(CRASH);
}

TEST_F(Restart, happens_20_times_in_a_row_without_a_zombie_or_a_lost_descriptor) {
    start_extender();
    const pid_t supervisor = router().daemon().supervisor();
    const size_t worker_descriptors = descriptor_count(router().daemon().worker());
    EXPECT_EQ(descriptor_count(supervisor), 3U);
    std::set<pid_t> workers = {router().daemon().worker()};
    expect_log({START, "..."});
    for (int i = 0; i < 20; ++i) {
        router().kill_worker(SIGKILL);
        expect_log({"abnormal termination : 9"});
        advance(1);
        expect_log({START, "..."});
        EXPECT_EQ(lab::children_of(router().node(), supervisor).size(), 1U);
        EXPECT_EQ(descriptor_count(supervisor), 3U);
        EXPECT_EQ(descriptor_count(router().daemon().worker()), worker_descriptors);
        workers.insert(router().daemon().worker());
    }
    EXPECT_EQ(workers.size(), 21U);
    EXPECT_THAT(lab::zombies(router().node()), IsEmpty());
}

TEST_F(Restart, takes_the_supervisors_settings_along) {
    add_root().put_file("/tmp/backhaul_init_conf", "intf_init_skip\n");
    router().start({"-m"});
    expect_no_file("/tmp/backhaul_init_conf");
    expect_shell({});
    router().kill_worker(10);
    advance(1);
    expect_shell({});
    EXPECT_THAT(router().file(lab::DAEMON_OUT), testing::HasSubstr("Master\n"));
}

TEST_F(Restart, runs_the_roots_first_settings_unless_the_hint_says_otherwise) {
    // Without a line end the hint has no effect.
    add_root().put_file("/tmp/backhaul_init_conf", "intf_init_skip");
    router().start({"-m"});
    expect_no_file("/tmp/backhaul_init_conf");
    EXPECT_THAT(router().new_shell(), Not(IsEmpty()));
}

TEST_F(Restart, makes_the_control_fifo_anew) {
    start_extender();
    struct stat before {};
    ASSERT_EQ(stat(router().node().at("/tmp/backhaul_fifo").c_str(), &before), 0);
    // Keeps the old pipe, as a writer would that does not open it again.
    const int old_writer =
        open(router().node().at("/tmp/backhaul_fifo").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(old_writer, 0);
    router().kill_worker(10);
    advance(1);
    struct stat after {};
    ASSERT_EQ(stat(router().node().at("/tmp/backhaul_fifo").c_str(), &after), 0);
    EXPECT_TRUE(S_ISFIFO(after.st_mode));
    EXPECT_NE(before.st_ino, after.st_ino);
    close(old_writer);
    skip();
    router().put_file("/tmp/eth_backhaul_fifo", "");
    router().command("eth_lost\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_lost", "..."});
}

/// Nothing that the daemon starts may hold one of its sockets, pipes or files.
void expect_clean_descriptors(const std::string& root) {
    const auto lines = lab::line_records(root);
    EXPECT_THAT(lines, Not(IsEmpty()));
    for (const auto& record : lines) {
        EXPECT_THAT(record.stamp.descriptors, IsEmpty()) << record.line;
    }
    const auto calls = lab::call_records(root);
    EXPECT_THAT(calls, Not(IsEmpty()));
    for (const auto& record : calls) {
        EXPECT_THAT(record.stamp.descriptors, IsEmpty()) << lab::call_text(record);
    }
}

TEST_F(Restart, leaks_no_descriptor_into_the_tools_of_an_extender) {
    start_ready_extender();
    advance(120);
    driver().lost("ath0");
    advance(200);
    expect_clean_descriptors(router().root());
}

TEST_F(Restart, leaks_no_descriptor_into_the_tools_of_a_root) {
    start_root();
    advance(200);
    expect_clean_descriptors(router().root());
}

}  // namespace
