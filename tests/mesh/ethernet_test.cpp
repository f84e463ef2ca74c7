// The cable: events of the Ethernet agent on the real daemon, and what its children inherit.

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/mesh/mesh_story.h"

namespace {

constexpr char REPLY[] = "/tmp/eth_backhaul_fifo";
constexpr char TYPE[] = "/tmp/backhaul_type";

class Ethernet : public MeshStory {
protected:
    const Lines detect_reply = {"backhaul_eth_event_handle : recv event eth_detect",
                                "$ echo eth_detect_reply > /tmp/eth_backhaul_fifo",
                                "wifi_slave_eth_detect : Enter"};
    /// The cable carries the link: both stations go, and everybody learns where the node is now.
    const Lines wifi_left =
        joined({station_off("ath0"), bcast("ath0", "disable"), station_off("ath1"),
                bcast("ath1", "disable"), message_sent("FLUSHFORWARDING"), tables_flushed()});
};

TEST_F(Ethernet, takes_the_cable_while_the_station_is_ready) {
    start_ready_extender();
    command("eth_detect\n");
    expect_journal(joined({detect_reply, change("eth", 13, 15), change("ath0", 7, 16), wifi_left}));
    EXPECT_EQ(heard(), std::vector<std::string>{"FLUSHFORWARDING"});
    expect_file(REPLY, "eth_detect_reply\n");
    expect_file(TYPE, "ethernet\n");
    expect_status("ready\n");
}

TEST_F(Ethernet, configures_over_the_cable_when_the_station_was_still_connecting) {
    start_extender();
    admit();
    advance(10);
    skip();
    command("eth_detect\n");
    expect_journal(joined({detect_reply, agent_reload(), change("eth", 13, 14),
                           led("BackhaulConnect"), change("ath0", 3, 16), wifi_left}));
    // Nothing asks the agent until 15 seconds have passed; then every second until it succeeds.
    lab::agent_mode_set(router().root(), lab::AgentMode::never);
    advance(15);
    expect_journal({});
    const Lines again =
        joined({{"interface_timeout_chk : eth -> CONNECT_WITH_BACKHAUL_AP timeout"},
                event("eth", 5),
                {"wifi_slave_event_process(eth) : try to sync Service AP settings again"},
                hyd_check(),
                message_sent("FLUSHFORWARDING"),
                agent_start()});
    advance(1);
    expect_journal(again);
    advance(1);
    expect_journal(again);
    lab::agent_mode_set(router().root(), lab::AgentMode::at_once);
    advance(1);
    expect_journal(again);
    advance(1);
    expect_journal(joined({event("eth", 6),
                           {"wifi_slave_event_process(eth) : Service AP Auto Config Success"},
                           settings_reload(),
                           txpower_decrease(),
                           change("eth", 14, 15)}));
    expect_status("ready\n");
    heard();
    advance(20);
    EXPECT_EQ(heard(), std::vector<std::string>{}) << "a wired success tells nobody to scan";
}

TEST_F(Ethernet, goes_back_to_wifi_when_the_cable_is_pulled) {
    start_ready_extender();
    command("eth_detect\n");
    router().remove_file(REPLY);
    heard();
    skip();
    command("eth_lost\n");
    expect_journal(
        joined({{"backhaul_eth_event_handle : recv event eth_lost",
                 "$ echo eth_lost_reply > /tmp/eth_backhaul_fifo", "wifi_backhaul_recover : Enter"},
                change("eth", 15, 13),
                ap_off_already("ath10"),
                ap_off_already("ath11"),
                first_start("ath0")}));
    expect_file(REPLY, "eth_lost_reply\n");
    expect_file(TYPE, "wifi\n");
    expect_status("ready\n");
    EXPECT_EQ(heard(), std::vector<std::string>{});
    driver().associated("ath0", ap(1));
    expect_status("connected\n");
    advance(20);
    expect_status("ready\n");
}

TEST_F(Ethernet, alternates_any_number_of_times) {
    start_ready_extender();
    for (int round = 0; round < 5; ++round) {
        command("eth_detect\n");
        expect_state("eth", 15);
        expect_state("ath0", 16);
        command("eth_lost\n");
        expect_state("eth", 13);
        expect_state("ath0", 3);
        driver().associated("ath0", ap(1));
        advance(20);
        expect_state("ath0", 7);
        expect_status("ready\n");
    }
}

TEST_F(Ethernet, refuses_the_cable_without_a_reply_until_the_interfaces_are_classified) {
    add_extender();
    // The socket thread runs while the slave start still shuts the service APs.
    lab::answer_hold(router().root(), "uci.get", "slow");
    router().start();
    skip();
    command("eth_detect\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_detect",
                "backhaul_eth_event_handle : intf not finish to init"});
    expect_no_file(REPLY);
    expect_no_file(TYPE);
    lab::gate_open(router().root(), "slow");
    advance(1);
    skip();
    command("eth_detect\n");
    expect_file(REPLY, "eth_detect_reply\n");
}

TEST_F(Ethernet, starts_the_cable_with_the_first_start_when_it_came_during_the_pause) {
    start_extender();
    admit();
    skip();
    command("eth_detect\n");
    expect_journal(joined({detect_reply, wifi_left}));
    advance(10);
    expect_journal(joined({event("ath0", 0),
                           state_line("INIT"),
                           {"wifi_slave_event_process : ethernet backhaul exists"},
                           agent_reload(),
                           change("eth", 13, 14),
                           led("BackhaulConnect"),
                           change("ath0", 0, 16)}));
    expect_file(TYPE, "ethernet\n");
}

TEST_F(Ethernet, switches_a_parked_station_off_that_associates_while_the_cable_carries_the_link) {
    start_ready_extender();
    command("eth_detect\n");
    skip();
    driver().associated("ath0", ap(1));
    expect_journal(joined({driver_up("ath0", ap(1)), station_off("ath0")}));
}

TEST_F(Ethernet, answers_a_lost_cable_before_the_first_start) {
    start_extender();
    skip();
    command("eth_lost\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_lost", "wifi_backhaul_recover : Enter",
                "backhaul_intf_state_change : change eth state from 13 to 13", "...",
                "wifi_slave_event_process : ifname ath0 event 0", "..."});
    expect_file(REPLY, "eth_lost_reply\n");
}

TEST_F(Ethernet, answers_a_lost_cable_on_a_root_with_and_without_a_record_for_it) {
    start_root();
    skip();
    command("eth_lost\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_lost", "wifi_backhaul_recover : Enter",
                "backhaul_intf_state_change : change eth state from 0 to 13",
                "dev_intf_enable_set : disable ath10", "dev_intf_enable_set : disable ath11",
                "dev_intf_enable_set : disable ath22", "dev_intf_enable_set : disable ath23"});
    expect_file(REPLY, "eth_lost_reply\n");
    const pid_t worker = router().daemon().worker();
    router().put_file("/tmp/wifi_if_profile", "ath10 MAIN_SERVICE_AP 5l 0 0\n");
    router().kill_worker(10);
    advance(1);
    EXPECT_NE(router().daemon().worker(), worker);
    skip();
    command("eth_lost\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_lost", "wifi_backhaul_recover : Enter",
                "wifi_backhaul_recover : eth_intf is NULL"});
    command("eth_detect\n");
    expect_log({"backhaul_eth_event_handle : recv event eth_detect",
                "backhaul_eth_event_handle : eth_intf not found"});
    EXPECT_NE(router().daemon().worker(), 0);
}

TEST_F(Ethernet, hands_no_descriptor_to_what_it_runs) {
    start_ready_extender();
    lab::hyd_running_set(router().root(), false);
    command("eth_detect\n");
    command("eth_lost\n");
    driver().associated("ath0", ap(1));
    expect_shell({"...", "/etc/init.d/hyd restart", "..."});
    size_t looked_at = 0;
    for (const lab::LineRecord& record : lab::line_records(router().root())) {
        EXPECT_TRUE(record.stamp.descriptors.empty())
            << record.line << " inherited " << testing::PrintToString(record.stamp.descriptors);
        ++looked_at;
    }
    EXPECT_GT(looked_at, 100U);
    for (const lab::CallRecord& call : lab::call_records(router().root())) {
        if (call.tool == "hyd") {
            EXPECT_TRUE(call.stamp.descriptors.empty())
                << testing::PrintToString(call.stamp.descriptors);
        }
    }
}

}  // namespace
