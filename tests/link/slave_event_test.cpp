// Every reaction of the dispatcher: state and event in, the exact journal, state, timeout and
// status file out.

#include "link/slave_event.h"

#include "intf/intf_table.h"
#include "intf/intf_timer.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <thread>

namespace {

class SlaveEvent : public LinkTest {
protected:
    /// Takes a reaction's journal, which starts with the event line and, in a state that is
    /// announced, the state's name.
    void expect_reaction(intf_record* record, uint32_t number, const std::string& state_name,
                         const Journal& reaction) {
        wifi_slave_event_process(record, static_cast<slave_event>(number));
        Journal expected = event(record->name.data(), static_cast<int>(number));
        if (!state_name.empty()) {
            expected.push_back("wifi_slave_event_process : " + state_name);
        }
        expect_journal({expected, reaction});
        expect_mutex_free();
    }

    static void expect_mutex_free() {
        ASSERT_EQ(pthread_mutex_trylock(&runtime.state_mutex), 0);
        pthread_mutex_unlock(&runtime.state_mutex);
    }

    static void expect_timer(const intf_record* record, uint8_t pending) {
        EXPECT_EQ(record->timer_type, pending);
        EXPECT_EQ(record->timer_start != 0, pending != 0);
    }
};

TEST_F(SlaveEvent, logs_and_ignores_an_association_of_an_idle_station) {
    expect_reaction(ath0, ASSOC, "INIT", {});
    EXPECT_EQ(ath0->state, INIT);
    expect_timer(ath0, 0);
}

TEST_F(SlaveEvent, connects_a_configured_station) {
    expect_reaction(
        ath0, START, "INIT",
        joined({{"$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey",
                 "wifi_slave_event_process : intf configured change to CONNECTING_BACKHAUL_AP"},
                led("BackhaulDisConnect"),
                change("ath0", 0, 3),
                station_on("ath0")}));
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    expect_timer(ath0, 1);
    EXPECT_EQ(harness::file_text("/tmp/backhaul_type"), "wifi\n");
}

TEST_F(SlaveEvent, retries_an_unconfigured_station_and_leaves_the_led_alone_once_it_is_configured) {
    uci_put("ath0.ssid", "");
    for (int attempt = 0; attempt < 2; ++attempt) {
        expect_reaction(ath0, START, "INIT",
                        joined({{"$ uci get wireless.ath0.ssid",
                                 "wifi_slave_event_process : Not configured, wait a moment"},
                                change("ath0", 0, 0)}));
        EXPECT_EQ(ath0->state, INIT);
        EXPECT_EQ(ath0->timer_start, START_TIME);
        expect_timer(ath0, 1);
    }
    EXPECT_EQ(runtime.sta_unconfigured, 1);
    uci_put("ath0.ssid", "mesh-backhaul");
    expect_reaction(
        ath0, START, "INIT",
        joined({{"$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey",
                 "wifi_slave_event_process : intf configured change to CONNECTING_BACKHAUL_AP"},
                change("ath0", 0, 3),
                station_on("ath0")}));
    EXPECT_EQ(runtime.sta_unconfigured, 1);
}

TEST_F(SlaveEvent, starts_the_cable_instead_of_the_station_while_a_wired_backhaul_is_there) {
    runtime.eth_backhaul_active = 1;
    expect_reaction(ath0, START, "INIT",
                    joined({{"wifi_slave_event_process : ethernet backhaul exists"},
                            agent_reload(),
                            change("eth", 13, 14),
                            led("BackhaulConnect"),
                            change("ath0", 0, 16)}));
    EXPECT_EQ(eth->state, ETH_BACKHAUL_CONNECTED);
    expect_timer(eth, 1);
    EXPECT_EQ(ath0->state, ETH_BACKHAUL_STANDBY);
    expect_timer(ath0, 0);
    EXPECT_EQ(harness::file_text("/tmp/backhaul_type"), "ethernet\n");
}

TEST_F(SlaveEvent, keeps_the_mutex_when_a_wired_backhaul_has_no_record) {
    runtime.eth_backhaul_active = 1;
    eth->name = {"other"};
    wifi_slave_event_process(ath0, START);
    expect_journal(
        {event("ath0", 0),
         {"wifi_slave_event_process : INIT", "wifi_slave_event_process : eth_intf is NULL"}});
    EXPECT_EQ(pthread_mutex_trylock(&runtime.state_mutex), EBUSY);
    pthread_mutex_unlock(&runtime.state_mutex);
}

TEST_F(SlaveEvent, drops_a_null_record_before_the_mutex) {
    pthread_mutex_lock(&runtime.state_mutex);
    wifi_slave_event_process(nullptr, START);
    pthread_mutex_unlock(&runtime.state_mutex);
    EXPECT_TRUE(journal_take().empty());
}

TEST_F(SlaveEvent, hands_an_association_to_the_connect_handling) {
    enter(ath0, CONNECTING_BACKHAUL_AP);
    expect_reaction(ath0, ASSOC, "CONNECTING_BACKHAUL_AP",
                    joined({{"wifi_slave_event_process : ASSOC"},
                            bcast("ath0", "enable"),
                            {"backhaul_connected(ath0) : backhaul_sta_num 1"},
                            distance("ath0", 2),
                            uci_disable_all(),
                            hyd_check(),
                            {"backhaul_connected(ath0) : Sync Service AP settings"},
                            agent_reload(),
                            change("ath0", 3, 4),
                            led("BackhaulConnect")}));
    EXPECT_EQ(ath0->state, CONNECT_WITH_BACKHAUL_AP);
    expect_timer(ath0, 1);
    EXPECT_EQ(status_file(), "connected\n");
}

TEST_F(SlaveEvent, switches_a_station_off_that_did_not_associate_and_searches_a_backup) {
    enter(ath0, CONNECTING_BACKHAUL_AP);
    expect_reaction(ath0, TIMEOUT, "CONNECTING_BACKHAUL_AP",
                    joined({station_off("ath0"), backup_enabled("ath1"), change("ath0", 16, 3),
                            station_on("ath0"), led("BackhaulDisConnect")}));
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(ath1->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath1);
}

TEST_F(SlaveEvent, reconnects_a_station_that_is_lost_while_it_is_being_configured) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    harness::put_file("/tmp/backhaul_status", "connected\n");
    expect_reaction(ath0, AP_DISASSOC, "CONNECT_WITH_BACKHAUL_AP",
                    joined({{"wifi_slave_event_process : AP_DISASSOC"},
                            bcast("ath0", "disable"),
                            station_disconnect("ath0"),
                            no_link_left(),
                            ap_off("ath10"),
                            ap_off("ath11"),
                            ap_off("ath14"),
                            loss_counted("ath0", 1),
                            {"backhaul_disconnected : try to reconnect"},
                            station_reconnect("ath0"),
                            change("ath0", 4, 3),
                            led("BackhaulDisConnect")}));
    EXPECT_EQ(status_file(), "connected\n") << "state 4 lost writes no status";
}

TEST_F(SlaveEvent, makes_the_backhaul_ready_when_the_agent_succeeds) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    expect_reaction(ath0, AUTO_CONFIG_SUCCESS, "CONNECT_WITH_BACKHAUL_AP",
                    joined({{"wifi_slave_event_process(ath0) : Service AP Auto Config Success"},
                            distance("ath0", 2),
                            settings_reload(),
                            txpower_decrease(),
                            bcast("ath0", "enable"),
                            message_sent("UPLINKSCAN"),
                            change("ath0", 4, 7)}));
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
    expect_timer(ath0, 1);
    EXPECT_EQ(status_file(), "ready\n");
    EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "2\n");
}

TEST_F(SlaveEvent, asks_for_admission_instead_of_the_scan_message_before_it_is_admitted) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    runtime.backhaul_valid = 0;
    expect_reaction(ath0, AUTO_CONFIG_SUCCESS, "CONNECT_WITH_BACKHAUL_AP",
                    joined({{"wifi_slave_event_process(ath0) : Service AP Auto Config Success"},
                            distance("ath0", 2),
                            settings_reload(),
                            txpower_decrease(),
                            bcast("ath0", "enable"),
                            admission_asked_in_vain(),
                            change("ath0", 4, 7)}));
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(SlaveEvent, asks_the_agent_again_when_configuration_takes_too_long) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    expect_reaction(
        ath0, TIMEOUT, "CONNECT_WITH_BACKHAUL_AP",
        joined({{"$ iwconfig ath0 | grep Not-Associated > /tmp/iw_result",
                 "backhaul_auto_config_timeout_handle(ath0) : try to sync Service AP settings "
                 "again"},
                hyd_check(),
                bcast("ath0", "enable"),
                message_sent("FLUSHFORWARDING"),
                agent_start_all(),
                change("ath0", 4, 4)}));
    EXPECT_EQ(ath0->state, CONNECT_WITH_BACKHAUL_AP);
    expect_timer(ath0, 1);
}

TEST_F(SlaveEvent, reports_not_ready_before_anything_else_when_a_ready_backhaul_is_lost) {
    enter(ath0, BACKHAUL_READY);
    runtime.backhaul_sta_num = 1;
    harness::put_file("/tmp/backhaul_status", "ready\n");
    lab::answer_hold("", "hyctl.setifbcast", "hyctl");
    std::thread reaction([this] { wifi_slave_event_process(ath0, AP_DISASSOC); });
    const auto hyctl_runs = [] {
        const Journal lines = harness::recorded_lines();
        return !lines.empty() && lines.back() == "hyctl setifbcast br-lan ath0 disable";
    };
    EXPECT_TRUE(harness::wait_until(hyctl_runs));
    EXPECT_EQ(status_file(), "not ready\n");
    EXPECT_EQ(harness::recorded_lines().size(), 1U) << "the first line is hyd's";
    lab::gate_open("", "hyctl");
    reaction.join();
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(status_file(), "not ready\n");
}

TEST_F(SlaveEvent, reports_not_ready_before_it_switches_to_a_better_ap) {
    enter(ath0, BACKHAUL_READY);
    harness::put_file("/tmp/backhaul_status", "ready\n");
    ath0->bssid.set(AP_A);
    ath0->configured_bssid.set(AP_B);
    lab::answer_hold("", "wpa_cli.disable_network", "switch");
    std::thread reaction([this] { wifi_slave_event_process(ath0, CONFIG_BEST_AP); });
    EXPECT_TRUE(harness::wait_until([] { return !harness::recorded_lines().empty(); }));
    EXPECT_EQ(status_file(), "not ready\n");
    EXPECT_EQ(ath0->state, CONNECTING_TARGET_BACKHAUL_AP);
    lab::gate_open("", "switch");
    reaction.join();
    expect_journal(
        {event("ath0", 7),
         {"wifi_slave_event_process : BACKHAUL_READY", "wifi_slave_event_process : CONFIG_BEST_AP"},
         target_joined("ath0", "02:bb:00:00:00:02")});
    expect_timer(ath0, 1);
}

TEST_F(SlaveEvent, is_ready_again_once_the_target_ap_is_joined) {
    enter(ath0, CONNECTING_TARGET_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    ath0->bssid.set(AP_B);
    expect_reaction(ath0, ASSOC, "",
                    joined({{"wifi_slave_event_process : switch to 02:bb:00:00:00:02"},
                            distance("ath0", 2),
                            {"$ iwpriv ath20 set_whc_dist 2"},
                            change("ath0", 5, 7)}));
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(SlaveEvent, gives_a_target_ap_up_and_stops_trying_the_other_band) {
    enter(ath0, CONNECTING_TARGET_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    ath0->configured_bssid.set(AP_B);
    ath0->other_band_switching = 1;
    expect_reaction(
        ath0, TIMEOUT, "",
        joined({{"wifi_slave_event_process : Connecting to target AP timeout, try to connect by "
                 "default"},
                station_disconnect("ath0"),
                no_link_left(),
                ap_off("ath10"),
                ap_off("ath11"),
                ap_off("ath14"),
                loss_counted("ath0", 0),
                {"backhaul_disconnected : try to reconnect and clear configured bssid"},
                station_off("ath0"),
                station_on("ath0"),
                change("ath0", 5, 3),
                led("BackhaulDisConnect"),
                {"wifi_slave_event_process : Switch to other band fail, stop to try it"}}));
    EXPECT_EQ(status_file(), "not ready\n");
    EXPECT_EQ(ath0->other_band_scan_enable, 0);
    EXPECT_EQ(ath0->other_band_switching, 1);
    EXPECT_EQ(bssid_is_zero(ath0->configured_bssid.get()), 1);
}

TEST_F(SlaveEvent, allows_the_other_band_again_when_an_ordinary_switch_fails) {
    enter(ath0, CONNECTING_TARGET_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    ath0->other_band_scan_enable = 0;
    wifi_slave_event_process(ath0, TIMEOUT);
    EXPECT_EQ(ath0->other_band_scan_enable, 1);
}

TEST_F(SlaveEvent, repeats_the_wired_configuration_without_touching_the_timer) {
    enter(eth, ETH_BACKHAUL_CONNECTED);
    eth->timer_start = START_TIME - 16;
    expect_reaction(
        eth, TIMEOUT, "",
        joined({{"wifi_slave_event_process(eth) : try to sync Service AP settings again"},
                hyd_check(),
                message_sent("FLUSHFORWARDING"),
                agent_start_all()}));
    EXPECT_EQ(eth->state, ETH_BACKHAUL_CONNECTED);
    EXPECT_EQ(eth->timer_type, 1);
    EXPECT_EQ(eth->timer_start, START_TIME - 16);
}

TEST_F(SlaveEvent, makes_the_wired_backhaul_ready_without_a_scan_message) {
    enter(eth, ETH_BACKHAUL_CONNECTED);
    expect_reaction(eth, AUTO_CONFIG_SUCCESS, "",
                    joined({{"wifi_slave_event_process(eth) : Service AP Auto Config Success"},
                            settings_reload(),
                            txpower_decrease(),
                            change("eth", 14, 15)}));
    EXPECT_EQ(eth->state, ETH_BACKHAUL_READY);
    EXPECT_EQ(status_file(), "ready\n");
}

TEST_F(SlaveEvent, switches_a_parked_station_off_that_associates_anyway) {
    ath0->state = ETH_BACKHAUL_STANDBY;
    expect_reaction(ath0, ASSOC, "", station_off("ath0"));
    EXPECT_EQ(ath0->state, ETH_BACKHAUL_STANDBY);
}

TEST_F(SlaveEvent, ignores_every_other_pair_of_state_and_event) {
    struct pair {
        int32_t state;
        uint32_t number;
    };
    constexpr pair HANDLED[] = {{0, 0}, {3, 1}, {3, 5}, {4, 2},  {4, 5},  {4, 6}, {7, 2},
                                {7, 7}, {5, 1}, {5, 5}, {14, 5}, {14, 6}, {16, 1}};
    const auto is_handled = [&](int32_t state, uint32_t number) {
        return std::any_of(std::begin(HANDLED), std::end(HANDLED), [&](const pair& one) {
            return one.state == state && one.number == number;
        });
    };
    const std::string announced[17] = {
        "INIT",          "", "", "CONNECTING_BACKHAUL_AP", "CONNECT_WITH_BACKHAUL_AP", "", "",
        "BACKHAUL_READY"};
    for (int32_t state = 0; state < 17; ++state) {
        for (uint32_t number = 0; number < 9; ++number) {
            if (is_handled(state, number)) {
                continue;
            }
            enter(ath0, state);
            expect_reaction(ath0, number, announced[state], {});
            EXPECT_EQ(ath0->state, state) << number;
            expect_timer(ath0, 1);
        }
    }
}

}  // namespace
