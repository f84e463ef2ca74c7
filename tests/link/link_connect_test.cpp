// A station that associates: exact journals and what is left behind.

#include "link/link_connect.h"

#include "runtime/runtime_block.h"
#include "tests/link/link_fixture.h"
#include "topology/topology_db.h"

#include <gmock/gmock.h>
#include <sqlite3.h>

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

}  // namespace
