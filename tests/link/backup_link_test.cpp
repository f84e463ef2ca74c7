// The search for another station, and the return from it.

#include "link/backup_link.h"

#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class BackupLink : public LinkTest {};

TEST_F(BackupLink, makes_the_failed_backup_idle_and_takes_the_next_station) {
    intf_record* const ath2 = intf_add("ath2", BACKHAUL_STA, BAND_24G, 5);
    uci_put("ath2.ssid", "mesh-backhaul");
    runtime.backup_backhaul_sta = ath1;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    enter(ath1, CONNECTING_BACKHAUL_AP);
    find_backup_backhaul_link(ath1);
    expect_journal({search_finding(),
                    change("ath2", 0, 3),
                    station_on("ath2"),
                    {"find_backup_backhaul_link : found backup backhaul sta ath2"},
                    led("BackhaulDisConnect")});
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(ath1->timer_type, 1) << "a direct store leaves the timeout as it is";
    EXPECT_EQ(ath2->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath2);
}

TEST_F(BackupLink, tries_the_preferred_station_again_beside_a_backup_that_it_already_has) {
    runtime.backup_backhaul_sta = ath1;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    find_backup_backhaul_link(ath0);
    expect_journal({{"find_backup_backhaul_link : already have backup backhaul sta"},
                    change("ath0", 3, 3),
                    station_on("ath0"),
                    led("BackhaulDisConnect")});
}

TEST_F(BackupLink, parks_a_preferred_station_whose_losses_reached_the_limit) {
    ath0->disconnect_count = 3;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    find_backup_backhaul_link(ath0);
    EXPECT_THAT(journal_take(),
                ElementsAreArray(joined(
                    {change("ath0", 3, 6), backup_enabled("ath1"), led("BackhaulDisConnect")})));
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
    EXPECT_EQ(ath1->state, CONNECTING_BACKHAUL_AP);
}

TEST_F(BackupLink, may_take_the_preferred_station_as_the_backup_of_another) {
    enter(ath1, CONNECTING_BACKHAUL_AP);
    runtime.backup_backhaul_sta = ath1;
    find_backup_backhaul_link(ath1);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath0);
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(ath1->state, INIT);
}

TEST_F(BackupLink, leaves_the_led_alone_while_a_link_is_up) {
    runtime.backhaul_sta_num = 1;
    runtime.backup_backhaul_sta = ath1;
    ath0->disconnect_count = 3;
    ath0->state = CONNECT_PENDING;
    find_backup_backhaul_link(ath0);
    expect_journal(
        {change("ath0", 6, 6), {"find_backup_backhaul_link : already have backup backhaul sta"}});
}

TEST_F(BackupLink, takes_the_imposed_count_of_a_loop_modulo_256_into_the_signed_one) {
    runtime.loop_disconnect = 200;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_slave_wifi_loop_handle(ath0);
    EXPECT_EQ(ath0->disconnect_count, -56);
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
}

TEST_F(BackupLink, releases_parked_stations_and_restarts_the_preferred_one) {
    ath0->state = CONNECT_PENDING;
    ath1->state = CONNECT_PENDING;
    ath0->disconnect_count = 10;
    ath1->disconnect_count = 3;
    backhaul_slave_backhaul_restore();
    expect_journal({{"backhaul_slave_backhaul_restore : Enter",
                     "backhaul_slave_backhaul_restore : best backhaul reconncet"},
                    change("ath0", 0, 3),
                    station_on("ath0")});
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(ath0->disconnect_count, 0);
    EXPECT_EQ(ath1->disconnect_count, 0);
}

TEST_F(BackupLink, clears_counts_only_when_the_preferred_station_was_not_parked) {
    enter(ath0, BACKHAUL_READY);
    ath0->disconnect_count = 2;
    ath1->state = CONNECT_PENDING;
    backhaul_slave_backhaul_restore();
    EXPECT_THAT(journal_take(), ElementsAre("backhaul_slave_backhaul_restore : Enter"));
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
    EXPECT_EQ(ath0->disconnect_count, 0);
    EXPECT_EQ(ath1->state, INIT);
}

}  // namespace
