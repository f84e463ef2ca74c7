// The rules, each with what keeps it, what breaks it, and what breaks it in a known way.
#include "lab/rules/rules.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

class Rules : public ::testing::Test {
protected:
    Rules() {
        node.name = "e1";
        node.interfaces = {{"ath0", "BACKHAUL_STA", 30},
                           {"ath1", "BACKHAUL_STA", 20},
                           {"ath20", "BACKHAUL_AP", 0},
                           {"eth", "ETHERNET", 0}};
        node.worker_pid = 100;
        node.status_exists = true;
        node.status_text = "not ready\n";
    }

    // Looks once now, with these new log lines; at `other`, too, when it has a name.
    void look(const std::vector<std::string>& lines = {}) {
        node.log.clear();
        for (const std::string& line : lines) {
            node.log.push_back({time, line});
        }
        Observation observation{time, {node}};
        if (!other.name.empty()) {
            observation.nodes.push_back(other);
        }
        for (const Violation& violation : rules_check(&memory, observation)) {
            all.push_back(violation);
            found.push_back(violation.rule + ": " + violation.text +
                            (violation.known.empty() ? "" : " (" + violation.known + ")"));
        }
    }

    // Looks once a second.
    void pass(int seconds) {
        for (int second = 0; second < seconds; ++second) {
            ++time;
            look();
        }
    }

    // The worker starts and 40 s later has its backhaul on ath0.
    void begin_ready() {
        look({"<-- backhaul_monitor start -->"});
        time += 40;
        node.status_text = "ready\n";
        node.uplinks = {"ath0"};
        node.service_aps_up = {"ath10"};
        look({change("ath0", 0, 3), change("ath0", 3, 4), change("ath0", 4, 7)});
        EXPECT_EQ(taken(), Texts{});
    }

    static std::string change(const std::string& interface, int from, int requested) {
        return "backhaul_intf_state_change : change " + interface + " state from " +
               std::to_string(from) + " to " + std::to_string(requested);
    }

    static std::string event(const std::string& interface, int event) {
        return "wifi_slave_event_process : ifname " + interface + " event " + std::to_string(event);
    }

    using Texts = std::vector<std::string>;

    // What was found since the last call.
    Texts taken() {
        Texts texts;
        texts.swap(found);
        return texts;
    }

    RulesMemory memory;
    NodeObservation node;
    NodeObservation other;
    std::int64_t time = 1000;
    Texts found;
    std::vector<Violation> all;
};

TEST_F(Rules, find_nothing_in_a_quiet_life) {
    begin_ready();
    pass(600);
    EXPECT_EQ(taken(), Texts{});
}

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

TEST_F(Rules, ready_needs_root_tells_who_is_ready_and_gets_through_to_nobody) {
    begin_ready();
    node.reaches_root = false;
    node.above = "e2";
    pass(61);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2"}));
    pass(539);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(),
              (Texts{"no-island: ready for over 600 s without a way to a root, below e2"}));
}

TEST_F(Rules, ready_needs_root_is_content_with_a_way_now_and_then) {
    begin_ready();
    for (int round = 0; round < 20; ++round) {
        node.reaches_root = false;
        pass(60);
        node.reaches_root = true;
        pass(1);
    }
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, ready_needs_root_knows_two_that_met_below_each_other) {
    begin_ready();
    node.reaches_root = false;
    node.above = "e2";
    other.name = "e2";
    other.worker_pid = 200;
    other.reaches_root = false;
    other.above = "e1";
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2 (extenders that lost the root met and stay ready below "
                              "each other)"}));
}

TEST_F(Rules, ready_needs_root_knows_a_cable_above_that_leads_nowhere) {
    begin_ready();
    node.reaches_root = false;
    node.above = "e2";
    other.name = "e2";
    other.worker_pid = 200;
    other.uplinks = {"eth"};
    other.reaches_root = false;
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2 (a cable is taken as the backhaul wherever it leads)"}));
}

TEST_F(Rules, ready_needs_root_excuses_nobody_below_a_node_that_does_nothing) {
    begin_ready();
    node.reaches_root = false;
    node.above = "e2";
    other.name = "e2";
    other.worker_pid = 200;
    other.reaches_root = false;
    pass(62);
    EXPECT_EQ(taken(), (Texts{"ready-needs-root: ready for over 60 s without a way to a root, "
                              "below e2"}));
}

TEST_F(Rules, liveness_tells_who_hears_a_way_and_is_not_ready) {
    look({"<-- backhaul_monitor start -->", change("ath0", 0, 3), change("ath0", 3, 16)});
    node.stations = {{"ath0"}, {"ath1", true, true, false, true}};
    const auto limit = static_cast<int>(liveness_seconds(2));
    pass(limit + 1);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"liveness: not ready " + std::to_string(limit) +
                              " s after the last trouble, while it hears a way to the root"}));
}

TEST_F(Rules, liveness_begins_anew_with_every_trouble_and_every_silence) {
    look({"<-- backhaul_monitor start -->"});
    node.stations = {{"ath0", true, true, false, true}};
    const auto limit = static_cast<int>(liveness_seconds(1));
    pass(limit);
    node.troubled_at = time + 1;
    pass(limit);
    node.stations[0].hears_root = false;
    pass(1);
    node.stations[0].hears_root = true;
    pass(limit);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, liveness_knows_a_parked_station_only_when_no_other_hears_a_way) {
    begin_ready();
    node.status_text = "not ready\n";
    node.service_aps_up.clear();
    node.uplinks.clear();
    look({change("ath0", 7, 6)});
    node.stations = {{"ath0", true, true, false, false}, {"ath1"}};
    pass(static_cast<int>(liveness_seconds(2)) + 2);
    const Texts texts = taken();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0].ends_with("(the only station that hears a way to the root is parked)"));
    node.troubled_at = time;
    node.stations[1] = {"ath1", true, true, false, true};
    look();
    pass(static_cast<int>(liveness_seconds(2)) + 2);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[1].known, "");
}

TEST_F(Rules, liveness_tells_a_station_that_connects_and_does_not_search) {
    begin_ready();
    node.status_text = "not ready\n";
    node.service_aps_up.clear();
    node.uplinks.clear();
    look({event("ath0", 2), change("ath0", 7, 3)});
    node.stations = {{"ath0", true, true, false, true}};
    pass(61);
    EXPECT_EQ(taken(), Texts{});
    pass(1);
    EXPECT_EQ(taken(), (Texts{"liveness: ath0 connects, hears a way to the root and joins nobody "
                              "for 60 s"}));
}

TEST_F(Rules, believe_a_cause_only_as_often_as_its_budget_allows) {
    begin_ready();
    const int budget = cause_row(Cause::status_emptied).budget;
    const int hour = 3600 / (budget + 1);
    ASSERT_GT(hour, 2);
    for (int round = 0; round <= budget; ++round) {
        NodeObservation one = node;
        one.name = "n" + std::to_string(round);
        one.log.clear();
        one.status_text = "";
        time += 1;
        const std::vector<Violation> violations = rules_check(&memory, {time, {one}});
        ASSERT_EQ(violations.size(), 1U);
        EXPECT_EQ(violations[0].known.empty(), round == budget) << round;
    }
    const std::vector<CauseCount> counts = causes_count(memory.causes);
    ASSERT_EQ(counts.size(), 1U);
    EXPECT_EQ(counts[0].row->name, "status-emptied");
    EXPECT_EQ(counts[0].times, budget + 1);
    EXPECT_EQ(counts[0].most, budget + 1);
}

TEST(Causes, count_breaches_that_follow_one_another_as_one_time) {
    CauseHistories histories;
    for (std::int64_t time = 0; time < 1000; time += 120) {
        cause_note(&histories, Cause::unplaced, "e1", time);
    }
    cause_note(&histories, Cause::unplaced, "e1", 2000);
    cause_note(&histories, Cause::unplaced, "e2", 2000);
    cause_note(&histories, Cause::unplaced, "e1", 9000);
    const std::vector<CauseCount> counts = causes_count(histories);
    ASSERT_EQ(counts.size(), 1U);
    EXPECT_EQ(counts[0].times, 4);
    EXPECT_EQ(counts[0].most, 3);
}

TEST_F(Rules, begin_anew_with_a_reboot) {
    begin_ready();
    node.powered = false;
    pass(3);
    node.powered = true;
    node.worker_pid = 100000;
    node.status_exists = false;
    node.uplinks.clear();
    node.service_aps_up.clear();
    look({"<-- backhaul_monitor start -->", change("ath0", 0, 3)});
    pass(20);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, are_counted_by_name_with_known_breaches_apart) {
    begin_ready();
    node.status_text = "x";
    pass(1);
    node.status_text = "";
    pass(1);
    const std::vector<RuleCount> counts = rules_count(all);
    ASSERT_EQ(counts.size(), 13U);
    EXPECT_EQ(counts[0].rule, "status-text");
    EXPECT_EQ(counts[0].unknown, 1);
    EXPECT_EQ(counts[0].known, 1);
    EXPECT_EQ(counts[1].unknown + counts[1].known, 0);
    EXPECT_EQ(all[0].node, "e1");
    EXPECT_EQ(all[0].time, 1041);
}

}  // namespace
}  // namespace lab
