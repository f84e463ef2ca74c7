// Following link states by the flow log's lines.
#include <gtest/gtest.h>

#include "lab/rules/link_tracker.h"

namespace lab {
namespace {

class Tracked : public ::testing::Test {
protected:
    void feed(const std::string& text) {
        link_tracker_feed(&tracker, {time, text}, &news);
    }

    void change(const std::string& interface, int from, int requested) {
        feed("backhaul_intf_state_change : change " + interface + " state from " +
             std::to_string(from) + " to " + std::to_string(requested));
    }

    void event(const std::string& interface, int event) {
        feed("wifi_slave_event_process : ifname " + interface + " event " + std::to_string(event));
    }

    const TrackedLink& link(const std::string& interface) {
        const TrackedLink* const found = link_tracker_find(tracker, interface);
        EXPECT_NE(found, nullptr) << interface;
        static const TrackedLink nothing;
        return found == nullptr ? nothing : *found;
    }

    // "ath0 was in state 7, but ..." for each finding so far.
    std::vector<std::string> findings() {
        std::vector<std::string> texts;
        for (const TrackerFinding& finding : news.findings) {
            texts.push_back(finding.interface + " " + finding.text);
        }
        return texts;
    }

    void start() {
        feed("<-- backhaul_monitor start -->");
    }

    void bring_up(const std::string& interface) {
        change(interface, 0, 3);
        change(interface, 3, 4);
        change(interface, 4, 7);
    }

    using Texts = std::vector<std::string>;
    std::int64_t time = 1000;
    TrackerNews news;
    LinkTracker tracker = link_tracker_make({{"ath0", "BACKHAUL_STA", 30},
                                             {"ath1", "BACKHAUL_STA", 20},
                                             {"ath3", "BACKHAUL_STA", 10},
                                             {"ath20", "BACKHAUL_AP", 0},
                                             {"eth", "ETHERNET", 0},
                                             {"timer", "AP_TIMER_INTF", 0}});
};

TEST(StateChangeLine, is_taken_apart) {
    const auto line =
        state_change_parse("backhaul_intf_state_change : change ath0 state from 16 to 3");
    ASSERT_TRUE(line.has_value());
    EXPECT_EQ(line->interface, "ath0");
    EXPECT_EQ(line->from, 16);
    EXPECT_EQ(line->requested, 3);
}

TEST(StateChangeLine, is_nothing_else) {
    EXPECT_FALSE(state_change_parse("backhaul_connected(ath0) : backhaul_sta_num 1"));
    EXPECT_FALSE(state_change_parse("backhaul_intf_state_change : change ath0 state from x to 3"));
    EXPECT_FALSE(state_change_parse("backhaul_intf_state_change : change ath0 state from 1 to 3x"));
    EXPECT_FALSE(state_change_parse("backhaul_intf_state_change : change ath0"));
    EXPECT_FALSE(state_change_parse(""));
}

TEST_F(Tracked, follows_a_station_from_start_to_ready) {
    start();
    EXPECT_TRUE(link("ath0").is_known);
    EXPECT_EQ(link("ath0").state, 0);
    EXPECT_EQ(link("eth").state, 13);
    EXPECT_EQ(link("timer").state, 12);
    time = 1010;
    change("ath0", 0, 3);
    EXPECT_EQ(link("ath0").state, 3);
    EXPECT_TRUE(link("ath0").is_armed);
    EXPECT_EQ(link("ath0").armed_at, 1010);
    change("ath0", 3, 4);
    time = 1030;
    change("ath0", 4, 7);
    EXPECT_EQ(link("ath0").state, 7);
    EXPECT_EQ(link("ath0").entered_at, 1030);
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, knows_nothing_before_a_line_tells) {
    EXPECT_FALSE(link("ath0").is_known);
    change("ath0", 7, 5);
    EXPECT_TRUE(link("ath0").is_known);
    EXPECT_EQ(link("ath0").state, 5);
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, leaves_the_state_alone_when_the_request_is_dropped) {
    start();
    bring_up("ath0");
    change("ath0", 7, 4);
    EXPECT_EQ(link("ath0").state, 7);
    change("ath0", 7, 5);
    change("ath0", 5, 6);
    EXPECT_EQ(link("ath0").state, 5);
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, finds_a_state_that_the_table_does_not_lead_to) {
    start();
    bring_up("ath0");
    change("ath0", 4, 3);
    EXPECT_EQ(findings(), (Texts{"ath0 was in state 4, but by the expected table in 7"}));
    change("ath0", 3, 4);
    EXPECT_EQ(findings().size(), 1U);
}

TEST_F(Tracked, rearms_a_state_that_is_requested_again) {
    start();
    change("ath0", 0, 3);
    change("ath0", 3, 4);
    time = 1016;
    change("ath0", 4, 4);
    EXPECT_EQ(link("ath0").entered_at, 1000);
    EXPECT_EQ(link("ath0").armed_at, 1016);
}

TEST_F(Tracked, clears_the_timeout_with_the_event_that_clears_it) {
    start();
    change("ath0", 0, 3);
    event("ath0", 2);
    EXPECT_TRUE(link("ath0").is_armed);
    event("ath0", 1);
    EXPECT_FALSE(link("ath0").is_armed);
    change("ath0", 3, 4);
    change("ath0", 4, 7);
    event("ath0", 7);
    EXPECT_TRUE(link("ath0").is_armed);
}

TEST_F(Tracked, lets_the_failed_preferred_station_stand_aside_and_try_again) {
    start();
    change("ath0", 0, 3);
    event("ath0", 5);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    EXPECT_EQ(link("ath0").state, 16);
    change("ath1", 0, 3);
    feed("find_backup_backhaul_link : found backup backhaul sta ath1");
    EXPECT_EQ(link("ath0").state, 16);
    change("ath0", 16, 3);
    EXPECT_EQ(findings(), Texts{});
    EXPECT_EQ(link("ath0").state, 3);
    EXPECT_EQ(link("ath1").state, 3);
}

TEST_F(Tracked, lets_another_failed_station_go_back_to_idle) {
    start();
    change("ath1", 0, 3);
    event("ath1", 5);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    change("ath3", 0, 3);
    feed("find_backup_backhaul_link : found backup backhaul sta ath3");
    EXPECT_EQ(link("ath1").state, 0);
    change("ath1", 0, 3);
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, keeps_a_parked_station_parked_while_a_backup_takes_over) {
    start();
    bring_up("ath0");
    event("ath0", 2);
    change("ath0", 7, 6);
    change("ath0", 6, 6);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    change("ath1", 0, 3);
    feed("find_backup_backhaul_link : found backup backhaul sta ath1");
    EXPECT_EQ(link("ath0").state, 6);
    EXPECT_FALSE(link("ath0").is_armed);
    EXPECT_TRUE(news.releases.empty());
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, tells_when_a_parked_station_is_tried_without_a_backup) {
    start();
    bring_up("ath0");
    event("ath0", 2);
    change("ath0", 7, 6);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    change("ath0", 6, 3);
    ASSERT_EQ(news.releases.size(), 1U);
    EXPECT_EQ(news.releases[0].interface, "ath0");
    EXPECT_TRUE(news.releases[0].without_backup);
}

TEST_F(Tracked, tells_when_a_parked_station_is_tried_for_no_reason) {
    start();
    bring_up("ath0");
    event("ath0", 2);
    change("ath0", 7, 6);
    event("ath1", 1);
    change("ath0", 6, 3);
    ASSERT_EQ(news.releases.size(), 1U);
    EXPECT_FALSE(news.releases[0].without_backup);
}

TEST_F(Tracked, blames_no_missing_backup_when_another_reaction_searched) {
    start();
    bring_up("ath0");
    event("ath0", 2);
    change("ath0", 7, 6);
    event("ath1", 5);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    change("ath0", 6, 3);
    ASSERT_EQ(news.releases.size(), 1U);
    EXPECT_FALSE(news.releases[0].without_backup);
}

TEST_F(Tracked, blames_no_missing_backup_when_an_earlier_reaction_searched) {
    start();
    bring_up("ath0");
    event("ath0", 2);
    change("ath0", 7, 6);
    feed("find_backup_backhaul_link : finding backup backhaul link");
    event("ath0", 1);
    change("ath0", 6, 3);
    ASSERT_EQ(news.releases.size(), 1U);
    EXPECT_FALSE(news.releases[0].without_backup);
}

TEST_F(Tracked, lets_the_restore_release_parked_stations) {
    start();
    bring_up("ath0");
    change("ath0", 7, 6);
    feed("backhaul_slave_backhaul_restore : Enter");
    EXPECT_EQ(link("ath0").state, 0);
    change("ath0", 0, 3);
    EXPECT_TRUE(news.releases.empty());
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, follows_the_wire_and_back) {
    start();
    bring_up("ath0");
    feed("wifi_slave_eth_detect : Enter");
    EXPECT_FALSE(link("ath0").is_armed);
    change("eth", 13, 15);
    change("ath0", 7, 16);
    feed("wifi_backhaul_recover : Enter");
    change("eth", 15, 13);
    EXPECT_EQ(link("ath0").state, 0);
    change("ath0", 0, 3);
    EXPECT_EQ(findings(), Texts{});
    EXPECT_EQ(link("eth").state, 13);
}

TEST_F(Tracked, grants_the_recovery_a_few_seconds_to_store_its_states) {
    start();
    bring_up("ath0");
    feed("wifi_backhaul_recover : Enter");
    change("ath0", 7, 3);
    change("ath0", 0, 3);
    EXPECT_EQ(findings(), Texts{});
    time = 1006;
    change("ath0", 3, 4);
    change("ath0", 0, 3);
    EXPECT_EQ(findings(), (Texts{"ath0 was in state 0, but by the expected table in 4"}));
}

TEST_F(Tracked, follows_radar_by_the_lines_of_its_check) {
    start();
    feed("backhaul_dfs_check : dfs_count 2 state 0");
    EXPECT_EQ(link("ath20").state, 0);
    feed("backhaul_dfs_check : dfs_count 3 state 0");
    EXPECT_EQ(link("ath20").state, 10);
    EXPECT_TRUE(link("ath20").is_armed);
    feed("device_dfs_monitoring : Disable ath20");
    EXPECT_EQ(link("ath20").state, 11);
    feed("backhaul_dfs_check : dfs_count 3 state 11");
    EXPECT_EQ(link("ath20").state, 11);
    feed("device_dfs_blocking : Enable ath20");
    EXPECT_EQ(link("ath20").state, 10);
}

TEST_F(Tracked, begins_anew_with_a_new_worker) {
    start();
    bring_up("ath0");
    feed("backhaul_connected : Unknown status");
    time = 1100;
    start();
    EXPECT_EQ(link("ath0").state, 0);
    EXPECT_FALSE(link("ath0").is_armed);
    EXPECT_FALSE(tracker.unknown_status);
    EXPECT_EQ(tracker.worker_since, 1100);
    change("eth", 0, 13);
    EXPECT_EQ(findings(), Texts{});
}

TEST_F(Tracked, forgets_when_lines_were_lost) {
    start();
    bring_up("ath0");
    link_tracker_forget(&tracker);
    change("ath0", 3, 4);
    EXPECT_EQ(findings(), Texts{});
    EXPECT_EQ(link("ath0").state, 4);
}

TEST_F(Tracked, notices_a_count_of_links_that_cannot_be) {
    start();
    feed("backhaul_connected(ath0) : backhaul_sta_num 1");
    feed("backhaul_connected(ath0) : backhaul_sta_num 2");
    EXPECT_FALSE(tracker.count_is_off);
    feed("backhaul_connected(ath0) : backhaul_sta_num 3");
    EXPECT_TRUE(tracker.count_is_off);
    start();
    EXPECT_FALSE(tracker.count_is_off);
    feed("backhaul_connected(ath0) : backhaul_sta_num 0");
    EXPECT_TRUE(tracker.count_is_off);
}

}  // namespace
}  // namespace lab
