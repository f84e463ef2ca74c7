// The way to an AP on the other band. The selector of such an AP yields none, so that nothing of
// this happens on a router today; this program brings a selector that does find one, and so takes
// none from the library.

#include "device/other_band.h"
#include "lab/tools/state_layout.h"
#include "link/ready_tick.h"
#include "link/uplink_scan.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using testing::ElementsAreArray;

mac_address found_by_selector;

class OtherBand : public LinkTest {
protected:
    void SetUp() override {
        LinkTest::SetUp();
        ath0->bssid.set(AP_A);
        found_by_selector = AP_B;
        runtime.backhaul_sta_num = 1;
    }

    /// The ready tick of ath0 up to and including the switch.
    static Journal switching() {
        return joined(
            {{"$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
              "$ uci get wireless.ath11.disabled", "$ iwconfig ath11 | grep Not-Associated",
              "$ uci get wireless.ath14.disabled", "$ iwconfig ath14 | grep Not-Associated",
              "interface_timeout_chk : do other band scan",
              "backhaul_intf_other_band_scan : Find other band AP 02:bb:00:00:00:02",
              "backhaul_intf_other_band_scan : Current AP 02:aa:00:00:00:01"},
             event("ath0", 7),
             {"wifi_slave_event_process : BACKHAUL_READY",
              "wifi_slave_event_process : CONFIG_BEST_AP"},
             target_joined("ath0", "02:bb:00:00:00:02"),
             {"$ iwconfig ath0 | grep Not-Associated"}});
    }
};

TEST_F(OtherBand, scan_gives_2_and_remembers_the_ap_that_it_chose) {
    EXPECT_EQ(backhaul_intf_other_band_scan(ath0), 2);
    expect_journal({{"backhaul_intf_other_band_scan : Find other band AP 02:bb:00:00:00:02",
                     "backhaul_intf_other_band_scan : Current AP 02:aa:00:00:00:01"}});
    EXPECT_EQ(ath0->configured_bssid.get(), AP_B);
    EXPECT_EQ(ath0->bssid.get(), AP_A);
}

TEST_F(OtherBand, scan_gives_0_for_the_ap_that_the_station_is_on) {
    found_by_selector = AP_A;
    EXPECT_EQ(backhaul_intf_other_band_scan(ath0), 0);
    expect_journal({});
    EXPECT_EQ(bssid_is_zero(ath0->configured_bssid.get()), 1);
}

TEST_F(OtherBand, tick_switches_and_still_re_arms_and_asks_for_the_association) {
    enter(ath0, BACKHAUL_READY);
    harness::clock_advance(61);
    backhaul_ready_tick(ath0);
    EXPECT_THAT(journal_take(), ElementsAreArray(switching()))
        << "no uplink scan and no rate in that tick";
    EXPECT_EQ(ath0->state, CONNECTING_TARGET_BACKHAUL_AP);
    EXPECT_EQ(ath0->other_band_switching, 1);
    EXPECT_EQ(ath0->other_band_scan_enable, 1);
    EXPECT_EQ(ath0->uplink_scan_count, 0);
    EXPECT_EQ(ath0->timer_type, 1);
    EXPECT_EQ(runtime.active_timer_count, 1);
}

TEST_F(OtherBand, tick_posts_a_loss_that_is_ignored_during_the_switch) {
    ASSERT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    enter(ath0, BACKHAUL_READY);
    backhaul_ready_tick(ath0);
    expect_journal({switching(),
                    {"interface_timeout_chk : backhaul(ath0) is discconnected, try to reconnect"},
                    event("ath0", 2)});
    EXPECT_EQ(ath0->state, CONNECTING_TARGET_BACKHAUL_AP);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
}

TEST_F(OtherBand, tick_goes_on_to_the_uplink_scan_when_the_other_band_has_nothing_new) {
    found_by_selector = AP_A;
    enter(ath0, BACKHAUL_READY);
    backhaul_ready_tick(ath0);
    const Journal journal = journal_take();
    const auto scan = std::ranges::find(journal, "interface_timeout_chk : do other band scan");
    ASSERT_GE(journal.end() - scan, 2);
    EXPECT_EQ(scan[1], "interface_timeout_chk : do uplink scan 0");
    EXPECT_EQ(ath0->other_band_switching, 0);
}

}  // namespace

void device_other_band_bssid_get(const char* /*name*/, uint8_t* out, size_t length) {
    std::copy_n(found_by_selector.begin(), std::min(length, found_by_selector.size()), out);
}
