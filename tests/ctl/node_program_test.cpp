// status and send: the tool on the node.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "runtime/descriptor.h"
#include "tests/ctl/ctl_program.h"

namespace {

using ctl_test::Folder;
using ctl_test::log_text;
using ctl_test::log_text_until;
using ctl_test::Result;
using ctl_test::run;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char PROFILE[] =
    "ath0 BACKHAUL_STA 5h 30 0\nath1 BACKHAUL_STA 5l 20 0\nath3 BACKHAUL_STA 2 10 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\neth ETHERNET 0 0 0\n";

class StatusTest : public testing::Test {
protected:
    void SetUp() override {
        node.put("tmp/wifi_if_profile", PROFILE);
        node.put("tmp/rootap_ip", "192.168.1.1\n");
        node.put("tmp/rootdistance", "1\n");
        node.put("tmp/backhaul_status", "not ready\n");
    }
    std::string headline(const std::string& log) {
        node.put("var/log/backhaul_flow_log", log);
        result = run({"status", "--root", node.path()});
        EXPECT_EQ(result.code, 0) << result.err;
        return result.out.substr(0, result.out.find('\n'));
    }

    Folder node;
    Result result;
};

TEST_F(StatusTest, answers_a_lost_station_in_one_line) {
    const std::string line = headline(log_text("lost/e1"));
    EXPECT_THAT(line, HasSubstr("READY over ath1 since 2023-11-14 22:18:25 (as of 22:18:2"));
    EXPECT_THAT(line, HasSubstr("was out for 3 min 19 s"));
    EXPECT_THAT(line, HasSubstr("ath0 lost its AP 02:00:00:00:01:04"));
}

TEST_F(StatusTest, answers_a_station_that_is_still_lost_in_one_line) {
    const std::string line = headline(log_text_until("lost/e1", "change ath0 state from 7 to 3"));
    EXPECT_THAT(line, HasSubstr("OUT since 2023-11-14 22:15:06"));
    EXPECT_THAT(line, HasSubstr("ath0 waits for an AP until 22:18:07"));
}

TEST_F(StatusTest, answers_a_loop_in_one_line) {
    const std::string line = headline(log_text_until("loop/e1", "change ath0 state from 3 to 6"));
    EXPECT_THAT(line, HasSubstr("READY over ath1"));
    EXPECT_THAT(line, HasSubstr("ath0 is parked since"));
    EXPECT_THAT(line, HasSubstr("the AP that it joined hangs below this node, a loop"));
    EXPECT_THAT(line, HasSubstr("send uplink_scan"));
}

TEST_F(StatusTest, answers_a_root_that_is_gone_in_one_line) {
    const std::string line = headline(log_text("root_gone/e1"));
    EXPECT_THAT(line, HasSubstr("OUT since"));
    EXPECT_THAT(line, HasSubstr("no station finds an AP on any band"));
    EXPECT_THAT(line, HasSubstr("the root 192.168.1.1, or every way to it, is gone"));
}

TEST_F(StatusTest, says_first_that_no_daemon_runs) {
    node.put("proc/1/stat", "1 (init) S 0 1 1\n");
    // One that has ended, and that nobody has waited for.
    node.put("proc/100/stat", "100 (backhaul_monito) Z 1 1 1\n");
    EXPECT_THAT(headline(log_text("lost/e1")),
                HasSubstr("NO DAEMON RUNS on this node; what the last one left: READY over ath1"));
    node.put("proc/200/stat", "200 (backhaul_monito) S 1 1 1\n");
    EXPECT_THAT(headline(log_text("lost/e1")), testing::StartsWith("READY over ath1"));
}

TEST_F(StatusTest, takes_a_second_question_to_the_agent_for_no_error_of_a_ready_node) {
    std::string log = log_text("lost/e1");
    const std::string again =
        "Tue Nov 14 22:18:26 2023 : backhaul_auto_config_timeout_handle(ath1) : try to sync "
        "Service "
        "AP settings again\n";
    headline(log + again + again + again);
    EXPECT_THAT(result.out, HasSubstr("error      none that repeats"));
}

TEST_F(StatusTest, tells_the_hops_of_the_uplink_that_is_there) {
    headline(log_text("lost/e1"));
    EXPECT_THAT(result.out, HasSubstr("hops       1\n"));
}

TEST_F(StatusTest, counts_the_searches_of_each_station) {
    const std::string line = headline(log_text("root_gone/e1"));
    EXPECT_THAT(line, HasSubstr("(ath0 4 times, ath1 2 times, ath3 once 180 s in vain)"));
    EXPECT_THAT(line, Not(HasSubstr("last sign")));
    EXPECT_THAT(line, EndsWith("; look at the root's power and its channel; where other nodes are "
                               "ready, at this one's SSID and key"));
    EXPECT_THAT(result.out, HasSubstr(": it admitted this node; its announcements leave no line)"));
}

TEST_F(StatusTest, gives_no_verdict_while_a_station_has_not_searched_all_its_time) {
    const std::string line =
        headline(log_text_until("root_gone/e1", "change ath3 state from 0 to 3"));
    EXPECT_THAT(line, HasSubstr("; so far ath0 2 times, ath1 once 180 s in vain, not yet ath3;"));
    EXPECT_THAT(line, Not(HasSubstr("no station finds")));
    EXPECT_THAT(line, Not(HasSubstr("is gone")));
    EXPECT_THAT(line, EndsWith("; look at that AP: its power, radar on its channel, its distance"));
    // Neither does the log alone tell that ath3 has searched.
    node.remove("tmp/wifi_if_profile");
    EXPECT_THAT(headline(log_text_until("root_gone/e1", "change ath3 state from 0 to 3")),
                HasSubstr("not yet ath3"));
}

TEST_F(StatusTest, does_not_blame_the_root_alone_below_another_node) {
    node.put("tmp/rootdistance", "2\n");
    const std::string line = headline(log_text("root_gone/e1"));
    EXPECT_THAT(line, HasSubstr("or every way to it, is gone, or the node above has lost its own "
                                "way to it"));
    EXPECT_THAT(line, HasSubstr(", then at the nodes on the way to it; where"));
}

TEST_F(StatusTest, looks_first_at_the_own_ap_that_has_not_come_back_before_a_loop) {
    const std::string log = log_text_until("loop/e1", "change ath0 state from 3 to 6");
    EXPECT_THAT(headline(log),
                EndsWith("a loop. The AP that it had before, 02:00:00:00:01:04, was lost at "
                         "22:15:06: look there first; then `backhaulctl send uplink_scan`, which "
                         "ends in the same loop while that AP is not heard"));
    // Once more at its own AP, it has nothing to look for there.
    std::string back = log;
    const std::string below = "Connect with : 02:00:00:00:03:04";
    back.replace(back.rfind(below), below.size(), "Connect with : 02:00:00:00:01:04");
    EXPECT_THAT(headline(back),
                EndsWith("Mend the placement, then `backhaulctl send uplink_scan`"));
}

TEST_F(StatusTest, counts_to_the_logs_end_and_says_so) {
    const std::string log = log_text_until("lost/e1", "change ath1 state from 0 to 3");
    EXPECT_THAT(headline(log), HasSubstr("(3 min 1 s as of 22:18:07, the log's end)"));
    const Result later = run({"status", "--root", node.path(), "--now", "22:20:06"});
    EXPECT_THAT(later.out, HasSubstr("OUT since 2023-11-14 22:15:06 (5 min)"));
    const Result before = run({"status", "--root", node.path(), "--now", "22:00"});
    EXPECT_EQ(before.code, 2);
    EXPECT_EQ(before.out, "");
    EXPECT_THAT(before.err, HasSubstr("2023-11-14 22:00:00 is before the log's end"));
    EXPECT_EQ(run({"status", "--root", node.path(), "--now", "noon"}).code, 2);
}

TEST_F(StatusTest, answers_a_root_that_is_gone_for_longer_than_the_log_goes_back) {
    std::string log = log_text("root_gone/e1");
    const size_t lost = log.find("change ath0 state from 7 to 3");
    ASSERT_NE(lost, std::string::npos);
    log.erase(0, log.find('\n', lost) + 1);
    const std::string line = headline(log);
    EXPECT_THAT(line, HasSubstr("NOT READY since before the log begins at 2023-11-14 22:"));
    EXPECT_THAT(line, HasSubstr("no station finds an AP on any band"));
    EXPECT_THAT(line, HasSubstr("the root 192.168.1.1, or every way to it, is gone"));
}

TEST_F(StatusTest, believes_the_status_file_where_the_log_begins_too_late) {
    node.put("tmp/backhaul_status", "ready\n");
    const std::string line = headline(
        "Tue Nov 14 22:00:00 2023 : backhaul_intf_state_change : change ath0 state from 3 "
        "to 3\n");
    EXPECT_THAT(line, HasSubstr("READY, as the status file says"));
    EXPECT_THAT(line, Not(HasSubstr("NOT READY")));
}

TEST_F(StatusTest, answers_a_start_without_a_root_in_one_line) {
    // What follows the loss, behind a start instead.
    std::string log = log_text("root_gone/e1");
    const size_t begin = log.find('\n', log.find("change ath0 state from 7 to 3")) + 1;
    log = "Tue Nov 14 22:00:00 2023 : <-- backhaul_monitor start -->\n" + log.substr(begin);
    const std::string line = headline(log);
    EXPECT_THAT(line, HasSubstr("NOT READY since the worker's start at 2023-11-14 22:00:00"));
    EXPECT_THAT(line, HasSubstr("or every way to it, is gone"));
}

TEST_F(StatusTest, says_what_to_do_about_a_node_that_was_never_ready) {
    std::string log =
        "Tue Nov 14 22:00:00 2023 : <-- backhaul_monitor start -->\n"
        "Tue Nov 14 22:00:01 2023 : backhaul_intf_state_change : change ath0 state from 0 to 3\n";
    EXPECT_THAT(headline(log), EndsWith("; look at the APs above this node: their power, radar on "
                                        "their channels, their distance"));
    log +=
        "Tue Nov 14 22:00:04 2023 : backhaul_intf_state_change : change ath0 state from 3 to 4\n";
    EXPECT_THAT(headline(log),
                EndsWith("; look at the agent, vl1905App, and at whether the root answers it"));
}

TEST_F(StatusTest, tells_each_interface_its_state_and_what_it_waits_for) {
    headline(log_text("root_gone/e1"));
    EXPECT_THAT(result.out, HasSubstr("CONNECTING_BACKHAUL_AP"));
    EXPECT_THAT(result.out, HasSubstr("an AP until"));
    EXPECT_THAT(result.out, HasSubstr("LED        BackhaulDisConnect"));
    EXPECT_THAT(result.out, HasSubstr("hops       1 over the last uplink\n"));
    EXPECT_THAT(result.out, HasSubstr("backup     ath3"));
    EXPECT_THAT(result.out, HasSubstr("eth        ETH_BACKHAUL_DOWN"));
}

TEST_F(StatusTest, tells_the_error_that_repeats_with_its_likely_cause) {
    std::string log = "Tue Nov 14 22:00:00 2023 : <-- backhaul_monitor start -->\n";
    for (int i = 0; i < 214; ++i) {
        std::array<char, 100> line{};
        std::snprintf(line.data(), line.size(),
                      "Tue Nov 14 22:%02d:%02d 2023 : dev_intf_enable_set : wpa_cli fail, try "
                      "again\n",
                      1 + i / 60, i % 60);
        log += line.data();
    }
    const std::string line = headline(log);
    EXPECT_THAT(line, HasSubstr("214 times in 3 min 33 s: look at the supplicant, its driver"));
    EXPECT_THAT(result.out, HasSubstr("wpa_cli fail, try again\" 214 times in 3 min 33 s"));
}

TEST_F(StatusTest, says_that_it_does_not_know_what_the_log_no_longer_holds) {
    headline("Tue Nov 14 22:00:00 2023 : qca_dist_get : dist 1\n");
    EXPECT_THAT(result.out, HasSubstr("UNKNOWN"));
    EXPECT_THAT(result.out, HasSubstr("no sign of it in the log"));
    headline(
        "Tue Nov 14 22:00:00 2023 : backhaul_intf_state_change : change ath0 state from 7 to 4\n");
    EXPECT_THAT(result.out, HasSubstr("READY over ath0 since before the log begins"));
    EXPECT_THAT(result.out, HasSubstr("unknown"));
}

TEST_F(StatusTest, tells_whether_the_root_answers_the_kernel) {
    node.put("proc/net/arp",
             "IP address       HW type     Flags       HW address            Mask     Device\n"
             "192.168.1.1      0x1         0x0         00:00:00:00:00:00     *        br-lan\n");
    headline(log_text("root_gone/e1"));
    EXPECT_THAT(result.out, HasSubstr("does not answer to the kernel's question"));
}

TEST_F(StatusTest, gives_programs_the_same) {
    node.put("var/log/backhaul_flow_log", log_text("lost/e1"));
    const Result json = run({"status", "--json", "--root", node.path()});
    EXPECT_THAT(json.out, HasSubstr("\"ready\":true"));
    EXPECT_THAT(json.out, HasSubstr("\"uplink\":\"ath1\""));
    EXPECT_THAT(json.out, HasSubstr("\"name\":\"ath0\",\"state\":\"CONNECTING_BACKHAUL_AP\""));
}

TEST_F(StatusTest, ends_a_watch_of_no_log_where_no_person_watches) {
    const Result none = run({"status", "--watch", "--root", node.path() + "/none"});
    EXPECT_EQ(none.code, 3);
    EXPECT_EQ(std::count(none.err.begin(), none.err.end(), '\n'), 1) << none.err;
}

/// How often a process has gone to sleep.
long sleeps_of(pid_t process) {
    const std::string status = ctl_test::text_of("/proc/" + std::to_string(process) + "/status");
    const std::string name = "\nvoluntary_ctxt_switches:";
    const size_t at = status.find(name);
    return at == std::string::npos ? 0 : std::strtol(&status[at + name.size()], nullptr, 10);
}

/// A watch on a terminal of its own.
class WatchTest : public StatusTest {
protected:
    void SetUp() override {
        StatusTest::SetUp();
        errors = node.put("errors", "");
        ASSERT_TRUE(terminal);
        ASSERT_EQ(grantpt(terminal.get()), 0);
        ASSERT_EQ(unlockpt(terminal.get()), 0);
        const std::string path = ctl_test::tool_path();
        tool = fork();
        if (tool == 0) {
            dup2(open(ptsname(terminal.get()), O_RDWR | O_NOCTTY | O_CLOEXEC), STDOUT_FILENO);
            dup2(open(errors.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC), STDERR_FILENO);
            execl(path.c_str(), path.c_str(), "status", "--watch", "--interval", "1", "--root",
                  node.path().c_str(), nullptr);
            _exit(127);
        }
        ASSERT_GT(tool, 0);
    }
    void TearDown() override {
        if (tool > 0) {
            kill(tool, SIGKILL);
            EXPECT_EQ(waitpid(tool, nullptr, 0), tool);
        }
    }
    /// Reads what the terminal shows until `done`, or half a minute.
    bool read_until(const std::function<bool()>& done) {
        for (int waited = 0; waited < 300 && !done(); ++waited) {
            pollfd ready = {terminal.get(), POLLIN, 0};
            std::array<char, 4096> block{};
            if (poll(&ready, 1, 100) == 1) {
                const ssize_t got = read(terminal.get(), block.data(), block.size());
                shown.append(block.data(), got > 0 ? static_cast<size_t>(got) : 0);
            }
        }
        return done();
    }

    const Descriptor terminal{posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)};
    std::string errors;
    std::string shown;
    pid_t tool = -1;
};

TEST_F(WatchTest, waits_for_a_log_to_come_and_says_so_once) {
    const std::string none =
        "backhaulctl: there is no flow log at " + node.path() + "/var/log/backhaul_flow_log\n";
    EXPECT_TRUE(read_until([&] { return ctl_test::text_of(errors) == none; }));
    const long before = sleeps_of(tool);
    EXPECT_TRUE(read_until([&] { return sleeps_of(tool) >= before + 3; }));
    EXPECT_EQ(ctl_test::text_of(errors), none);
    const std::string part = node.put("var/log/part", log_text("lost/e1"));
    EXPECT_EQ(rename(part.c_str(), (node.path() + "/var/log/backhaul_flow_log").c_str()), 0);
    EXPECT_TRUE(read_until([&] { return shown.find("READY over ath1") != std::string::npos; }))
        << shown;
    EXPECT_EQ(ctl_test::text_of(errors), none);
}

TEST_F(StatusTest, says_that_there_is_no_log) {
    const Result none = run({"status", "--root", node.path()});
    EXPECT_EQ(none.code, 3);
    EXPECT_THAT(none.err, HasSubstr("there is no flow log"));
}

class SendTest : public testing::Test {
protected:
    void SetUp() override {
        node.put("tmp/x", "");
        path = node.path() + "/tmp/backhaul_fifo";
    }
    Folder node;
    std::string path;
};

TEST_F(SendTest, writes_the_word_and_its_line_end_for_the_daemon) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int daemon = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    const Result result = run({"send", "uplink_scan", "--root", node.path()});
    EXPECT_EQ(result.code, 0) << result.err;
    std::array<char, 64> got{};
    EXPECT_EQ(read(daemon, got.data(), got.size()), 12);
    EXPECT_STREQ(got.data(), "uplink_scan\n");
    close(daemon);
}

TEST_F(SendTest, says_at_once_that_no_daemon_listens) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const Result result = run({"send", "uplink_scan", "--root", node.path()});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("no daemon listens"));
}

TEST_F(SendTest, says_that_there_is_no_fifo) {
    const Result result = run({"send", "uplink_scan", "--root", node.path()});
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.err, HasSubstr("no daemon has run"));
}

TEST_F(SendTest, writes_into_nothing_that_is_no_fifo) {
    node.put("tmp/backhaul_fifo", "mine\n");
    EXPECT_EQ(run({"send", "uplink_scan", "--root", node.path()}).code, 3);
    EXPECT_EQ(ctl_test::text_of(path), "mine\n");
}

TEST_F(SendTest, sends_no_word_that_the_daemon_does_not_know) {
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int daemon = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(run({"send", "scan", "--root", node.path()}).code, 2);
    std::array<char, 64> got{};
    EXPECT_EQ(read(daemon, got.data(), got.size()), -1);
    close(daemon);
}

}  // namespace
