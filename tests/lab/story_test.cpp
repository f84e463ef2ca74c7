// The bed with the real daemon in it: what a process test relies on.
#include "tests/harness/story.h"

#include <gtest/gtest-spi.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include "lab/node/database.h"
#include "lab/node/evidence.h"
#include "lab/node/processes.h"
#include "lab/tools/answer.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace {

using harness::Lines;
using harness::Story;

class StoryBed : public Story {};

TEST_F(StoryBed, does_the_same_in_the_same_second_in_every_run) {
    Lines first;
    for (int run = 0; run < 3; ++run) {
        harness::Router& one = add_extender();
        const std::uint32_t start = now();
        one.start();
        advance(10);
        one.driver().associated("ath0", ap(1));
        advance(130);
        Lines told;
        for (const lab::JournalEntry& entry : one.entries()) {
            if (entry.time == start) {
                continue;  // the threads start side by side
            }
            told.push_back(std::to_string(entry.time - start) + " " + lab::journal_text(entry));
        }
        one.daemon().stop();
        if (run == 0) {
            first = told;
        }
        EXPECT_EQ(harness::lines_differ(first, told), "");
    }
    EXPECT_GT(first.size(), 100U);
}

TEST_F(StoryBed, stamps_log_lines_and_shell_lines_with_the_moved_second) {
    start_extender();
    advance(10);
    EXPECT_EQ(router().time_of_log("wifi_slave_event_process : INIT"), 1700000010);
    for (const lab::JournalEntry& entry : router().entries()) {
        EXPECT_TRUE(entry.time == 1700000000 || entry.time == 1700000010) << entry.text;
    }
}

TEST_F(StoryBed, sees_every_start_of_a_worker_that_is_killed_again_and_again) {
    add_extender().start({}, lab::environment_for_crashes());
    for (int round = 0; round < 5; ++round) {
        router().kill_worker(SIGSEGV);
        advance(1);
    }
    const Lines lines = router().log();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "<-- backhaul_monitor start -->"), 6);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "abnormal termination : 11"), 5);
}

TEST_F(StoryBed, shows_threads_descriptors_and_memory_of_the_worker) {
    start_ready_extender();
    EXPECT_EQ(router().daemon().worker_threads().size(), 3U);
    const Lines open = router().daemon().worker_descriptors();
    EXPECT_EQ(std::count_if(open.begin(), open.end(),
                            [](const std::string& one) {
                                return one.find("/tmp/backhaul_fifo") != std::string::npos;
                            }),
              1);
    EXPECT_GT(router().daemon().worker_resident_kb(), 500);
}

TEST_F(StoryBed, lets_time_pass_while_a_tool_hangs_at_its_gate) {
    start_extender();
    lab::answer_hold(router().root(), "wireless.restart", "slow");
    advance(60);
    expect_shell({"...", "uci commit wireless", "/etc/init.d/wireless restart"});
    expect_shell({});
    lab::gate_open(router().root(), "slow");
    expect_shell({"uci get wireless.ath0.ssid", "iwconfig ath0 essid on", "..."});
}

TEST_F(StoryBed, hears_nothing_over_a_cable_that_was_pulled) {
    start_extender();
    std::string error;
    ASSERT_TRUE(router().node().cable(false, error)) << error;
    announce_root();
    expect_no_file("/tmp/rootap_ip");
    ASSERT_TRUE(router().node().cable(true, error)) << error;
    announce_root();
    expect_file("/tmp/rootap_ip", "192.168.1.1\n");
}

TEST_F(StoryBed, holds_the_database_locked_for_as_long_as_the_test_wants) {
    start_extender();
    {
        const lab::DatabaseLock lock(router().node());
        EXPECT_TRUE(lock.ok());
        std::string error;
        EXPECT_FALSE(lab::database_run(router().node(), "SELECT * FROM Device;", error));
        EXPECT_EQ(error, "database is locked");
    }
    router().sql("SELECT * FROM Device;");
}

TEST_F(StoryBed, reads_every_log_line_once_across_rotations) {
    start_ready_extender();
    const size_t before = router().log().size();
    for (int round = 0; round < 200; ++round) {
        driver().client_joined("ath10", "02:00:00:00:aa:01");
        if (round % 50 == 0) {
            router().log();
        }
    }
    const Lines lines = router().log();
    EXPECT_EQ(std::count(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end(),
                         "STA_ASSOC_WITH_AP(ath10)"),
              200);
    EXPECT_TRUE(router().has_file("/var/log/backhaul_flow_log.1"));
}

TEST_F(StoryBed, shows_what_differs_when_an_expectation_fails) {
    start_ready_extender();
    driver().client_left("ath10", "02:00:00:00:aa:01");
    EXPECT_NONFATAL_FAILURE(
        expect_log({"STA_DISASSOC_WITH_AP(ath11)", "STA mac : 02:00:00:00:aa:01"}),
        "flow log (- missing, + unexpected):\n"
        "- STA_DISASSOC_WITH_AP(ath11)\n"
        "+ STA_DISASSOC_WITH_AP(ath10)\n"
        "  STA mac : 02:00:00:00:aa:01\n");
}

// NOLINTNEXTLINE(readability-function-size): what the macro nests
TEST_F(StoryBed, fails_when_a_condition_does_not_come_true_in_time) {
    start_extender();
    EXPECT_NONFATAL_FAILURE(advance_until([] { return false; }, 5),
                            "nothing of the kind within 5 seconds");
    EXPECT_EQ(now(), lab::NODE_START_TIME + 5);
}

TEST_F(StoryBed, collects_what_is_needed_to_understand_a_failure) {
    start_ready_extender();
    lab::OutsidePlace place;
    lab::EvidenceFolder made;
    std::string error;
    ASSERT_TRUE(lab::evidence_place_open("/tmp/evidence", "", &place, error)) << error;
    ASSERT_TRUE(lab::evidence_folder_make(place, "one/two three", &made, error)) << error;
    EXPECT_EQ(made.name, "/tmp/evidence/one_two_three.1");
    const std::string folder = made.name;
    lab::evidence_collect(router().node(), folder);
    std::string text;
    EXPECT_TRUE(lab::file_read(folder + "/extender/journal", &text));
    EXPECT_NE(text.find("1700000010 $ /etc/init.d/wireless restart\n"), std::string::npos);
    EXPECT_TRUE(lab::file_read(folder + "/extender/processes", &text));
    EXPECT_NE(text.find("/tmp/backhaul_fifo\n"), std::string::npos);
    for (const char* name : {"/tmp/netprobe.db", "/tmp/wifi_if_profile", "/run/lab/record/lines",
                             "/var/log/backhaul_flow_log", "/run/lab/out/stdout"}) {
        EXPECT_EQ(access((folder + "/extender" + name).c_str(), R_OK), 0) << name;
    }
}

TEST_F(StoryBed, finds_a_sanitizers_report_and_a_zombie) {
    start_extender();
    EXPECT_EQ(lab::sanitizer_reports(router().node()), Lines{});
    EXPECT_EQ(lab::zombies(router().node()), Lines{});
    router().put_file("/run/lab/out/sanitizer.77", "ERROR: one");
    EXPECT_EQ(lab::sanitizer_reports(router().node()), Lines{"ERROR: one"});
    router().remove_file("/run/lab/out/sanitizer.77");

    lab::SpawnPlan careless;
    careless.words = {"/run/lab/real/sh", "-c", "true & exec sleep 1000"};
    std::string error;
    const pid_t parent = router().node().spawn(careless, error);
    ASSERT_GT(parent, 0) << error;
    settle();
    EXPECT_EQ(lab::zombies(router().node()).size(), 1U);
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    settle();  // process 1 buries the orphan
}

TEST_F(StoryBed, ends_everything_in_a_router_with_its_daemon) {
    start_ready_extender();
    router().daemon().stop();
    const std::vector<lab::ProcessInfo> left = lab::node_processes(router().node());
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].name, "lab_init");
    EXPECT_EQ(left[0].inner, 1);
}

}  // namespace
