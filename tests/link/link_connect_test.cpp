// Connecting, losing and replacing links: exact journals and what is left behind.

#include "link/link_connect.h"

#include "device/association.h"
#include "device/hop_distance.h"
#include "device/hyd.h"
#include "device/service_ap.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "link/autoconfig_timeout.h"
#include "link/backup_link.h"
#include "link/link_disconnect.h"
#include "link/network_reload.h"
#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"
#include "topology/topology_db.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <vector>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class LinkConnect : public LinkTest {
protected:
    /// The backup ath1 carries the link in `state`; ath0 has just associated as well.
    void preferred_is_back(int32_t backup_state) {
        runtime.backhaul_sta_num = 1;
        runtime.backup_backhaul_sta = ath1;
        enter(ath1, backup_state);
        enter(ath0, CONNECTING_BACKHAUL_AP);
        ath0->bssid.set(AP_A);
    }

    static void database(const char* sql) {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
    }

    void TearDown() override {
        // The daemon never closes its connection, whose memory is its own.
        static auto* const connections = new std::vector<sqlite3*>;
        connections->push_back(runtime.db);
        runtime.db = nullptr;
        LinkTest::TearDown();
    }

    const Journal topology_unknown = {"backhaul_db_topo_check : can not find ap almac"};
};

TEST_F(LinkConnect, drops_a_backup_that_is_still_connecting_when_the_preferred_station_is_first) {
    runtime.backup_backhaul_sta = ath1;
    enter(ath1, CONNECTING_BACKHAUL_AP);
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_connected(ath0);
    expect_journal(
        {{"backhaul_connected(ath0) : backhaul_sta_num 1"},
         distance("ath0", 2),
         uci_disable_all(),
         hyd_check(),
         {"backhaul_connected(ath0) : Sync Service AP settings"},
         agent_reload(),
         change("ath0", 3, 4),
         {"backhaul_connected : Best backhaul is alreay ready, disable connecting backup "
          "sta(ath1)"},
         change("ath1", 3, 0),
         station_off("ath1"),
         led("BackhaulConnect")});
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
    EXPECT_EQ(status_file(), "connected\n");
}

TEST_F(LinkConnect, keeps_a_backup_that_is_not_connecting_when_the_preferred_station_is_first) {
    runtime.backup_backhaul_sta = ath1;
    ath1->state = CONNECT_PENDING;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_connected(ath0);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath1);
    EXPECT_EQ(ath1->state, CONNECT_PENDING);
}

TEST_F(LinkConnect, hands_the_ready_link_of_the_backup_to_the_preferred_station) {
    preferred_is_back(BACKHAUL_READY);
    backhaul_connected(ath0);
    expect_journal({{"backhaul_connected(ath0) : backhaul_sta_num 2"},
                    topology_unknown,
                    {"backhaul_connected : Best backhaul come back, disable backup sta(ath1)"},
                    change("ath1", 7, 0),
                    station_off("ath1"),
                    change("ath0", 3, 7)});
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
    EXPECT_EQ(ath1->state, INIT);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
}

TEST_F(LinkConnect, goes_on_with_the_configuration_that_the_backup_had_begun) {
    preferred_is_back(CONNECT_WITH_BACKHAUL_AP);
    backhaul_connected(ath0);
    expect_journal({{"backhaul_connected(ath0) : backhaul_sta_num 2"},
                    topology_unknown,
                    {"backhaul_connected : Best backhaul come back, disable backup sta(ath1)"},
                    change("ath1", 4, 0),
                    station_off("ath1"),
                    {"backhaul_connected : backup sta is doing auto-config, try to continue it"},
                    change("ath0", 3, 4)});
    EXPECT_EQ(ath0->state, CONNECT_WITH_BACKHAUL_AP);
}

TEST_F(LinkConnect, leaves_the_preferred_station_where_it_is_when_the_backup_was_in_neither) {
    preferred_is_back(CONNECTING_TARGET_BACKHAUL_AP);
    backhaul_connected(ath0);
    EXPECT_EQ(ath0->state, CONNECTING_BACKHAUL_AP);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
}

TEST_F(LinkConnect, parks_the_preferred_station_and_keeps_the_backup_when_it_would_close_a_loop) {
    database(
        "CREATE TABLE ExtenderWiFiLink(Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);"
        "INSERT INTO ExtenderWiFiLink VALUES"
        "('02:aa:00:00:00:01','02:00:00:00:00:11','02:00:00:00:00:22',1),"
        "('02:cc:00:00:00:03','02:00:00:00:00:22','02:00:00:00:00:99',1);");
    harness::put_file("/tmp/FirstMAC", "02:00:00:00:00:99\n");
    ASSERT_EQ(backhaul_db_open(), 0);
    preferred_is_back(BACKHAUL_READY);
    backhaul_connected(ath0);
    expect_journal({{"backhaul_connected(ath0) : backhaul_sta_num 2",
                     "backhaul_db_topo_check : there will be a loop",
                     "backhaul_slave_wifi_loop_handle : Enter"},
                    change("ath0", 3, 6),
                    station_off("ath0")});
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
    EXPECT_EQ(ath0->disconnect_count, 10);
    EXPECT_EQ(ath1->state, BACKHAUL_READY);
    EXPECT_EQ(runtime.backup_backhaul_sta.get(), ath1);
    EXPECT_EQ(runtime.backhaul_sta_num, 1);
}

TEST_F(LinkConnect, takes_the_imposed_count_of_a_loop_modulo_256_into_the_signed_one) {
    runtime.loop_disconnect = 200;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_slave_wifi_loop_handle(ath0);
    EXPECT_EQ(ath0->disconnect_count, -56);
    EXPECT_EQ(ath0->state, CONNECT_PENDING);
}

TEST_F(LinkConnect, only_logs_a_second_link_of_unknown_origin_and_keeps_counting_it) {
    runtime.backhaul_sta_num = 1;
    enter(ath0, CONNECTING_BACKHAUL_AP);
    backhaul_connected(ath0);
    expect_journal(
        {{"backhaul_connected(ath0) : backhaul_sta_num 2", "backhaul_connected : Unknown status",
          "backhaul_connected : No backup_backhaul_sta"}});
    EXPECT_EQ(runtime.backhaul_sta_num, 2);
    runtime.backup_backhaul_sta = ath1;
    enter(ath1, CONNECTING_BACKHAUL_AP);
    backhaul_connected(ath1);
    expect_journal(
        {{"backhaul_connected(ath1) : backhaul_sta_num 3", "backhaul_connected : Unknown status",
          "backhaul_connected : backup_backhaul_sta ath1 3"}});
}

TEST_F(LinkConnect, switches_another_station_off_while_the_preferred_one_is_up) {
    intf_record* const third = intf_add("ath2", BACKHAUL_STA, BAND_24G, 5);
    for (int32_t state : {CONNECT_WITH_BACKHAUL_AP, BACKHAUL_READY}) {
        runtime.backhaul_sta_num = 1;
        // Whichever station is the backup, its place is free afterwards.
        runtime.backup_backhaul_sta = state == BACKHAUL_READY ? third : ath1;
        enter(ath0, state);
        enter(ath1, CONNECTING_BACKHAUL_AP);
        backhaul_connected(ath1);
        expect_journal(
            {{"backhaul_connected(ath1) : backhaul_sta_num 2",
              "backhaul_connected : Best backhaul is alreay ready, disable connected backup "
              "sta(ath1)"},
             change("ath1", 3, 0),
             station_off("ath1")});
        EXPECT_EQ(runtime.backhaul_sta_num, 1);
        EXPECT_EQ(runtime.backup_backhaul_sta.get(), nullptr);
        EXPECT_EQ(ath0->state, state);
    }
}

class LinkDisconnect : public LinkConnect {};

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
    EXPECT_THAT(journal_take(),
                ElementsAreArray(
                    joined({station_disconnect("ath0"), loss_counted("ath0", 3), parked("ath0"),
                            search_finding(), change("ath0", 6, 3), station_on("ath0")})));
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
    EXPECT_THAT(journal_take(),
                ElementsAreArray(
                    joined({station_disconnect("ath0"),
                            loss_counted("ath0", 1),
                            {"backhaul_disconnected : try to reconnect and clear configured bssid"},
                            station_off("ath0"),
                            station_on("ath0"),
                            change("ath0", 5, 3)})));
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
    expect_journal(
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
         led("BackhaulDisConnect")});
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

class BackupLink : public LinkConnect {};

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
    expect_journal({change("ath0", 3, 6), backup_enabled("ath1"), led("BackhaulDisConnect")});
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
    EXPECT_THAT(journal_take(),
                ElementsAreArray(
                    joined({change("ath0", 6, 6),
                            {"find_backup_backhaul_link : already have backup backhaul sta"}})));
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
    expect_journal({{"backhaul_slave_backhaul_restore : Enter"}});
    EXPECT_EQ(ath0->state, BACKHAUL_READY);
    EXPECT_EQ(ath0->disconnect_count, 0);
    EXPECT_EQ(ath1->state, INIT);
}

class LinkTools : public LinkTest {};

TEST_F(LinkTools, keeps_the_distance_file_when_the_answer_cannot_be_opened) {
    harness::put_file("/tmp/rootdistance", "5\n");
    harness::put_file("/tmp/ath_dist/kept", "");
    EXPECT_EQ(qca_dist_get(ath0), -1);
    EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "5\n");
    expect_journal({{"$ iwpriv ath0 get_whc_dist > /tmp/ath_dist"}});
}

TEST_F(LinkTools, takes_an_empty_answer_for_distance_0) {
    ASSERT_TRUE(lab::wifi_missing_set("", "ath0"));
    EXPECT_EQ(qca_dist_get(ath0), 0);
    EXPECT_EQ(harness::file_text("/tmp/rootdistance"), "0\n");
}

TEST_F(LinkTools, takes_the_distance_from_the_first_63_characters_of_the_first_line) {
    // The driver's own line end is the 64th character, then the 65th.
    const std::string blanks(60, ' ');
    lab::answer_push("", "iwpriv", blanks + "a:5");
    EXPECT_EQ(qca_dist_get(ath0), 5);
    lab::answer_push("", "iwpriv", blanks + "a:57");
    EXPECT_EQ(qca_dist_get(ath0), 5);
    lab::answer_push("", "iwpriv", "no distance\nath0 get_whc_dist:4");
    EXPECT_EQ(qca_dist_get(ath0), 0);
}

TEST_F(LinkTools, knows_the_distance_even_when_its_file_cannot_be_written) {
    ASSERT_EQ(mkdir("/tmp/rootdistance", 0755), 0);
    EXPECT_EQ(qca_dist_get(ath0), 2);
    EXPECT_THAT(journal_take(), ElementsAreArray(distance("ath0", 2)));
}

TEST_F(LinkTools, tells_hyd_of_the_given_station_alone) {
    const intf_record* const namesake = intf_add("ath0", BACKHAUL_STA, BAND_24G);
    hyd_bcast_reset(namesake, INTF_ENABLE);
    hyd_bcast_reset(ath0, INTF_DISABLE);
    expect_journal({bcast("ath0", "enable"), bcast("ath0", "disable")});
}

TEST_F(LinkTools, runs_whole_lines_for_an_interface_name_of_15_characters) {
    const intf_record* const record = intf_add("a-name-of-15-ch", BACKHAUL_STA, BAND_5G);
    qca_dist_get(record);
    hyd_bcast_reset(record, INTF_ENABLE);
    hyd_bcast_reset(record, INTF_DISABLE);
    EXPECT_EQ(backhaul_sta_is_associated(record), 0) << "there is no such device";
    EXPECT_THAT(harness::recorded_lines(),
                ElementsAre("iwpriv a-name-of-15-ch get_whc_dist > /tmp/ath_dist",
                            "hyctl setifbcast br-lan a-name-of-15-ch enable",
                            "hyctl setifbcast br-lan a-name-of-15-ch disable",
                            "iwconfig a-name-of-15-ch | grep Not-Associated > /tmp/iw_result"));
}

TEST_F(LinkTools, tells_hyd_nothing_about_a_record_that_is_no_station) {
    hyd_bcast_reset(eth, INTF_ENABLE);
    hyd_bcast_reset(ath20, INTF_DISABLE);
    expect_journal({});
}

TEST_F(LinkTools, switches_service_aps_in_table_order_and_no_predefined_ap) {
    intf_add("ath2", PRE_DEF_AP, BAND_24G);
    service_ap_enable_all(INTF_ENABLE);
    expect_journal({{"dev_intf_enable_set : enable ath10", "$ uci get wireless.ath10.disabled",
                     "$ /etc/init.d/wireless restart", "dev_intf_enable_set : enable ath11",
                     "$ uci get wireless.ath11.disabled", "$ /etc/init.d/wireless restart",
                     "dev_intf_enable_set : enable ath14", "$ uci get wireless.ath14.disabled",
                     "$ /etc/init.d/wireless restart"}});
}

}  // namespace
