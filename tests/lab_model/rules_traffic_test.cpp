// The rules about files, traffic and processes.

#include "tests/lab_model/rules_fixture.h"

namespace lab {
namespace {

TEST_F(Rules, status_text_tells_any_other_text_once_while_it_stays) {
    begin_ready();
    node.status_text = "redy\n";
    pass(2);
    const Texts texts = taken();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0], "status-text: the status file holds \"redy\\n\"");
    node.status_text = "ready\n";
    pass(1);
    node.status_text = "redy\n";
    pass(1);
    EXPECT_EQ(taken().size(), 1U);
}

TEST_F(Rules, status_text_knows_the_file_that_is_being_written) {
    begin_ready();
    node.status_text = "";
    pass(1);
    EXPECT_EQ(taken(), (Texts{"status-text: the status file holds \"\" (the file is emptied before "
                              "it is written)"}));
}

TEST_F(Rules, status_text_tells_once_that_the_file_is_gone) {
    node.status_exists = false;
    look({"<-- backhaul_monitor start -->"});
    pass(10);
    EXPECT_EQ(taken(), Texts{});
    node.status_exists = true;
    pass(1);
    node.status_exists = false;
    pass(10);
    EXPECT_EQ(taken(), (Texts{"status-text: the status file is gone"}));
}

TEST_F(Rules, one_uplink_is_patient_for_five_seconds) {
    begin_ready();
    node.uplinks = {"ath0", "ath1"};
    pass(6);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken().size(), 1U);
    pass(60);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, one_uplink_tells_two_that_carry_traffic) {
    begin_ready();
    look({change("ath1", 0, 3)});
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once"}));
}

TEST_F(Rules, one_uplink_knows_an_association_that_fits_no_case) {
    begin_ready();
    look({change("ath1", 0, 3), event("ath1", 1), "backhaul_connected : Unknown status"});
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once (an association that "
                              "fits no case is logged, left as it is and stays counted)"}));
}

TEST_F(Rules, one_uplink_excuses_no_other_station_by_an_association_that_fitted_no_case) {
    begin_ready();
    look({change("ath1", 0, 3), event("ath1", 1), "backhaul_connected : Unknown status"});
    look({change("ath1", 3, 4), change("ath1", 4, 7)});
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once"}));
}

TEST_F(Rules, one_uplink_does_not_take_a_backup_that_was_let_go_for_one_that_was_left_on) {
    begin_ready();
    look({change("ath1", 0, 3), change("ath1", 3, 0)});
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once"}));
}

TEST_F(Rules, one_uplink_knows_a_station_that_an_earlier_worker_left_on) {
    begin_ready();
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once (a new worker starts "
                              "one station and leaves the others as they are)"}));
}

TEST_F(Rules, one_uplink_knows_a_parked_station_that_a_scan_freed_beside_the_cable) {
    begin_ready();
    look({change("ath0", 7, 6), "wifi_slave_eth_detect : Enter", change("eth", 13, 15)});
    look({"backhaul_slave_backhaul_restore : Enter", change("ath0", 0, 3)});
    node.uplinks = {"ath0", "eth"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, eth carry traffic at once (a parked station that "
                              "a request to scan frees is started beside the cable)"}));
}

TEST_F(Rules, one_uplink_excuses_no_station_that_was_freed_before_the_cable_came) {
    begin_ready();
    look({change("ath0", 7, 6), "backhaul_slave_backhaul_restore : Enter", change("ath0", 0, 3)});
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15)});
    node.uplinks = {"ath0", "eth"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, eth carry traffic at once"}));
}

TEST_F(Rules, one_uplink_excuses_no_station_that_was_freed_without_a_cable) {
    begin_ready();
    look({change("ath0", 7, 6), change("ath1", 0, 3), change("ath1", 3, 4), change("ath1", 4, 7)});
    look({"backhaul_slave_backhaul_restore : Enter", change("ath0", 0, 3)});
    node.uplinks = {"ath0", "ath1"};
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, ath1 carry traffic at once"}));
}

TEST_F(Rules, one_uplink_knows_a_cable_of_which_nobody_told_the_new_worker) {
    begin_ready();
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15), change("ath0", 7, 16)});
    look({"<-- backhaul_monitor start -->"});
    node.uplinks = {"ath0", "eth"};
    look({change("ath0", 0, 3), change("ath0", 3, 4), change("ath0", 4, 7)});
    pass(60);
    EXPECT_EQ(taken(),
              (Texts{"one-uplink: ath0, eth carry traffic at once (a new worker does not know of "
                     "the cable until its agent tells it again)",
                     "cable: the cable carries traffic, but eth is down (a new worker does not "
                     "know of the cable until its agent tells it again)"}));
}

TEST_F(Rules, one_uplink_excuses_no_cable_of_which_the_new_worker_was_told) {
    begin_ready();
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15), change("ath0", 7, 16)});
    look({"<-- backhaul_monitor start -->"});
    look({change("ath0", 0, 3), change("ath0", 3, 4), change("ath0", 4, 7)});
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15)});
    node.uplinks = {"ath0", "eth"};
    pass(60);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, eth carry traffic at once"}));
}

TEST_F(Rules, one_uplink_excuses_no_cable_that_was_lost_before_the_new_worker) {
    begin_ready();
    look({"wifi_slave_eth_detect : Enter", change("eth", 13, 15), change("ath0", 7, 16)});
    look({"wifi_backhaul_recover : Enter", change("eth", 15, 13), change("ath0", 0, 3)});
    look({"<-- backhaul_monitor start -->"});
    node.uplinks = {"ath0", "eth"};
    look({change("ath0", 0, 3), change("ath0", 3, 4), change("ath0", 4, 7)});
    pass(10);
    EXPECT_EQ(taken(), (Texts{"one-uplink: ath0, eth carry traffic at once"}));
}

TEST_F(Rules, service_aps_tells_clients_that_are_served_without_a_backhaul) {
    begin_ready();
    node.uplinks.clear();
    pass(11);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"service-aps: ath10 up without a backhaul"}));
}

TEST_F(Rules, service_aps_gives_a_new_worker_time_to_turn_them_off) {
    node.service_aps_up = {"ath10"};
    look({"<-- backhaul_monitor start -->"});
    pass(30 + 11);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken().size(), 1U);
}

TEST_F(Rules, service_aps_knows_a_loss_during_a_switch) {
    begin_ready();
    node.status_text = "not ready\n";
    look({change("ath0", 7, 5)});
    node.uplinks.clear();
    pass(12);
    EXPECT_EQ(taken(), (Texts{"service-aps: ath10 up without a backhaul (a loss during a switch "
                              "is ignored until the switch times out)"}));
}

TEST_F(Rules, no_loop_tells_a_broadcast_that_came_twice) {
    begin_ready();
    node.broadcasts = {{"m1", 1}, {"m2", 2}};
    pass(2);
    EXPECT_EQ(taken(), (Texts{"no-loop: broadcast m2 came 2 times"}));
}

TEST_F(Rules, no_loop_knows_for_everybody_the_reason_of_the_node_that_closes_the_loop) {
    begin_ready();
    pass(1);
    node.log.clear();
    node.uplinks = {"ath0", "ath1"};
    node.broadcasts = {{"m1", 2}};
    other.name = "root";
    other.is_root = true;
    other.broadcasts = {{"m1", 3}};
    std::vector<Violation> violations = rules_check(&memory, {time, {other, node}});
    ASSERT_EQ(violations.size(), 2U);
    EXPECT_EQ(violations[0].node, "root");
    EXPECT_EQ(violations[0].known,
              "a new worker starts one station and leaves the others as they are");
    EXPECT_EQ(violations[1].known, violations[0].known);
}

TEST_F(Rules, no_loop_counts_a_loop_once_however_many_nodes_it_has) {
    begin_ready();
    pass(1);
    node.log.clear();
    node.uplinks = {"ath0", "ath1"};
    node.broadcasts = {{"m1", 2}};
    std::vector<NodeObservation> nodes = {node};
    for (const char* const name : {"root", "e2", "e3", "e4", "e5", "e6", "e7"}) {
        other.name = name;
        other.broadcasts = {{"m1", 2}};
        nodes.push_back(other);
    }
    for (const Violation& violation : rules_check(&memory, {time, nodes})) {
        EXPECT_NE(violation.known, "") << violation.node;
    }
    const std::vector<CauseCount> counts = causes_count(memory.causes);
    ASSERT_EQ(counts.size(), 1U);
    EXPECT_EQ(counts[0].times, 1);
}

TEST_F(Rules, no_loop_takes_no_reason_from_a_node_that_has_no_part_in_the_loop) {
    begin_ready();
    pass(1);
    node.log.clear();
    node.uplinks = {"ath0", "ath1"};
    node.broadcasts = {{"m1", 1}};
    other.name = "root";
    other.is_root = true;
    other.broadcasts = {{"m1", 3}};
    const std::vector<Violation> violations = rules_check(&memory, {time, {other, node}});
    ASSERT_EQ(violations.size(), 1U);
    EXPECT_EQ(violations[0].known, "");
}

TEST_F(Rules, worker_tells_an_end_that_nothing_had_caused) {
    begin_ready();
    node.worker_pid = 0;
    pass(1);
    node.worker_pid = 101;
    pass(1);
    EXPECT_EQ(taken(), (Texts{"worker: worker 100 ended and nothing had ended it"}));
}

TEST_F(Rules, worker_expects_the_end_that_a_verb_caused) {
    begin_ready();
    node.worker_pid = 0;
    node.worker_end_expected = true;
    pass(1);
    node.worker_end_expected = false;
    node.worker_pid = 101;
    pass(5);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, worker_is_checked_on_a_root_as_well) {
    node.is_root = true;
    node.status_text = "nonsense";
    look();
    node.worker_pid = 7;
    pass(1);
    EXPECT_EQ(taken(), (Texts{"worker: worker 100 ended and nothing had ended it"}));
}

}  // namespace
}  // namespace lab
