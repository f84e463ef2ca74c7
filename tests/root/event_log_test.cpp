// The join/leave history: the tool's line, the list of five, and the file.

#include "root/event_log.h"

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "tests/harness/no_memory.h"
#include "tests/harness/sandbox.h"
#include "topology/topology_db.h"

namespace {

using harness::file_text;
using testing::ElementsAre;

constexpr char LOG[] = "/var/log/backhaul_log";

class EventLog : public harness::SandboxTest {
protected:
    void SetUp() override {
        SandboxTest::SetUp();
        ASSERT_EQ(runtime.event_log_head, nullptr);
    }

    void TearDown() override {
        while (runtime.event_log_head != nullptr) {
            event_log_entry* const next = runtime.event_log_head->next;
            heap_drop(runtime.event_log_head);
            runtime.event_log_head = next;
        }
        runtime.event_log_tail = nullptr;
        runtime.event_log_num = 0;
        sqlite3_close(runtime.db);
        runtime.db = nullptr;
        SandboxTest::TearDown();
    }

    /// Makes the topology database with two named nodes and opens it.
    static void database_open() {
        ASSERT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &runtime.db), SQLITE_OK);
        ASSERT_EQ(sqlite3_exec(runtime.db,
                               "CREATE TABLE Device (ALMac TEXT, DevName TEXT);"
                               "INSERT INTO Device VALUES ('02:00:00:00:00:0a', 'Kitchen');"
                               "INSERT INTO Device VALUES ('02:00:00:00:00:0b', "
                               "'A name of seventy characters, which is more than what the look-up "
                               "keeps');",
                               nullptr, nullptr, nullptr),
                  SQLITE_OK);
    }
};

TEST_F(EventLog, names_the_node_that_the_database_knows) {
    database_open();
    event_log("02:00:00:00:00:0a", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text(LOG), "Kitchen(02:00:00:00:00:0a) join\n");
    EXPECT_THAT(harness::recorded_lines(),
                ElementsAre("vlog 0 0 \"Kitchen(02:00:00:00:00:0a) join\""));
}

TEST_F(EventLog, begins_with_the_parenthesis_for_a_node_unknown_to_the_database) {
    database_open();
    event_log("02:00:00:00:00:99", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text(LOG), "(02:00:00:00:00:99) join\n");
    EXPECT_THAT(harness::recorded_lines(), ElementsAre("vlog 0 0 \"(02:00:00:00:00:99) join\""));
}

TEST_F(EventLog, begins_with_the_parenthesis_while_there_is_no_database) {
    event_log("02:00:00:00:00:0a", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text(LOG), "(02:00:00:00:00:0a) join\n");
}

TEST_F(EventLog, cuts_a_long_name_at_63_characters) {
    database_open();
    event_log("02:00:00:00:00:0b", EVENT_LOG_LEAVE);
    EXPECT_EQ(file_text(LOG),
              "A name of seventy characters, which is more than what the look-(02:00:00:00:00:0b) "
              "leave\n");
}

TEST_F(EventLog, takes_every_kind_but_1_for_a_leave) {
    event_log("a", EVENT_LOG_JOIN);
    event_log("b", EVENT_LOG_LEAVE);
    event_log("c", static_cast<event_log_kind>(0));
    EXPECT_EQ(file_text(LOG), "(a) join\n(b) leave\n(c) leave\n");
    EXPECT_THAT(
        harness::recorded_lines(),
        ElementsAre("vlog 0 0 \"(a) join\"", "vlog 0 0 \"(b) leave\"", "vlog 0 0 \"(c) leave\""));
}

TEST_F(EventLog, keeps_the_five_newest_oldest_first) {
    for (const char* const almac : {"1", "2", "3", "4", "5"}) {
        event_log(almac, EVENT_LOG_JOIN);
    }
    EXPECT_EQ(runtime.event_log_num, 5);
    EXPECT_EQ(file_text(LOG), "(1) join\n(2) join\n(3) join\n(4) join\n(5) join\n");
    event_log("6", EVENT_LOG_LEAVE);
    EXPECT_EQ(file_text(LOG), "(2) join\n(3) join\n(4) join\n(5) join\n(6) leave\n");
    EXPECT_EQ(runtime.event_log_num, 5);
    event_log("7", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text(LOG), "(3) join\n(4) join\n(5) join\n(6) leave\n(7) join\n");
    EXPECT_EQ(runtime.event_log_num, 5);
}

TEST_F(EventLog, replaces_what_an_earlier_worker_left_in_the_file) {
    harness::put_file(LOG, "(old) join\n(older) leave\n");
    event_log("new", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text(LOG), "(new) join\n");
}

TEST_F(EventLog, keeps_the_list_when_the_file_cannot_be_opened) {
    mkdir(LOG, 0755);
    event_log("1", EVENT_LOG_JOIN);
    rmdir(LOG);
    EXPECT_EQ(runtime.event_log_num, 1);
    event_log("2", EVENT_LOG_LEAVE);
    EXPECT_EQ(file_text(LOG), "(1) join\n(2) leave\n");
}

TEST_F(EventLog, hands_the_name_of_a_device_on_as_it_is) {
    database_open();
    for (const std::string name : {"$(>/tmp/ran)", "`>/tmp/ran`", "\"; >/tmp/ran; \"", "a\\",
                                   "Bob's\nroom & $HOME", "\\\";>/tmp/ran #"}) {
        lab::records_clear("");
        sqlite3_stmt* update = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(runtime.db,
                                     "UPDATE Device SET DevName=? WHERE ALMac='02:00:00:00:00:0a'",
                                     -1, &update, nullptr),
                  SQLITE_OK);
        sqlite3_bind_text(update, 1, name.c_str(), -1, SQLITE_TRANSIENT);
        EXPECT_EQ(sqlite3_step(update), SQLITE_DONE);
        sqlite3_finalize(update);
        event_log("02:00:00:00:00:0a", EVENT_LOG_JOIN);
        const auto calls = lab::call_records("");
        ASSERT_EQ(calls.size(), 1U) << name;
        EXPECT_THAT(calls[0].words, ElementsAre("0", "0", name + "(02:00:00:00:00:0a) join"));
        EXPECT_FALSE(harness::file_is_there("/tmp/ran")) << name;
        EXPECT_THAT(file_text(LOG), testing::EndsWith(name + "(02:00:00:00:00:0a) join\n"));
    }
}

TEST_F(EventLog, hands_a_crafted_address_on_as_it_is) {
    event_log("$(>/tmp/ran)`>/tmp/ran`\";>/tmp/ran\"", EVENT_LOG_LEAVE);
    const auto calls = lab::call_records("");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0].words,
                ElementsAre("0", "0", "($(>/tmp/ran)`>/tmp/ran`\";>/tmp/ran\") leave"));
    EXPECT_FALSE(harness::file_is_there("/tmp/ran"));
}

TEST_F(EventLog, cuts_the_tool_s_line_where_its_text_ends_whole) {
    // 127 characters hold 58 covered ones between the quotes, or 57 behind the parenthesis.
    event_log(std::string(90, '$').c_str(), EVENT_LOG_JOIN);
    const auto calls = lab::call_records("");
    ASSERT_EQ(calls.size(), 1U);
    EXPECT_THAT(calls[0].words, ElementsAre("0", "0", "(" + std::string(57, '$')));
    EXPECT_EQ(file_text(LOG), "(" + std::string(90, '$') + ") jo\n");
}

TEST_F(EventLog, replaces_a_link_in_the_place_of_its_file) {
    harness::put_file("/tmp/victim", "victim\n");
    ASSERT_EQ(symlink("/tmp/victim", LOG), 0);
    event_log("1", EVENT_LOG_JOIN);
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    EXPECT_EQ(file_text(LOG), "(1) join\n");
}

TEST_F(EventLog, tells_the_system_log_of_an_entry_for_which_there_is_no_memory) {
    event_log("1", EVENT_LOG_JOIN);
    {
        const harness::NoMemory refused;
        event_log("2", EVENT_LOG_JOIN);
    }
    EXPECT_EQ(runtime.event_log_num, 1);
    EXPECT_EQ(file_text(LOG), "(1) join\n");
    event_log("3", EVENT_LOG_LEAVE);
    EXPECT_EQ(file_text(LOG), "(1) join\n(3) leave\n");
    EXPECT_THAT(
        harness::recorded_lines(),
        ElementsAre("vlog 0 0 \"(1) join\"", "vlog 0 0 \"(2) join\"", "vlog 0 0 \"(3) leave\""));
}

TEST_F(EventLog, tells_the_system_log_before_the_list_and_the_file_change) {
    harness::put_file(LOG, "before\n");
    lab::answer_hold("", "vlog", "vlog");
    std::thread logging([] { event_log("1", EVENT_LOG_JOIN); });
    EXPECT_TRUE(harness::wait_until([] { return harness::recorded_calls().size() == 1; }));
    EXPECT_EQ(file_text(LOG), "before\n");
    lab::gate_open("", "vlog");
    logging.join();
    EXPECT_EQ(file_text(LOG), "(1) join\n");
}

}  // namespace
