// Looking for a better AP.

#include "link/uplink_scan.h"

#include "lab/tools/state_layout.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class UplinkScan : public LinkTest {};

TEST_F(UplinkScan, stays_with_the_ap_that_the_station_is_on) {
    ath0->bssid.set(AP_A);
    ath0->configured_bssid.set(AP_B);
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_bssid", "02:aa:00:00:00:01"));
    EXPECT_EQ(backhaul_intf_uplink_scan(ath0), 0);
    EXPECT_EQ(ath0->configured_bssid.get(), AP_B);
    EXPECT_THAT(journal_take(), ElementsAre("$ iwpriv ath0 sendprobereq 1",
                                            "$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid"));
}

TEST_F(UplinkScan, finds_nothing_and_logs_nothing_when_the_driver_knows_no_ap) {
    ath0->bssid.set(AP_A);
    EXPECT_EQ(backhaul_intf_uplink_scan(ath0), 0);
    EXPECT_EQ(journal_take().size(), 2U);
    EXPECT_EQ(bssid_is_zero(ath0->configured_bssid.get()), 1);
}

TEST_F(UplinkScan, never_finds_an_ap_on_the_other_band) {
    EXPECT_EQ(backhaul_intf_other_band_scan(ath0), 0);
    EXPECT_THAT(journal_take(), IsEmpty());
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
