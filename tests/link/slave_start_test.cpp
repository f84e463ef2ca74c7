// The extender's start, the way to the cable and back, network reload and a late agent.

#include "link/slave_start.h"

#include "device/association.h"
#include "intf/intf_timer.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "link/autoconfig_timeout.h"
#include "link/eth_switch.h"
#include "link/network_reload.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class SlaveStart : public LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
        runtime.best_backhaul_sta = nullptr;
        for (intf_record* record : {ath0, ath1, eth}) {
            record->state = CONNECT_PENDING;
        }
        harness::put_file("/tmp/backhaul_status", "ready\n");
    }

    const Journal first_start =
        joined({event("ath0", 0),
                {"wifi_slave_event_process : INIT", "$ uci get wireless.ath0.ssid",
                 "$ uci get wireless.ath0.WPAPSKkey",
                 "wifi_slave_event_process : intf configured change to CONNECTING_BACKHAUL_AP"},
                led("BackhaulDisConnect"),
                change("ath0", 0, 3),
                station_on("ath0")});
};

TEST_F(SlaveStart, shuts_the_aps_and_starts_the_preferred_station_after_ten_seconds) {
    backhaul_slave_init();
    expect_journal({ap_off("ath10"),
                    ap_off("ath11"),
                    ap_off("ath14"),
                    {"dev_intf_enable_set : disable ath20", "$ uci set wireless.ath20.disabled=1",
                     "$ uci commit wireless", "$ /etc/init.d/wireless restart"},
                    first_start});
    EXPECT_EQ(harness::clock_now(), START_TIME + 10);
    EXPECT_EQ(status_file(), "not ready\n");
    EXPECT_EQ(ath0->timer_start, START_TIME + 10);
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(ath20->held_down, 1);
    EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
    EXPECT_EQ(timer->state, AP_TIMER_WAIT);
    EXPECT_EQ(timer->timer_start, START_TIME);
    EXPECT_EQ(runtime.intf_init_done, 1);
    EXPECT_EQ(runtime.best_backhaul_sta.get(), ath0);
}

TEST_F(SlaveStart, applies_a_configured_backhaul_ap_that_is_to_stay_up) {
    runtime.backhaul_ap_enable = 1;
    intf_record* const ath21 = intf_add("ath21", BACKHAUL_AP, BAND_5G_HIGH);
    backhaul_slave_init();
    EXPECT_THAT(journal_take(),
                ElementsAreArray(
                    joined({ap_off("ath10"),
                            ap_off("ath11"),
                            ap_off("ath14"),
                            {"$ uci get wireless.ath20.ssid", "$ uci get wireless.ath20.WPAPSKkey",
                             "$ /etc/init.d/wireless restart", "$ uci get wireless.ath21.ssid"},
                            first_start})));
    EXPECT_EQ(ath20->held_down, 0);
    EXPECT_EQ(ath21->held_down, 0);
}

TEST_F(SlaveStart, makes_the_first_of_two_equal_stations_the_preferred_one) {
    ath1->priority = ath0->priority;
    backhaul_slave_init();
    EXPECT_EQ(runtime.best_backhaul_sta.get(), ath0);
}

TEST_F(SlaveStart, leaves_predefined_and_unknown_types_untouched) {
    intf_record* const predefined = intf_add("ath2", PRE_DEF_AP, BAND_24G);
    intf_record* const unknown = intf_add("x", INTF_TYPE_OTHER, BAND_24G);
    predefined->state = CONNECTING_TARGET_BACKHAUL_AP;
    unknown->state = CONNECT_PENDING;
    backhaul_slave_init();
    EXPECT_EQ(predefined->state, 5);
    EXPECT_EQ(unknown->state, 6);
    for (const std::string& line : journal_take()) {
        EXPECT_EQ(line.find("ath2."), std::string::npos) << line;
    }
}

TEST_F(SlaveStart, survives_a_profile_without_a_station) {
    ath0->type = INTF_TYPE_OTHER;
    ath1->type = INTF_TYPE_OTHER;
    backhaul_slave_init();
    EXPECT_EQ(runtime.best_backhaul_sta.get(), nullptr);
    EXPECT_EQ(runtime.intf_init_done, 1);
}

class EthSwitch : public LinkTest {};

TEST_F(EthSwitch, keeps_the_configuration_of_a_ready_station) {
    enter(ath0, BACKHAUL_READY);
    runtime.backhaul_sta_num = 1;
    runtime.backup_backhaul_sta = ath1;
    harness::put_file("/tmp/backhaul_status", "ready\n");
    wifi_slave_eth_detect();
    expect_journal({{"wifi_slave_eth_detect : Enter"},
                    change("eth", 13, 15),
                    change("ath0", 7, 16),
                    station_off("ath0"),
                    bcast("ath0", "disable"),
                    station_off("ath1"),
                    bcast("ath1", "disable")});
    EXPECT_EQ(eth->state, ETH_BACKHAUL_READY);
    EXPECT_EQ(eth->timer_type, 1);
    EXPECT_EQ(ath0->state, ETH_BACKHAUL_STANDBY);
    EXPECT_EQ(ath0->timer_type, 0);
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(runtime.backhaul_sta_num, 0);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
    EXPECT_EQ(runtime.eth_backhaul_active, 1);
    EXPECT_EQ(status_file(), "ready\n") << "the status file keeps its text";
}

TEST_F(EthSwitch, configures_over_the_cable_for_each_station_that_was_connecting) {
    enter(ath0, CONNECTING_BACKHAUL_AP);
    enter(ath1, CONNECT_WITH_BACKHAUL_AP);
    // Counted down to 0 before the LED is asked: with 2 links it would not show the cable.
    runtime.backhaul_sta_num = 2;
    wifi_slave_eth_detect();
    expect_journal({{"wifi_slave_eth_detect : Enter"},
                    agent_reload(),
                    change("eth", 13, 14),
                    led("BackhaulConnect"),
                    change("ath0", 3, 16),
                    station_off("ath0"),
                    bcast("ath0", "disable"),
                    agent_reload(),
                    change("eth", 14, 14),
                    led("BackhaulConnect"),
                    change("ath1", 4, 16),
                    station_off("ath1"),
                    bcast("ath1", "disable")});
    EXPECT_EQ(eth->state, ETH_BACKHAUL_CONNECTED);
}

TEST_F(EthSwitch, leaves_the_cable_down_while_the_stations_are_idle_and_ends_their_retry) {
    enter(ath0, INIT);
    wifi_slave_eth_detect();
    EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
    EXPECT_EQ(ath0->state, INIT);
    EXPECT_EQ(ath0->timer_type, 0);
}

TEST_F(EthSwitch, only_switches_stations_off_that_are_neither_connecting_nor_linked) {
    for (int32_t state :
         {INIT, CONNECTING_TARGET_BACKHAUL_AP, CONNECT_PENDING, ETH_BACKHAUL_STANDBY}) {
        enter(ath0, state);
        wifi_slave_eth_detect();
        EXPECT_THAT(journal_take(), ElementsAreArray(joined({{"wifi_slave_eth_detect : Enter"},
                                                             station_off("ath0"),
                                                             bcast("ath0", "disable"),
                                                             station_off("ath1"),
                                                             bcast("ath1", "disable")})))
            << state;
        EXPECT_EQ(ath0->state, state);
        EXPECT_EQ(ath0->timer_type, 0);
        EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
    }
}

TEST_F(EthSwitch, flags_the_cable_even_without_a_record_for_it) {
    eth->name = {"lan"};
    enter(ath0, BACKHAUL_READY);
    runtime.backhaul_sta_num = 1;
    wifi_slave_eth_detect();
    expect_journal({{"wifi_slave_eth_detect : Enter", "wifi_slave_eth_detect : eth_intf is NULL"}});
    EXPECT_EQ(runtime.eth_backhaul_active, 1);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
}

TEST_F(EthSwitch, goes_back_to_wifi_when_the_cable_is_lost) {
    runtime.eth_backhaul_active = 1;
    enter(eth, ETH_BACKHAUL_READY);
    ath0->state = ETH_BACKHAUL_STANDBY;
    enter(ath1, CONNECT_PENDING);
    harness::put_file("/tmp/backhaul_status", "ready\n");
    wifi_backhaul_recover();
    EXPECT_THAT(
        journal_take(),
        ElementsAreArray(
            joined({{"wifi_backhaul_recover : Enter"},
                    change("eth", 15, 13),
                    ap_off("ath10"),
                    ap_off("ath11"),
                    ap_off("ath14"),
                    event("ath0", 0),
                    {"wifi_slave_event_process : INIT", "$ uci get wireless.ath0.ssid",
                     "$ uci get wireless.ath0.WPAPSKkey",
                     "wifi_slave_event_process : intf configured change to CONNECTING_BACKHAUL_AP"},
                    led("BackhaulDisConnect"),
                    change("ath0", 0, 3),
                    station_on("ath0")})));
    EXPECT_EQ(runtime.eth_backhaul_active, 0);
    EXPECT_EQ(eth->state, ETH_BACKHAUL_DOWN);
    EXPECT_EQ(eth->timer_type, 0);
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(ath1->timer_type, 0);
    EXPECT_EQ(status_file(), "ready\n") << "the status file keeps its text";
    EXPECT_EQ(harness::file_text("/tmp/backhaul_type"), "wifi\n");
}

TEST_F(EthSwitch, survives_a_lost_cable_on_a_node_without_stations_or_record) {
    runtime.best_backhaul_sta = nullptr;
    wifi_backhaul_recover();
    EXPECT_EQ(runtime.eth_backhaul_active, 0);
    static_cast<void>(journal_take());
    eth->name = {"lan"};
    wifi_backhaul_recover();
    expect_journal({{"wifi_backhaul_recover : Enter", "wifi_backhaul_recover : eth_intf is NULL"}});
}

class LinkRecovery : public LinkTest {};

TEST_F(LinkRecovery, gives_linked_stations_one_loss_of_credit_at_a_network_reload) {
    ath0->state = BACKHAUL_READY;
    ath1->state = CONNECT_WITH_BACKHAUL_AP;
    ath1->disconnect_count = 2;
    backhaul_network_reload_handle();
    expect_journal({{"backhaul_network_reload_handle : Enter",
                     "backhaul_network_reload_handle : intf(ath0) disconnect_count -1",
                     "backhaul_network_reload_handle : intf(ath1) disconnect_count 1"}});
    backhaul_network_reload_handle();
    EXPECT_EQ(ath0->disconnect_count, -1) << "no second credit";
    EXPECT_EQ(ath1->disconnect_count, 0);
}

TEST_F(LinkRecovery, gives_no_credit_to_stations_without_a_link) {
    for (int32_t state : {0, 3, 5, 6, 16}) {
        ath0->state = static_cast<link_state>(state);
        backhaul_network_reload_handle();
        EXPECT_THAT(journal_take(), ElementsAre("backhaul_network_reload_handle : Enter")) << state;
        EXPECT_EQ(ath0->disconnect_count, 0);
    }
}

TEST_F(LinkRecovery, reconnects_a_station_that_is_lost_while_the_agent_is_late) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    runtime.backhaul_sta_num = 1;
    ath0->uplink_scan_count = 3;
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    backhaul_auto_config_timeout_handle(ath0);
    expect_journal({{"$ iwconfig ath0 | grep Not-Associated > /tmp/iw_result",
                     "backhaul_auto_config_timeout_handle : backhaul sta lost connection, try to "
                     "connect again"},
                    led("BackhaulDisConnect"),
                    change("ath0", 4, 3),
                    station_reconnect("ath0")});
    EXPECT_EQ(runtime.backhaul_sta_num, 0);
    EXPECT_EQ(ath0->uplink_scan_count, 3);
    EXPECT_EQ(ath0->disconnect_count, 0);
}

TEST_F(LinkRecovery, never_counts_links_below_0) {
    enter(ath0, CONNECT_WITH_BACKHAUL_AP);
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    backhaul_auto_config_timeout_handle(ath0);
    EXPECT_EQ(runtime.backhaul_sta_num, 0);
}

TEST_F(LinkRecovery, takes_a_first_word_of_any_length_for_not_associated) {
    lab::answer_push("", "iwconfig", std::string(3000, 'a') + "Not-Associated");
    EXPECT_EQ(backhaul_sta_is_associated(ath0), 0);
}

TEST_F(LinkRecovery, counts_an_answer_that_cannot_be_opened_as_associated) {
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    EXPECT_EQ(backhaul_sta_is_associated(ath0), 0);
    unlink("/tmp/iw_result");
    harness::put_file("/tmp/iw_result/kept", "");
    EXPECT_EQ(backhaul_sta_is_associated(ath0), 1);
}

}  // namespace
