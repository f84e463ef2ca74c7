// From logs to a mesh in which the same happens from outside.
#include "lab/replay/replay_scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/scenario/scenario_parse.h"
#include "tests/lab_replay/log_of.h"

namespace {

using harness::log_of;
using lab::ReplayLog;
using lab::Scenario;

constexpr char START[] = "1000 <-- backhaul_monitor start -->";
constexpr char EXTENDER[] = "1000 loop_slave_handle : Enter";
constexpr char STATION[] = "1005 wifi_slave_event_process : ifname ath0 event 0";

ReplayLog root_log() {
    ReplayLog log = log_of({START, "1040 STA_ASSOC_WITH_AP(ath20)"});
    log.node = "top";
    return log;
}

std::string text_of(std::vector<ReplayLog> logs) {
    const std::string text = lab::scenario_print(lab::replay_scenario(logs));
    Scenario again;
    std::vector<lab::ScenarioError> errors;
    EXPECT_TRUE(lab::scenario_parse(text, &again, &errors))
        << lab::scenario_errors_text("", errors) << text;
    return text;
}

TEST(ReplayScenario, is_a_mesh_in_which_who_logged_hears_everybody) {
    ReplayLog other = log_of({START, EXTENDER, STATION});
    other.node = "e 2";
    EXPECT_EQ(text_of({log_of({START, EXTENDER, STATION}), root_log(), other}),
              "node top root\nnode e1 extender\nnode e_2 extender\n"
              "hears top e1 -55\nhears top e_2 -55\nhears e1 e_2 -65\n"
              "wait 40\n");
}

TEST(ReplayScenario, gets_a_root_where_nobody_logged_as_one) {
    EXPECT_THAT(text_of({log_of({START, EXTENDER})}),
                testing::StartsWith("node root root\nnode e1 extender\nhears root e1 -55\n"));
}

TEST(ReplayScenario, throws_a_station_off_that_was_back_at_once) {
    EXPECT_THAT(text_of({log_of({START, EXTENDER, "1030 STA_CONNECTION_DOWN",
                                 "1030 wifi_slave_event_process : ifname ath1 event 2",
                                 "1033 STA_CONNECTION_UP",
                                 "1033 wifi_slave_event_process : ifname ath1 event 1"})}),
                testing::HasSubstr("\nafter 30 deauth e1 ath1\nwait 3\n"));
}

TEST(ReplayScenario, lets_a_station_hear_nobody_for_as_long_as_it_was_away) {
    EXPECT_THAT(text_of({log_of({START, EXTENDER, "1030 STA_CONNECTION_DOWN",
                                 "1030 wifi_slave_event_process : ifname ath1 event 2",
                                 "1230 STA_CONNECTION_UP",
                                 "1230 wifi_slave_event_process : ifname ath1 event 1"})}),
                testing::HasSubstr("\nafter 30 fade e1 root none 5l\nafter 198 fade e1 root -55 5l"
                                   "\nwait 2\n"));
}

TEST(ReplayScenario, does_what_came_by_the_fifo_and_by_power) {
    EXPECT_THAT(
        text_of({log_of({START, EXTENDER, "1010 backhaul_eth_event_handle : recv event eth_detect",
                         "1020 backhaul_eth_event_handle : recv event eth_lost",
                         "1030 backhaul_slave_backhaul_restore : Enter",
                         "1040 abnormal termination : 11", "1041 <-- backhaul_monitor start -->",
                         "1041 loop_slave_handle : Enter", "1050 CHANNEL_CHANGE(ath20)",
                         "1100 <-- backhaul_monitor start -->", "1100 loop_slave_handle : Enter"}),
                 root_log()}),
        testing::HasSubstr("\nafter 10 cable-in e1\nafter 10 cable-out e1\n"
                           "after 10 command e1 uplink_scan\nafter 10 kill-worker e1 11\n"
                           "after 10 radar e1\nafter 30 reboot e1\nwait 20\n"));
}

TEST(ReplayScenario, powers_a_node_on_that_came_later) {
    ReplayLog late =
        log_of({"1100 <-- backhaul_monitor start -->", "1100 loop_slave_handle : Enter"});
    late.node = "late";
    EXPECT_THAT(text_of({root_log(), late}),
                testing::HasSubstr("\npower-off late\nafter 80 power-on late\nwait 20\n"));
}

}  // namespace
