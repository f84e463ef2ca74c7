// The life of a node as its log tells it: states, findings, outages.
#include "ctl/story.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/ctl/ctl_program.h"
#include "tests/ctl/story_fixture.h"

namespace {

using ctl_test::Heard;
using ctl_test::StoryTest;

TEST_F(StoryTest, tells_when_the_node_was_first_ready) {
    ready();
    EXPECT_EQ(told.node().ready_after, 20);
    EXPECT_EQ(told.link_find("ath0")->state, BACKHAUL_READY);
    EXPECT_EQ(told.link_find("ath0")->since, 20);
    EXPECT_EQ(told.outage_now(), nullptr);
}

TEST_F(StoryTest, tells_an_outage_with_its_cause_and_its_end) {
    ready();
    lose(100);
    ASSERT_NE(told.outage_now(), nullptr);
    say(281, "interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout");
    change(290, "ath1", 0, 3);
    change(291, "ath1", 3, 4);
    change(300, "ath1", 4, 7);
    ASSERT_EQ(heard.outages.size(), 1U);
    EXPECT_EQ(heard.outages[0].begin, 100);
    EXPECT_EQ(heard.outages[0].end, 300);
    EXPECT_EQ(words(),
              "ath0 lost its AP 02:00:00:00:01:04; no AP found in 180 s (1 time); ready again "
              "over ath1");
    EXPECT_EQ(told.counts().outage_longest, 200);
}

TEST_F(StoryTest, counts_no_outage_when_one_station_takes_over_from_another_at_once) {
    ready();
    change(100, "ath0", 7, 0);
    change(100, "ath1", 0, 3);
    change(100, "ath1", 3, 7);
    EXPECT_TRUE(heard.outages.empty());
    EXPECT_EQ(told.outage_now(), nullptr);
}

TEST_F(StoryTest, leaves_an_outage_open_that_the_log_does_not_end) {
    ready();
    lose(100);
    say(150, "restart hyd");
    told.finish();
    ASSERT_EQ(heard.outages.size(), 1U);
    EXPECT_EQ(heard.outages[0].end, LOG_TIME_NONE);
    EXPECT_EQ(outage_seconds(heard.outages[0]), 50);
}

TEST_F(StoryTest, names_the_signal_of_a_crash_as_the_cause) {
    ready();
    say(100, "abnormal termination : 11");
    say(101, "<-- backhaul_monitor start -->");
    change(102, "ath0", 0, 3);
    change(103, "ath0", 3, 4);
    change(120, "ath0", 4, 7);
    EXPECT_EQ(words(), "the worker was killed by signal 11; ready again over ath0");
}

TEST_F(StoryTest, finds_a_change_that_cannot_follow) {
    ready();
    change(30, "ath0", 3, 4);
    ASSERT_EQ(heard.findings.size(), 1U);
    EXPECT_EQ(heard.findings[0], "backhaul_intf_state_change : change ath0 state from 3 to 4");
    EXPECT_EQ(told.counts().impossible, 1U);
}

TEST_F(StoryTest, finds_a_number_that_no_state_has) {
    ready();
    change(30, "ath0", 7, 2);
    change(31, "ath0", 99, 3);
    EXPECT_EQ(heard.findings.size(), 2U);
}

TEST_F(StoryTest, tells_a_request_that_the_table_refuses_without_alarm) {
    ready();
    change(30, "ath0", 7, 4);
    EXPECT_TRUE(heard.findings.empty());
    EXPECT_EQ(heard.dropped.size(), 1U);
    EXPECT_EQ(told.link_find("ath0")->state, BACKHAUL_READY);
}

TEST_F(StoryTest, knows_what_the_backup_search_stores_past_the_table) {
    ready();
    lose(100);
    say(281, "wifi_slave_event_process : ifname ath0 event 5");
    say(281, "find_backup_backhaul_link : finding backup backhaul link");
    EXPECT_EQ(told.link_find("ath0")->state, ETH_BACKHAUL_STANDBY);
    change(281, "ath1", 0, 3);
    say(281, "find_backup_backhaul_link : found backup backhaul sta ath1");
    change(281, "ath0", 16, 3);
    EXPECT_TRUE(heard.findings.empty()) << heard.findings[0];
    EXPECT_STREQ(told.node().backup.data(), "ath1");
}

TEST_F(StoryTest, knows_that_a_scan_request_releases_parked_stations) {
    ready();
    change(30, "ath0", 7, 6);
    say(40, "backhaul_slave_backhaul_restore : Enter");
    EXPECT_EQ(told.link_find("ath0")->state, INIT);
    change(40, "ath0", 0, 3);
    EXPECT_TRUE(heard.findings.empty());
}

TEST_F(StoryTest, holds_nothing_against_what_was_before_a_gap) {
    ready();
    told.gap();
    change(500, "ath0", 3, 4);
    EXPECT_TRUE(heard.findings.empty());
    change(501, "ath0", 3, 4);
    EXPECT_EQ(heard.findings.size(), 1U);
}

TEST_F(StoryTest, counts_a_series_of_errors_until_it_pauses) {
    for (int64_t time = 0; time < 214; ++time) {
        say(time, "dev_intf_enable_set : wpa_cli fail, try again");
    }
    const log_event event = log_event_read("dev_intf_enable_set : wpa_cli fail, try again");
    const auto row = static_cast<size_t>(event.row - LOG_TEXTS.data());
    EXPECT_EQ(told.error(row).burst, 214U);
    EXPECT_EQ(told.error(row).burst_first, 0);
    say(5000, "dev_intf_enable_set : wpa_cli fail, try again");
    EXPECT_EQ(told.error(row).burst, 1U);
    EXPECT_EQ(told.error(row).total, 215U);
}

TEST_F(StoryTest, sums_the_time_in_each_state) {
    ready();
    lose(100);
    say(160, "restart hyd");
    told.finish();
    const auto& seconds = told.link_find("ath0")->seconds;
    EXPECT_EQ(seconds[INIT], 1);
    EXPECT_EQ(seconds[CONNECTING_BACKHAUL_AP], 3 + 60);
    EXPECT_EQ(seconds[CONNECT_WITH_BACKHAUL_AP], 16);
    EXPECT_EQ(seconds[BACKHAUL_READY], 80);
}

TEST_F(StoryTest, sums_no_moment_twice_where_the_log_has_gaps) {
    ready();
    change(50, "ath1", 0, 3);
    told.garbage();
    change(100, "ath0", 7, 3);
    say(120, "restart hyd");
    told.gap();
    change(130, "ath0", 3, 4);
    say(140, "<-- backhaul_monitor start -->");
    say(150, "<-- backhaul_monitor start -->");
    say(160, "restart hyd");
    told.finish();
    int64_t sum = 0;
    for (const int64_t seconds : told.link_find("ath0")->seconds) {
        sum += seconds;
    }
    // All but what was between the lines around a gap.
    EXPECT_EQ(sum, 160 - 50 - 10);
    EXPECT_EQ(told.link_find("ath0")->seconds[BACKHAUL_READY], 50 - 20);
    EXPECT_EQ(told.link_find("ath0")->seconds[INIT], 1 + 20);
}

TEST_F(StoryTest, survives_more_interfaces_than_it_has_room_for) {
    for (int i = 0; i < 100; ++i) {
        change(i, "ath" + std::to_string(i), 0, 3);
    }
    EXPECT_EQ(told.links().size(), STORY_LINKS_MAX);
}

class RealLog : public StoryTest, public testing::WithParamInterface<const char*> {};

TEST_P(RealLog, has_no_change_that_cannot_follow_and_no_unknown_text) {
    feed_log(GetParam());
    EXPECT_TRUE(heard.findings.empty()) << heard.findings[0];
    EXPECT_EQ(told.counts().unknown, 0U);
    EXPECT_EQ(told.counts().gaps, 0U);
}

INSTANTIATE_TEST_SUITE_P(Logs, RealLog,
                         testing::Values("loop/root", "loop/e1", "loop/e2", "root_gone/root",
                                         "root_gone/e1", "root_gone/e2", "lost/e1"));

}  // namespace
