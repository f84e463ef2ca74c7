// A station that loses its link: exact journals, the count of losses, parking.

#include "link/link_disconnect.h"

#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using testing::ElementsAreArray;

class LinkDisconnect : public LinkTest {};

TEST_F(LinkDisconnect, reconnects_below_the_limit_and_parks_at_the_third_loss) {
    // Another link is up, so that nothing but the station itself is touched.
    runtime.backup_backhaul_sta = ath1;
    for (int loss = 1; loss <= 2; ++loss) {
        runtime.backhaul_sta_num = 2;
        enter(ath0, BACKHAUL_READY);
        backhaul_disconnected(ath0);
        expect_journal(
            {station_disconnect("ath0"),
             {"backhaul_disconnected(ath0) : try to connect again",
              "backhaul_disconnected(ath0) : sta_intf->disconnect_count " + std::to_string(loss),
              "backhaul_disconnected : try to reconnect"},
             station_reconnect("ath0"),
             change("ath0", 7, 3)});
        EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    }
    runtime.backhaul_sta_num = 2;
    enter(ath0, BACKHAUL_READY);
    backhaul_disconnected(ath0);
    expect_journal({station_disconnect("ath0"),
                    loss_counted("ath0", 3),
                    parked("ath0"),
                    {"find_backup_backhaul_link : already have backup backhaul "
                     "sta"}});
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
    EXPECT_EQ(ath0->timer_type, 0);
}

TEST_F(LinkDisconnect, tries_a_parked_station_again_at_once_when_there_is_no_other) {
    ath1->type = INTF_TYPE_OTHER;
    runtime.backhaul_sta_num = 2;
    ath0->disconnect_count = 2;
    enter(ath0, BACKHAUL_READY);
    backhaul_disconnected(ath0);
    expect_journal({station_disconnect("ath0"), loss_counted("ath0", 3), parked("ath0"),
                    search_finding(), change("ath0", 6, 3), station_on("ath0")});
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
}

TEST_F(LinkDisconnect, never_parks_a_24_ghz_station) {
    ath0->band = BAND_24G;
    for (int loss = 0; loss < 5; ++loss) {
        runtime.backhaul_sta_num = 2;
        enter(ath0, BACKHAUL_READY);
        backhaul_disconnected(ath0);
        EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
        EXPECT_EQ(ath0->disconnect_count, 0);
    }
}

TEST_F(LinkDisconnect, parks_at_the_first_loss_with_a_limit_of_0) {
    runtime.max_disconnect = 0;
    runtime.backhaul_sta_num = 2;
    runtime.backup_backhaul_sta = ath1;
    enter(ath0, BACKHAUL_READY);
    backhaul_disconnected(ath0);
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
}

TEST_F(LinkDisconnect, restarts_a_switching_station_without_its_target_and_without_counting) {
    runtime.backhaul_sta_num = 2;
    ath0->disconnect_count = 1;
    ath0->configured_bssid.set(AP_B);
    enter(ath0, CONNECTING_TARGET_BACKHAUL_AP);
    backhaul_disconnected(ath0);
    expect_journal({station_disconnect("ath0"),
                    loss_counted("ath0", 1),
                    {"backhaul_disconnected : try to reconnect and clear configured bssid"},
                    station_off("ath0"),
                    station_on("ath0"),
                    change("ath0", 5, 3)});
    EXPECT_EQ(bssid_is_zero(ath0->configured_bssid.get()), 1);
    EXPECT_EQ(ath0->disconnect_count, 1);
}

TEST_F(LinkDisconnect, opens_the_scan_budget_and_shuts_the_service_aps_with_the_last_link) {
    runtime.backhaul_sta_num = 1;
    runtime.backhaul_ap_enable = 1;
    ath0->uplink_scan_count = 6;
    ath0->other_band_scan_enable = 0;
    harness::put_file("/tmp/assoc_list.5g", "02:00:00:00:00:31 1 2 ath20 3 4\n");
    enter(ath0, BACKHAUL_READY);
    backhaul_disconnected(ath0);
    EXPECT_THAT(
        journal_take(),
        ElementsAreArray(joined(
            {station_disconnect("ath0"),
             {"backhaul_disconnected : No backhaul link, disassociate all sta in backhaul ap",
              "device_disassoc_all_backhaulap_sta : iwpriv ath20 kickmac 02:00:00:00:00:31",
              "$ iwpriv ath20 kickmac 02:00:00:00:00:31",
              "backhaul_disconnected : No backhaul link, disable all service AP"},
             ap_off("ath10"),
             ap_off("ath11"),
             ap_off("ath14"),
             {"dev_intf_enable_set : disable ath20", "$ uci set wireless.ath20.disabled=1",
              "$ uci commit wireless", "$ /etc/init.d/wireless restart",
              "backhaul_disconnected(ath0) : try to connect again",
              "backhaul_disconnected(ath0) : sta_intf->disconnect_count 1",
              "backhaul_disconnected : try to reconnect"},
             station_reconnect("ath0"),
             change("ath0", 7, 3),
             led("BackhaulDisConnect")})));
    EXPECT_EQ(ath0->uplink_scan_count, 0);
    EXPECT_EQ(ath0->other_band_scan_enable, 1);
}

TEST_F(LinkDisconnect, leaves_the_service_aps_alone_when_the_count_was_0_already) {
    runtime.backhaul_sta_num = 0;
    enter(ath0, BACKHAUL_READY);
    backhaul_disconnected(ath0);
    const Journal journal = journal_take();
    EXPECT_EQ(journal.at(1), "backhaul_disconnected(ath0) : try to connect again");
    EXPECT_EQ(runtime.backhaul_sta_num, -1);
}

TEST_F(LinkDisconnect, only_counts_and_disconnects_in_a_state_without_a_link) {
    runtime.backhaul_sta_num = 2;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_disconnected(ath0);
    EXPECT_THAT(journal_take(), ElementsAreArray(station_disconnect("ath0")));
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
    EXPECT_EQ(ath0->disconnect_count, 0);
}

}  // namespace
