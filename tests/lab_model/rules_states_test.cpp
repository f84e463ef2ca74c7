// The rules about the log and the states that it tells.

#include "tests/lab_model/rules_fixture.h"

namespace lab {
namespace {

TEST_F(Rules, transitions_tell_a_change_that_the_table_does_not_know) {
    begin_ready();
    time += 1;
    look({change("ath0", 3, 4), change("ath0", 4, 7)});
    EXPECT_EQ(taken(), (Texts{"transitions: ath0 was in state 3, but by the expected table in 7"}));
}

TEST_F(Rules, transitions_keep_quiet_when_lines_were_lost) {
    begin_ready();
    time += 1;
    node.log_lines_lost = true;
    look({change("ath0", 3, 4), change("ath0", 4, 7)});
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, time_limits_tell_a_state_that_outlives_its_timeout) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    look({change("ath0", 0, 3)});
    pass(180 + 31);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"time-limits: ath0 is in CONNECTING_BACKHAUL_AP for 212 s, the limit "
                              "is 180"}));
}

TEST_F(Rules, time_limits_know_a_supplicant_that_fails_without_end) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    look({change("ath0", 0, 3)});
    for (int second = 0; second < 220; ++second) {
        ++time;
        look({"dev_intf_enable_set : wpa_cli fail, try again"});
    }
    const Texts texts = taken();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0].ends_with(
        "(turning a station on repeats without limit while the supplicant fails)"))
        << texts[0];
}

TEST_F(Rules, time_limits_know_the_wait_for_the_agent_that_starts_again) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    node.uplinks = {"ath0"};
    look({change("ath0", 0, 3), change("ath0", 3, 4)});
    for (int round = 0; round < 8; ++round) {
        pass(15);
        look({change("ath0", 4, 4)});
    }
    EXPECT_EQ(taken(), (Texts{"time-limits: ath0 waits for the agent for 62 s (the 15 seconds "
                              "start again while the agent reports no success)"}));
}

TEST_F(Rules, time_limits_know_the_wired_record_that_asks_at_every_tick) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    node.uplinks = {"eth"};
    look({change("eth", 13, 14)});
    pass(60);
    EXPECT_EQ(taken(), (Texts{"time-limits: eth is in ETH_BACKHAUL_CONNECTED for 47 s, the limit "
                              "is 15 (the wired backhaul asks the agent at every tick until it "
                              "reports success)"}));
}

TEST_F(Rules, time_limits_know_a_state_that_a_reaction_left_without_a_timeout) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    look({change("ath0", 0, 3), event("ath0", 1)});
    pass(31);
    EXPECT_EQ(taken(),
              (Texts{"time-limits: ath0 is in CONNECTING_BACKHAUL_AP and no timeout is "
                     "pending (a reaction cleared the timeout and left the state alone)"}));
}

TEST_F(Rules, time_limits_tell_a_timeout_whose_reaction_did_nothing) {
    look({"<-- backhaul_monitor start -->"});
    time += 20;
    look({change("ath0", 0, 3)});
    time += 181;
    look({event("ath0", 5)});
    pass(31);
    EXPECT_EQ(taken(), (Texts{"time-limits: ath0 is in CONNECTING_BACKHAUL_AP and no timeout is "
                              "pending"}));
}

TEST_F(Rules, time_limits_let_ready_and_parked_stations_rest) {
    begin_ready();
    look({change("ath1", 0, 3), change("ath1", 3, 6)});
    pass(5000);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, status_state_tells_ready_without_a_ready_record) {
    begin_ready();
    look({event("ath0", 2), change("ath0", 7, 3)});
    pass(5);
    EXPECT_EQ(taken(), (Texts{"status-state: the status file says ready, but no record is"}));
}

TEST_F(Rules, status_state_tells_a_ready_record_without_ready) {
    begin_ready();
    node.status_text = "connected\n";
    pass(5);
    EXPECT_EQ(taken(), (Texts{"status-state: a record is ready, but the status file is not"}));
}

TEST_F(Rules, status_state_knows_the_station_that_was_freed_beside_the_cable) {
    begin_ready();
    look({change("ath0", 7, 6), "wifi_slave_eth_detect : Enter", change("eth", 13, 15),
          "backhaul_slave_backhaul_restore : Enter", change("ath0", 0, 3)});
    node.status_text = "connected\n";
    pass(10);
    EXPECT_EQ(taken(), (Texts{"status-state: a record is ready, but the status file is not (a "
                              "parked station that a request to scan frees is started beside the "
                              "cable)"}));
}

TEST_F(Rules, status_state_knows_the_lost_wire) {
    begin_ready();
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15), change("ath0", 7, 16)});
    node.uplinks = {"eth"};
    pass(10);
    EXPECT_EQ(taken(), Texts{});
    look({"wifi_backhaul_recover : Enter", change("eth", 15, 13), change("ath0", 0, 3)});
    node.uplinks.clear();
    node.service_aps_up.clear();
    pass(5);
    EXPECT_EQ(taken(), (Texts{"status-state: the status file says ready, but no record is (the "
                              "recovery from a lost wire does not write the status file)"}));
}

TEST_F(Rules, status_state_knows_the_switch_to_another_ap) {
    begin_ready();
    node.status_text = "not ready\n";
    look({change("ath0", 7, 5)});
    pass(5);
    EXPECT_EQ(taken(), (Texts{"status-state: traffic passes during a switch, but the status file "
                              "is not ready (status file and state are not tied to each other "
                              "during a switch)"}));
}

TEST_F(Rules, parked_tells_a_parked_station_that_is_tried_again) {
    begin_ready();
    node.status_text = "not ready\n";
    look({event("ath0", 2), change("ath0", 7, 6), event("ath1", 5), change("ath0", 6, 3)});
    EXPECT_EQ(taken(), (Texts{"parked: ath0 is tried again while parked"}));
}

TEST_F(Rules, parked_knows_the_station_without_an_idle_backup) {
    begin_ready();
    node.status_text = "not ready\n";
    look({event("ath0", 2), change("ath0", 7, 6),
          "find_backup_backhaul_link : finding backup backhaul link", change("ath0", 6, 3)});
    EXPECT_EQ(taken(), (Texts{"parked: ath0 is tried again while parked (without an idle station "
                              "to take over, a parked one is tried at once)"}));
}

TEST_F(Rules, cable_knows_the_wire_that_was_found_while_idle) {
    look({"<-- backhaul_monitor start -->", "wifi_slave_eth_detect : Enter"});
    node.uplinks = {"eth"};
    pass(25);
    EXPECT_EQ(taken(), (Texts{"cable: the cable carries traffic, but eth is down (found while no "
                              "station was connecting or ready, the wire waits for the next start "
                              "of the preferred station)"}));
}

TEST_F(Rules, cable_tells_a_wire_that_nobody_was_told_of) {
    look({"<-- backhaul_monitor start -->"});
    node.uplinks = {"eth"};
    pass(25);
    EXPECT_EQ(taken(), (Texts{"cable: the cable carries traffic, but eth is down"}));
}

}  // namespace
}  // namespace lab
