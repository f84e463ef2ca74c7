// What a ready station is asked once a minute, at exact seconds of the moved clock.

#include "link/ready_tick.h"

#include "lab/tools/state_layout.h"
#include "link/timeout_check.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using testing::ElementsAreArray;

class ReadyTick : public LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
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

}  // namespace
