// Opening the topology database and asking it, with real databases in every state in which the
// service that owns it may leave one.

#include "topology/topology_db.h"

#include "root/ap_list.h"
#include "runtime/runtime_block.h"
#include "tests/harness/contract_record.h"
#include "tests/root/root_fixture.h"
#include "topology/admission.h"
#include "topology/topology_check.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

using harness::file_is_there;
using harness::file_text;
using harness::put_file;
using std::chrono::steady_clock;
using testing::ElementsAre;

class TopologyDb : public RootTest {
protected:
    struct answer {
        int result;
        int rows;
        int columns;
        bool table;
    };
    static answer ask(const char* statement) {
        answer got{7, 7, 7, true};
        char** table = nullptr;
        got.result = backhaul_db_query(statement, &got.rows, &got.columns, &table);
        got.table = table != nullptr;
        sqlite3_free_table(table);
        return got;
    }
    static void expect_failure(const answer& got) {
        EXPECT_EQ(got.result, -1);
        EXPECT_EQ(got.rows, -1);
        EXPECT_EQ(got.columns, -1);
        EXPECT_FALSE(got.table);
    }
    /// Every question of the daemon, none of which has an answer in a broken database.
    static void expect_no_answers() {
        expect_failure(ask(SQL_EXTENDERS));
        std::array<char, 64> name{"before"};
        backhaul_db_devname_get("02:00:00:00:00:01", name);
        EXPECT_STREQ(name.data(), "before");
        EXPECT_FALSE(backhaul_db_device_valid_check("192.168.1.20"));
        EXPECT_EQ(backhaul_db_topo_check("02:00:00:00:00:aa"), 0);
        backhaul_ap_list_sync();
        EXPECT_TRUE(list_now().empty());
    }
    static std::string opening_prints(int expected) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(backhaul_db_open(), expected);
        return harness::captured_stdout();
    }
};

TEST_F(TopologyDb, is_not_there_yet_and_is_not_created) {
    EXPECT_EQ(opening_prints(-2), "");
    EXPECT_EQ(opening_prints(-2), "");
    EXPECT_FALSE(file_is_there("/tmp/netprobe.db"));
    EXPECT_EQ(runtime.db, nullptr);
}

TEST_F(TopologyDb, opens_with_a_busy_timeout_and_memory_of_its_own) {
    sql("CREATE TABLE t (a);");
    EXPECT_EQ(opening_prints(0), "");
    EXPECT_NE(runtime.db, nullptr);
    EXPECT_EQ(sqlite_asked().busy_timeout, 2000);
    EXPECT_THAT(sqlite_asked().memory, ElementsAre(testing::NotNull()));
    EXPECT_EQ(sqlite_asked().slot_size, 1024);
    EXPECT_EQ(sqlite_asked().slots, 400);
}

TEST_F(TopologyDb, says_why_it_cannot_be_opened) {
    std::filesystem::create_directory("/tmp/netprobe.db");
    EXPECT_EQ(opening_prints(-1), "Can't open database: unable to open database file\n");
    EXPECT_EQ(sqlite_asked().busy_timeout, -1);
}

TEST_F(TopologyDb, says_without_a_line_end_that_the_memory_was_refused) {
    sql("CREATE TABLE t (a);");
    sqlite_asked().refuse = true;
    EXPECT_EQ(opening_prints(-1), "lookaside configuration filed: 5");
}

TEST_F(TopologyDb, opens_a_new_connection_at_the_next_try) {
    sql("CREATE TABLE t (a);");
    sqlite_asked().refuse = true;
    opening_prints(-1);
    sqlite3* const first = runtime.db;
    sqlite_asked().refuse = false;
    EXPECT_EQ(opening_prints(0), "");
    EXPECT_NE(runtime.db, first);
    sqlite3_close(first);
}

TEST_F(TopologyDb, gives_rows_columns_and_texts) {
    database_open();
    sql("INSERT INTO Device VALUES ('a',1,2,'x',NULL,'i'),('b',0,3,'x','n','i');");
    char** table = nullptr;
    int rows = 0;
    int columns = 0;
    ASSERT_EQ(backhaul_db_query("SELECT ALMac,Alive,DevName FROM Device;", &rows, &columns, &table),
              0);
    EXPECT_EQ(rows, 2);
    EXPECT_EQ(columns, 3);
    EXPECT_STREQ(table[0], "ALMac");
    EXPECT_STREQ(table[3], "a");
    EXPECT_STREQ(table[4], "1");
    EXPECT_EQ(table[5], nullptr);
    EXPECT_STREQ(table[8], "n");
    sqlite3_free_table(table);
}

TEST_F(TopologyDb, has_no_cell_outside_the_table) {
    database_open();
    sql("INSERT INTO Device VALUES ('a',1,2,'x',NULL,'i');");
    const DbTable table("SELECT ALMac,Alive FROM Device;");
    EXPECT_EQ(table.rows(), 1);
    EXPECT_STREQ(table.cell(0, 1), "1");
    EXPECT_EQ(table.cell(0, 2), nullptr);
    EXPECT_EQ(table.cell(1, 0), nullptr);
    EXPECT_EQ(table.cell(-1, 0), nullptr);
    EXPECT_EQ(table.cell(0, -1), nullptr);
}

TEST_F(TopologyDb, answers_an_empty_result_without_a_failure) {
    database_open();
    const answer got = ask(SQL_EXTENDERS);
    EXPECT_EQ(got.result, 0);
    EXPECT_EQ(got.rows, 0);
}

TEST_F(TopologyDb, fails_a_broken_statement) {
    database_open();
    expect_failure(ask("SELECT nothing FROM nowhere;"));
    expect_failure(ask("no statement"));
}

TEST_F(TopologyDb, fails_every_question_before_it_is_opened) {
    expect_no_answers();
}

TEST_F(TopologyDb, gives_no_answers_when_it_holds_garbage) {
    std::string garbage(8192, '\0');
    for (size_t i = 0; i < garbage.size(); ++i) {
        garbage[i] = static_cast<char>(i * 37 + i / 256);
    }
    put_file("/tmp/netprobe.db", garbage);
    ASSERT_EQ(backhaul_db_open(), 0) << "the file is first looked into by a question";
    expect_no_answers();
    EXPECT_EQ(file_text("/tmp/netprobe.db"), garbage);
}

TEST_F(TopologyDb, gives_no_answers_when_it_is_empty) {
    put_file("/tmp/netprobe.db", "");
    ASSERT_EQ(backhaul_db_open(), 0);
    expect_no_answers();
    EXPECT_EQ(file_text("/tmp/netprobe.db"), "");
}

TEST_F(TopologyDb, gives_no_answers_when_it_is_cut_while_open) {
    database_open();
    for (int i = 10; i < 60; ++i) {
        device_add(almac(std::to_string(i)), "1", "0", std::string(200, 'n'), "192.168.1.20");
    }
    ASSERT_EQ(ask(SQL_EXTENDERS).rows, 50);
    for (const off_t size : {off_t{6000}, off_t{2000}, off_t{50}, off_t{0}}) {
        ASSERT_EQ(truncate("/tmp/netprobe.db", size), 0);
        expect_no_answers();
    }
}

TEST_F(TopologyDb, gives_no_answers_without_its_tables_or_columns) {
    sql("CREATE TABLE Other (ALMac TEXT);");
    ASSERT_EQ(backhaul_db_open(), 0);
    expect_no_answers();
    sql("CREATE TABLE Device (ALMac TEXT, IP TEXT);"
        "INSERT INTO Device VALUES ('02:00:00:00:00:01','192.168.1.20');"
        "CREATE TABLE ExtenderWiFiLink (Mac TEXT, Status INTEGER);"
        "INSERT INTO ExtenderWiFiLink VALUES ('02:00:00:00:00:aa',1);");
    expect_no_answers();
}

TEST_F(TopologyDb, is_read_again_after_its_owner_changed_it_in_place) {
    database_open();
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 0);
    device_add(almac("01"), "1", "0");
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1);
    sql("DROP TABLE Device;");
    expect_failure(ask(SQL_EXTENDERS));
}

TEST_F(TopologyDb, keeps_the_file_that_it_opened_when_another_takes_its_place) {
    database_open();
    device_add(almac("01"), "1", "0");
    ASSERT_EQ(ask(SQL_EXTENDERS).rows, 1);
    ASSERT_EQ(rename("/tmp/netprobe.db", "/tmp/old.db"), 0);
    sql("CREATE TABLE Device (ALMac TEXT, Alive TEXT, nNotAlive TEXT, DevType TEXT);");
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1) << "opened once, for the life of the worker";
    ASSERT_EQ(unlink("/tmp/netprobe.db"), 0);
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1);
    EXPECT_FALSE(file_is_there("/tmp/netprobe.db")) << "a question must not create it";
}

TEST_F(TopologyDb, waits_for_a_writer_who_is_done_within_the_timeout) {
    database_open();
    device_add(almac("01"), "1", "0");
    DatabaseWriter writer;
    const auto start = steady_clock::now();
    std::thread owner([&] {
        EXPECT_TRUE(harness::wait_until(
            [&] { return steady_clock::now() - start > std::chrono::milliseconds(300); }));
        writer.unlock();
    });
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1);
    EXPECT_GE(steady_clock::now() - start, std::chrono::milliseconds(300));
    owner.join();
}

TEST_F(TopologyDb, gives_up_on_a_writer_after_two_seconds) {
    database_open();
    device_add(almac("01"), "1", "0");
    const DatabaseWriter writer;
    const auto start = steady_clock::now();
    expect_failure(ask(SQL_EXTENDERS));
    const auto waited = steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(1900));
    EXPECT_LT(waited, std::chrono::milliseconds(10000));
}

TEST_F(TopologyDb, leaves_the_list_alone_on_a_tick_that_finds_it_locked) {
    database_open();
    device_add(almac("01"), "1", "0");
    backhaul_ap_list_sync();
    sql("UPDATE Device SET Alive=0, nNotAlive=9;");
    {
        const DatabaseWriter writer;
        journal_take();
        backhaul_ap_list_sync();
        expect_journal({{}});
        EXPECT_THAT(list_now(), ElementsAre("02:00:00:00:00:01"));
    }
    backhaul_ap_list_sync();
    EXPECT_THAT(list_now(), ElementsAre());
}

TEST_F(TopologyDb, gives_the_name_of_the_first_row) {
    database_open();
    device_add(almac("01"), "1", "0", "Attic");
    device_add(almac("01"), "1", "0", "Cellar");
    std::array<char, 64> name{};
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    EXPECT_STREQ(name.data(), "Attic");
}

TEST_F(TopologyDb, leaves_the_name_alone_for_a_null_and_for_an_unknown_device) {
    database_open();
    sql("INSERT INTO Device VALUES ('02:00:00:00:00:01',1,0,'L2Device',NULL,'');");
    std::array<char, 64> name{"before"};
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    EXPECT_STREQ(name.data(), "before");
    backhaul_db_devname_get("02:00:00:00:00:02", name);
    EXPECT_STREQ(name.data(), "before");
}

TEST_F(TopologyDb, cuts_a_name_of_300_characters_to_the_room_there_is) {
    database_open();
    device_add(almac("01"), "1", "0", std::string(300, 'n'));
    std::array<char, 64> name{};
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    EXPECT_EQ(std::string(name.data()), std::string(63, 'n'));
    std::array<char, 4> small{};
    backhaul_db_devname_get("02:00:00:00:00:01", small);
    EXPECT_STREQ(small.data(), "nnn");
}

TEST_F(TopologyDb, gives_a_name_with_quotes_and_percent_signs_as_it_stands) {
    database_open();
    device_add(almac("01"), "1", "0", R"(Bob's "den" 100%s %n)");
    std::array<char, 64> name{};
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    EXPECT_STREQ(name.data(), R"(Bob's "den" 100%s %n)");
}

TEST_F(TopologyDb, never_takes_an_address_for_a_second_statement) {
    database_open();
    device_add(almac("01"), "1", "0", "Attic", "192.168.1.20");
    std::array<char, 64> name{"before"};
    backhaul_db_devname_get("'; DELETE FROM Device; --", name);
    EXPECT_FALSE(backhaul_db_device_valid_check("'; DELETE FROM Device; --"));
    EXPECT_EQ(backhaul_db_topo_check("'; DELETE FROM Device; --"), 0);
    backhaul_db_devname_get("' OR ''='", name);
    EXPECT_STREQ(name.data(), "before");
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1);
}

TEST_F(TopologyDb, is_asked_in_fixed_words) {
    database_open();
    link_add("02:00:00:00:00:aa", almac("01"), almac("02"), 1);
    trace_start();
    std::array<char, 64> name{};
    backhaul_ap_list_sync();
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    backhaul_db_device_valid_check("192.168.1.20");
    backhaul_db_topo_check("02:00:00:00:00:aa");
    EXPECT_THAT(traced_statements(),
                ElementsAre("SELECT ALMac,Alive,nNotAlive FROM Device where [DevType]='L2Device';",
                            "SELECT DevName FROM Device WHERE [ALMac]='02:00:00:00:00:01';",
                            "SELECT ALMac FROM Device WHERE [IP]='192.168.1.20';",
                            "SELECT ALMac FROM ExtenderWiFiLink where [Mac]='02:00:00:00:00:aa';",
                            "SELECT ALMac,AP_ALMac FROM ExtenderWiFiLink WHERE [Status] < 10;"));
}

TEST_F(TopologyDb, is_never_written) {
    database_open();
    device_add(almac("01"), "1", "0", "Attic", "192.168.1.20");
    device_add(almac("02"), "0", "3");
    link_add("02:00:00:00:00:aa", almac("01"), almac("02"), 1);
    struct stat before {};
    ASSERT_EQ(stat("/tmp/netprobe.db", &before), 0);
    const std::string bytes = file_text("/tmp/netprobe.db");

    std::array<char, 64> name{};
    backhaul_ap_list_sync();
    backhaul_db_devname_get("02:00:00:00:00:01", name);
    backhaul_db_device_valid_check("192.168.1.20");
    backhaul_db_topo_check("02:00:00:00:00:aa");

    struct stat after {};
    ASSERT_EQ(stat("/tmp/netprobe.db", &after), 0);
    EXPECT_EQ(file_text("/tmp/netprobe.db"), bytes);
    EXPECT_EQ(after.st_mtim.tv_sec, before.st_mtim.tv_sec);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    for (const char* const other : {"/tmp/netprobe.db-journal", "/tmp/netprobe.db-wal"}) {
        EXPECT_FALSE(file_is_there(other)) << other;
    }
}

TEST_F(TopologyDb, is_read_while_its_owner_keeps_a_write_ahead_log) {
    sql("PRAGMA journal_mode=WAL;");
    database_open();
    sqlite3* owner = nullptr;
    ASSERT_EQ(sqlite3_open("/tmp/netprobe.db", &owner), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(owner, "INSERT INTO Device VALUES ('a',1,0,'L2Device','n','i');",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    EXPECT_EQ(ask(SQL_EXTENDERS).rows, 1);
    sqlite3_close(owner);
}

}  // namespace
