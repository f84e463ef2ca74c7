// Why a node was out, as its log tells it, and the words for it.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "ctl/story.h"
#include "tests/ctl/story_fixture.h"

namespace {

std::string words_of(const outage& one) {
    std::array<char, 400> text{};
    outage_words(one, text);
    return text.data();
}

TEST(OutageWords, say_the_cause) {
    struct Case {
        outage_cause cause;
        const char* name;
        const char* words;
    };
    for (const Case& one : {
             Case{outage_cause::unknown, "unknown", "the cause is not in the log"},
             Case{outage_cause::ap_lost, "ap_lost", "ath0 lost its AP"},
             Case{outage_cause::unseen, "unseen",
                  "ath0 was found without its AP, no event had told"},
             Case{outage_cause::cable_lost, "cable_lost", "the cable was pulled"},
             Case{outage_cause::better_ap, "better_ap", "ath0 moved to a better AP"},
             Case{outage_cause::loop, "loop", "ath0 was parked because of a loop"},
             Case{outage_cause::crash, "crash", "the worker was killed by signal 6"},
             Case{outage_cause::ended, "ended", "the worker ended by itself"},
             Case{outage_cause::restarted, "restarted",
                  "the worker was restarted quietly, or the node was"},
         }) {
        outage told;
        told.cause = one.cause;
        told.interface = {"ath0"};
        told.signal = 6;
        EXPECT_EQ(words_of(told), one.words);
        EXPECT_STREQ(outage_cause_name(one.cause), one.name);
    }
}

TEST(OutageWords, say_what_happened_while_it_went_on) {
    outage one;
    one.cause = outage_cause::ap_lost;
    one.interface = {"ath0"};
    one.ap = {"02:00:00:00:01:04"};
    one.timeouts = 2;
    one.parkings = 1;
    one.loops = 2;
    one.refusals = 9;
    one.unconfigured = 3;
    one.agent_waits = 4;
    one.crashes = 5;
    one.end = 300;
    one.end_interface = {"eth"};
    EXPECT_EQ(
        words_of(one),
        "ath0 lost its AP 02:00:00:00:01:04; no AP found in 180 s (2 times); 1 parked; 2 "
        "loops refused; the supplicant refused 9 times; no SSID or key 3 times; the agent was "
        "asked 4 times; 5 crashes; ready again over eth");
    one.timeouts = 1;
    one.loops = 1;
    EXPECT_NE(words_of(one).find("(1 time); 1 parked; 1 loop refused;"), std::string::npos);
}

TEST(OutageWords, do_not_tell_the_usual_question_to_the_agent_and_the_crash_that_is_the_cause) {
    outage one;
    one.cause = outage_cause::crash;
    one.signal = 11;
    one.crashes = 1;
    one.agent_waits = 1;
    EXPECT_EQ(words_of(one), "the worker was killed by signal 11");
    one.crashes = 2;
    EXPECT_EQ(words_of(one), "the worker was killed by signal 11; 2 crashes");
}

TEST(OutageWords, end_with_the_room_for_them) {
    outage one;
    one.cause = outage_cause::unseen;
    one.timeouts = 1;
    std::array<char, 16> text{};
    outage_words(one, text);
    EXPECT_STREQ(text.data(), " was found with");
}

class OutageTest : public ctl_test::StoryTest {
protected:
    /// The node is out at 100 s, and ready again over ath1 at 200.
    std::string words_until_ready() {
        change(190, "ath1", 0, 3);
        change(191, "ath1", 3, 4);
        change(200, "ath1", 4, 7);
        return heard.outages.size() == 1 ? words()
                                         : "outages: " + std::to_string(heard.outages.size());
    }
};

TEST_F(OutageTest, began_with_the_cable) {
    wired();
    unplug(100);
    EXPECT_EQ(told.counts().cable_out, 1U);
    EXPECT_EQ(words_until_ready(), "the cable was pulled; ready again over ath1");
}

TEST_F(OutageTest, lets_every_station_begin_anew_after_the_cable) {
    ready();
    say(99, "wifi_backhaul_recover : Enter");
    EXPECT_EQ(told.link_find("ath0")->state, INIT);
    change(100, "ath0", 0, 3);
    EXPECT_TRUE(heard.findings.empty());
}

TEST_F(OutageTest, began_with_a_move_to_a_better_ap) {
    ready();
    say(100, "wifi_slave_event_process : ifname ath0 event 7");
    change(100, "ath0", 7, 5);
    say(130, "Disconnect with : 02:00:00:00:01:04");
    say(220,
        "wifi_slave_event_process : Connecting to target AP timeout, try to connect by default");
    change(220, "ath0", 5, 3);
    EXPECT_EQ(told.counts().moves_failed, 1U);
    change(230, "ath0", 3, 4);
    change(240, "ath0", 4, 7);
    EXPECT_EQ(words(), "ath0 moved to a better AP; ready again over ath0");
}

TEST_F(OutageTest, began_unseen) {
    ready();
    say(100, "interface_timeout_chk : backhaul(ath0) is discconnected, try to reconnect");
    say(100, "wifi_slave_event_process : ifname ath0 event 2");
    change(100, "ath0", 7, 3);
    EXPECT_EQ(words_until_ready(),
              "ath0 was found without its AP, no event had told; ready again over ath1");
}

TEST_F(OutageTest, began_with_the_end_of_a_worker) {
    ready();
    say(100, "normal termination : 1");
    say(101, "<-- backhaul_monitor start -->");
    EXPECT_EQ(told.counts().ends, 1U);
    EXPECT_EQ(words_until_ready(), "the worker ended by itself; ready again over ath1");
}

TEST_F(OutageTest, began_with_a_quiet_restart) {
    ready();
    say(101, "<-- backhaul_monitor start -->");
    EXPECT_EQ(words_until_ready(),
              "the worker was restarted quietly, or the node was; ready again over ath1");
}

TEST_F(OutageTest, counts_what_keeps_the_node_out) {
    ready();
    lose(100);
    say(101, "wifi_slave_event_process : Not configured, wait a moment");
    say(102, "dev_intf_enable_set : wpa_cli fail, try again");
    say(103, "dev_intf_enable_set : wpa_cli fail, try again");
    say(110, "abnormal termination : 11");
    say(111, "<-- backhaul_monitor start -->");
    EXPECT_EQ(
        words_until_ready(),
        "ath0 lost its AP 02:00:00:00:01:04; the supplicant refused 2 times; no SSID or key 1 "
        "times; 1 crashes; ready again over ath1");
}

TEST_F(OutageTest, knows_a_log_that_begins_while_the_node_is_ready) {
    change(50, "ath0", 7, 3);
    ASSERT_NE(told.outage_now(), nullptr);
    EXPECT_EQ(told.outage_now()->cause, outage_cause::unknown);
    EXPECT_EQ(told.link_find("ath0")->armed_at, 50);
}

TEST_F(OutageTest, of_a_parked_station_is_none_while_another_is_ready) {
    ready();
    change(50, "ath1", 0, 3);
    say(60, "wifi_slave_event_process : ifname ath1 event 5");
    say(60, "backhaul_slave_wifi_loop_handle : Enter");
    change(60, "ath1", 3, 6);
    EXPECT_EQ(told.counts().loops, 1U);
    EXPECT_TRUE(told.link_find("ath1")->loop);
    EXPECT_FALSE(told.link_find("ath1")->losses_known);
    EXPECT_EQ(told.outage_now(), nullptr);
}

// --- Radar: the access point of the upper 5 GHz band that goes off.

TEST_F(OutageTest, is_none_when_an_access_point_goes_off_for_radar) {
    ready();
    say(100, "backhaul_dfs_check : dfs_count 1 state 10");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_MONITORING);
    say(200, "device_dfs_monitoring : Disable ath20");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_BLOCKING);
    EXPECT_EQ(told.link_find("ath20")->armed_at, 200);
    EXPECT_EQ(told.counts().radar_off, 1U);
    say(2601, "device_dfs_blocking : Enable ath20");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_MONITORING);
    EXPECT_EQ(told.link_find("ath20")->armed_at, 2601);
    EXPECT_EQ(told.outage_now(), nullptr);
    EXPECT_TRUE(heard.findings.empty());
}

TEST_F(OutageTest, takes_the_third_radar_for_the_begin_of_a_look_at_it) {
    say(0, "<-- backhaul_monitor start -->");
    say(100, "backhaul_dfs_check : dfs_count 3 state 0");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_MONITORING);
    EXPECT_EQ(told.link_find("ath20")->armed_at, 100);
    say(101, "backhaul_dfs_check : dfs_count 4 state 11");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_BLOCKING);
    say(102, "backhaul_dfs_check : dfs_count 4 state 99");
    EXPECT_EQ(told.link_find("ath20")->state, DFS_BLOCKING);
}

}  // namespace
