// The timer thread's checks and the scans of the ready tick, at exact seconds of the moved clock.

#include "link/timeout_check.h"

#include "intf/intf_timer.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "link/uplink_scan.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class TimeoutCheck : public LinkTest {
protected:
    /// Arms the record in `state` now and expects nothing to happen until `limit` seconds have
    /// passed, and something one second later.
    Journal due_after(intf_record* record, int32_t state, uint32_t limit) {
        enter(record, state);
        for (const uint32_t elapsed : {uint32_t{1}, limit}) {
            interface_timeout_chk(record, START_TIME + elapsed);
            EXPECT_THAT(journal_take(), IsEmpty()) << "state " << state << " at " << elapsed;
        }
        interface_timeout_chk(record, START_TIME + limit + 1);
        return journal_take();
    }
};

TEST_F(TimeoutCheck, starts_an_idle_station_after_more_than_5_seconds) {
    EXPECT_EQ(due_after(ath0, INIT, 5).at(0), "wifi_slave_event_process : ifname ath0 event 0");
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
}

TEST_F(TimeoutCheck, gives_an_association_up_after_more_than_180_seconds) {
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    const Journal journal = due_after(ath0, CONNECTING_BACKHAUL_AP, 180);
    const Journal expected =
        joined({{"interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout",
                 "$ iwconfig ath0 | grep Not-Associated"},
                event("ath0", 5)});
    ASSERT_GE(journal.size(), expected.size());
    EXPECT_THAT(Journal(journal.begin(), journal.begin() + 3), ElementsAreArray(expected));
}

TEST_F(TimeoutCheck, catches_an_association_that_the_driver_did_not_report) {
    ASSERT_TRUE(lab::wifi_associated_set("", "ath0", "02:bb:00:00:00:02"));
    const Journal journal = due_after(ath0, CONNECTING_BACKHAUL_AP, 180);
    const Journal expected =
        joined({{"interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout",
                 "$ iwconfig ath0 | grep Not-Associated", "$ iwconfig ath0 > /tmp/iwconfig.tmp",
                 "interface_timeout_chk: connect with : 02:bb:00:00:00:02"},
                event("ath0", 1)});
    ASSERT_GE(journal.size(), expected.size());
    EXPECT_THAT(Journal(journal.begin(), journal.begin() + 5), ElementsAreArray(expected));
    EXPECT_EQ(ath0->bssid.get(), AP_B);
    EXPECT_EQ(ath0->state, CONNECT_WITH_BACKHAUL_AP);
    EXPECT_FALSE(harness::file_is_there("/tmp/iwconfig.tmp"));
}

TEST_F(TimeoutCheck, logs_the_same_text_for_each_state_that_waits_for_the_agent) {
    for (int32_t state : {4, 8, 14}) {
        const Journal journal = due_after(ath0, state, 15);
        ASSERT_GE(journal.size(), 2U);
        EXPECT_EQ(journal.at(0),
                  "interface_timeout_chk : ath0 -> CONNECT_WITH_BACKHAUL_AP timeout");
        EXPECT_EQ(journal.at(1), "wifi_slave_event_process : ifname ath0 event 5");
        intf_timer_set(ath0, TIMER_OFF);
        harness::clock_start(START_TIME);
    }
}

TEST_F(TimeoutCheck, posts_success_in_the_first_second_and_does_not_look_at_the_time_then) {
    for (const char* path :
         {"APautooutput_24G", "APautooutput_G1_5G", "APautooutput_V_5G", "vl1905WIFIState_24G",
          "vl1905WIFIState_G1_5G", "vl1905WIFIState_V_5G"}) {
        harness::put_file(std::string("/tmp/vl1905/") + path, "");
    }
    for (uint32_t elapsed : {0U, 1U, 100U}) {
        enter(ath0, CONNECT_WITH_BACKHAUL_AP);
        interface_timeout_chk(ath0, harness::clock_now() + elapsed);
        const Journal journal = journal_take();
        EXPECT_EQ(journal.at(0), "wifi_slave_event_process : ifname ath0 event 6") << elapsed;
        EXPECT_EQ(ath0->state, BACKHAUL_READY);
    }
}

TEST_F(TimeoutCheck, gives_a_target_ap_up_after_more_than_120_seconds) {
    const Journal journal = due_after(ath0, CONNECTING_TARGET_BACKHAUL_AP, 120);
    EXPECT_EQ(journal.at(0),
              "interface_timeout_chk : ath0 -> CONNECTING_TARTGET_BACKHAUL_AP timeout");
    EXPECT_EQ(journal.at(1), "wifi_slave_event_process : ifname ath0 event 5");
}

TEST_F(TimeoutCheck, keeps_a_parked_station_parked_after_a_minute_for_each_loss) {
    ath0->disconnect_count = 2;
    EXPECT_THAT(due_after(ath0, CONNECT_PENDING, 120),
                ElementsAre("interface_timeout_chk : ath0 -> CONNECT_PENDING timeout",
                            "interface_timeout_chk : keep ath0 in PENDING state"));
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
    EXPECT_EQ(ath0->timer_type, 0);
    EXPECT_EQ(runtime.active_timer_count, 0);
}

TEST_F(TimeoutCheck, fires_for_a_parked_station_without_losses_as_soon_as_a_second_has_passed) {
    enter(ath0, CONNECT_PENDING);
    interface_timeout_chk(ath0, START_TIME);
    expect_journal({});
    interface_timeout_chk(ath0, START_TIME + 1);
    EXPECT_EQ(journal_take().size(), 2U);
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
}

TEST_F(TimeoutCheck, posts_a_timeout_without_a_line_for_the_unnamed_state) {
    EXPECT_THAT(due_after(ath0, LINK_STATE_9, 120), ElementsAreArray(event("ath0", 5)));
}

TEST_F(TimeoutCheck, rechecks_radar_states_after_180_and_2400_seconds) {
    EXPECT_EQ(due_after(ath20, DFS_MONITORING, 180).at(0),
              "$ radartool -i wifi2 getnol /tmp/nol_list");
    intf_timer_set(ath20, TIMER_OFF);
    harness::clock_start(START_TIME);
    const Journal journal = due_after(ath20, DFS_BLOCKING, 2400);
    EXPECT_EQ(journal.at(0), "interface_timeout_chk : ath20 -> DFS_BLOCKING timeout");
    EXPECT_EQ(journal.at(1), "device_dfs_blocking : Enter");
}

TEST_F(TimeoutCheck, looks_for_vanished_interfaces_every_600_seconds_under_the_mutex) {
    lab::answer_hold("", "wifisys_tool", "feature");
    std::thread check([this] { EXPECT_FALSE(due_after(timer, AP_TIMER_WAIT, 600).empty()); });
    EXPECT_TRUE(harness::wait_until([] { return !harness::recorded_calls().empty(); }));
    EXPECT_EQ(pthread_mutex_trylock(&runtime.state_mutex), EBUSY);
    EXPECT_EQ(timer->timer_type, 0) << "cleared before the mutex is taken";
    lab::gate_open("", "feature");
    check.join();
    ASSERT_EQ(pthread_mutex_trylock(&runtime.state_mutex), 0);
    pthread_mutex_unlock(&runtime.state_mutex);
    EXPECT_EQ(timer->timer_type, 1);
    EXPECT_EQ(timer->state, AP_TIMER_WAIT);
}

TEST_F(TimeoutCheck, checks_the_service_aps_of_a_wired_backhaul_every_60_seconds) {
    EXPECT_THAT(
        due_after(eth, ETH_BACKHAUL_READY, 60),
        ElementsAre("$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
                    "$ uci get wireless.ath11.disabled", "$ iwconfig ath11 | grep Not-Associated",
                    "$ uci get wireless.ath14.disabled", "$ iwconfig ath14 | grep Not-Associated"));
    EXPECT_EQ(eth->timer_start, START_TIME);
    EXPECT_EQ(eth->timer_type, 1);
}

TEST_F(TimeoutCheck, ignores_states_without_a_limit) {
    for (int32_t state : {-1, 1, 2, 13, 16, 17, 100}) {
        enter(ath0, state);
        interface_timeout_chk(ath0, START_TIME + 100000);
        EXPECT_THAT(journal_take(), IsEmpty()) << state;
        EXPECT_EQ(ath0->timer_type, 1);
    }
}

TEST_F(TimeoutCheck, lets_nothing_fall_due_when_the_clock_was_set_back_or_the_timeout_cleared) {
    enter(ath0, INIT);
    interface_timeout_chk(ath0, START_TIME - 100000);
    intf_timer_set(ath0, TIMER_OFF);
    interface_timeout_chk(ath0, START_TIME + 100000);
    expect_journal({});
}

TEST_F(TimeoutCheck, sweeps_pending_records_in_table_order) {
    enter(ath1, LINK_STATE_9);
    enter(ath0, LINK_STATE_9);
    ath20->state = LINK_STATE_9;
    ath20->timer_start = 1;
    timeout_sweep(START_TIME + 121);
    expect_journal({event("ath0", 5), event("ath1", 5)});
}

class ReadyTick : public TimeoutCheck {
protected:
    void SetUp() override {
        TimeoutCheck::SetUp();
        ath0->bssid.set(AP_A);
        runtime.backhaul_sta_num = 1;
        harness::clock_advance(61);
    }

    /// One tick of a ready ath0.
    Journal tick() {
        enter(ath0, BACKHAUL_READY);
        interface_timeout_chk(ath0, harness::clock_now() + 61);
        return journal_take();
    }

    const Journal alive = {
        "$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
        "$ uci get wireless.ath11.disabled", "$ iwconfig ath11 | grep Not-Associated",
        "$ uci get wireless.ath14.disabled", "$ iwconfig ath14 | grep Not-Associated"};
    const Journal probe = {"$ iwpriv ath0 sendprobereq 1",
                           "$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid"};
    const Journal rate = {"$ iwpriv ath0 get_whc_ul_rate > /tmp/ul_rate",
                          "device_backhaul_ap_ul_rate_update : ul_rate 300",
                          "$ iwpriv ath20 set_whc_ul_rate 300"};
    const Journal associated = {"$ iwconfig ath0 | grep Not-Associated"};
};

TEST_F(ReadyTick, scans_tells_the_rate_and_checks_the_association) {
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_ul_rate", "300"));
    EXPECT_THAT(tick(), ElementsAreArray(joined({alive,
                                                 {"interface_timeout_chk : do other band scan",
                                                  "interface_timeout_chk : do uplink scan 0"},
                                                 probe,
                                                 rate,
                                                 associated})));
    EXPECT_EQ(ath0->uplink_scan_count, 1);
    EXPECT_EQ(ath0->timer_start, harness::clock_now());
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
}

TEST_F(ReadyTick, switches_to_a_better_ap_and_ends_the_tick_there) {
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:bb:00:00:00:02"));
    ath0->other_band_scan_enable = 0;
    EXPECT_THAT(tick(), ElementsAreArray(
                            joined({alive,
                                    {"interface_timeout_chk : do uplink scan 0"},
                                    probe,
                                    {"backhaul_intf_uplink_scan : Find better AP 02:bb:00:00:00:02",
                                     "backhaul_intf_uplink_scan : Current AP 02:aa:00:00:00:01"},
                                    event("ath0", 7),
                                    {"wifi_slave_event_process : BACKHAUL_READY",
                                     "wifi_slave_event_process : CONFIG_BEST_AP"},
                                    target_joined("ath0", "02:bb:00:00:00:02")})));
    EXPECT_EQ(ath0->state, CONNECTING_TARGET_BACKHAUL_AP);
    EXPECT_EQ(ath0->bssid.get(), AP_A);
    EXPECT_EQ(ath0->configured_bssid.get(), AP_B);
    EXPECT_EQ(ath0->timer_type, 1);
}

TEST_F(ReadyTick, makes_six_scans_in_an_outage_and_goes_on_checking_afterwards) {
    ath0->other_band_scan_enable = 0;
    for (int scan = 0; scan < 6; ++scan) {
        const Journal journal = tick();
        ASSERT_GT(journal.size(), alive.size());
        EXPECT_EQ(journal[alive.size()],
                  "interface_timeout_chk : do uplink scan " + std::to_string(scan));
    }
    EXPECT_THAT(tick(), ElementsAreArray(joined({alive, associated})));
    EXPECT_EQ(ath0->timer_type, 1);
    EXPECT_EQ(ath0->timer_start, harness::clock_now());
    EXPECT_EQ(ath0->uplink_scan_count, 6);
}

TEST_F(ReadyTick, delays_no_more_than_the_sweep_that_judges_all_by_its_first_second) {
    enter(ath0, BACKHAUL_READY);
    harness::clock_advance(56);
    enter(ath1, INIT);
    harness::clock_advance(5);
    const uint32_t began = harness::clock_now();
    timeout_sweep(began);
    EXPECT_EQ(harness::clock_now(), began + 2) << "the scan waits";
    EXPECT_EQ(ath0->timer_start, began + 2);
    // Seven seconds have passed for it, but not when the sweep began.
    EXPECT_EQ(ath1->timer_start, began - 5);
    journal_take();
    timeout_sweep(harness::clock_now());
    const Journal journal = journal_take();
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(journal.front(), event("ath1", 0).front());
}

TEST_F(ReadyTick, forgives_a_loss_after_five_ticks) {
    ath0->uplink_scan_count = 6;
    ath0->disconnect_count = 2;
    for (int period = 1; period <= 4; ++period) {
        EXPECT_THAT(tick(), ElementsAreArray(joined(
                                {alive,
                                 {"interface_timeout_chk(ath0) : disconnect_count 2 ready_count " +
                                  std::to_string(period)},
                                 associated})));
    }
    EXPECT_THAT(
        tick(),
        ElementsAreArray(joined({alive,
                                 {"interface_timeout_chk(ath0) : disconnect_count 1 ready_count 0"},
                                 associated})));
    EXPECT_EQ(ath0->disconnect_count, 1);
    EXPECT_EQ(ath0->ready_count, 0);
}

TEST_F(ReadyTick, posts_a_loss_when_the_station_is_not_associated) {
    ath0->uplink_scan_count = 6;
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    const Journal journal = tick();
    const Journal expected =
        joined({alive,
                associated,
                {"interface_timeout_chk : backhaul(ath0) is discconnected, try to reconnect"},
                event("ath0", 2)});
    ASSERT_GE(journal.size(), expected.size());
    EXPECT_THAT(
        Journal(journal.begin(), journal.begin() + static_cast<std::ptrdiff_t>(expected.size())),
        ElementsAreArray(expected));
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
}

class UplinkScan : public LinkTest {};

TEST_F(UplinkScan, stays_with_the_ap_that_the_station_is_on) {
    ath0->bssid.set(AP_A);
    ath0->configured_bssid.set(AP_B);
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:aa:00:00:00:01"));
    EXPECT_EQ(backhaul_intf_uplink_scan(ath0), 0);
    EXPECT_EQ(ath0->configured_bssid.get(), AP_B);
    expect_journal(
        {{"$ iwpriv ath0 sendprobereq 1", "$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid"}});
}

TEST_F(UplinkScan, finds_nothing_and_logs_nothing_when_the_driver_knows_no_ap) {
    ath0->bssid.set(AP_A);
    EXPECT_EQ(backhaul_intf_uplink_scan(ath0), 0);
    EXPECT_EQ(journal_take().size(), 2U);
    EXPECT_EQ(bssid_is_zero(ath0->configured_bssid.get()), 1);
}

TEST_F(UplinkScan, never_finds_an_ap_on_the_other_band) {
    EXPECT_EQ(backhaul_intf_other_band_scan(ath0), 0);
    expect_journal({});
}

TEST_F(UplinkScan, reopens_the_budget_of_stations_only) {
    for (intf_record* record : {ath0, ath1, ath10, ath20, eth}) {
        record->uplink_scan_count = 6;
        record->other_band_scan_enable = 0;
    }
    backhaul_sta_uplink_scan_count_clear();
    backhaul_sta_other_band_scan_enable();
    for (intf_record* record : {ath0, ath1}) {
        EXPECT_EQ(record->uplink_scan_count, 0);
        EXPECT_EQ(record->other_band_scan_enable, 1);
    }
    for (intf_record* record : {ath10, ath20, eth}) {
        EXPECT_EQ(record->uplink_scan_count, 6);
        EXPECT_EQ(record->other_band_scan_enable, 0);
    }
}

}  // namespace
