// The timer thread's checks, at exact seconds of the moved clock.

#include "link/timeout_check.h"

#include "intf/intf_timer.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

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

}  // namespace
