#include "tests/root/root_fixture.h"

#include "radar/dfs_channels.h"
#include "root/ap_list.h"
#include "root/event_log.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"
#include "topology/topology_db.h"

#include <dlfcn.h>
#include <sqlite3.h>
#include <cstdarg>
#include <cstdlib>

namespace {

constexpr char SCHEMA[] =
    "CREATE TABLE Device (ALMac TEXT, Alive INTEGER, nNotAlive INTEGER, DevType TEXT, "
    "DevName TEXT, IP TEXT);"
    "CREATE TABLE ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);";

void lists_clear() {
    while (runtime.ap_list_head != nullptr) {
        ap_node* const node = runtime.ap_list_head;
        runtime.ap_list_head = node->next;
        heap_drop(node);
    }
    runtime.ap_list_tail = nullptr;
    runtime.ap_count = 0;
    while (runtime.event_log_head != nullptr) {
        event_log_entry* const entry = runtime.event_log_head;
        runtime.event_log_head = entry->next;
        heap_drop(entry);
    }
    runtime.event_log_tail = nullptr;
    runtime.event_log_num = 0;
}

std::string quoted(const std::string& text) {
    char* const escaped = sqlite3_mprintf("%Q", text.c_str());
    const std::string result = escaped;
    sqlite3_free(escaped);
    return result;
}

}  // namespace

sqlite_setup& sqlite_asked() {
    static sqlite_setup asked;
    return asked;
}

// In the place of SQLite's own: note what is asked for, then pass it on.
extern "C" int sqlite3_busy_timeout(sqlite3* db, int milliseconds) {
    sqlite_asked().busy_timeout = milliseconds;
    using function = int (*)(sqlite3*, int);
    return reinterpret_cast<function>(dlsym(RTLD_NEXT, "sqlite3_busy_timeout"))(db, milliseconds);
}

extern "C" int sqlite3_db_config(sqlite3* db, int option, ...) {
    va_list arguments;
    va_start(arguments, option);
    void* const memory = va_arg(arguments, void*);
    const int slot_size = va_arg(arguments, int);
    const int slots = va_arg(arguments, int);
    va_end(arguments);
    EXPECT_EQ(option, SQLITE_DBCONFIG_LOOKASIDE);
    sqlite_asked().memory.push_back(memory);
    sqlite_asked().slot_size = slot_size;
    sqlite_asked().slots = slots;
    if (sqlite_asked().refuse) {
        return SQLITE_BUSY;
    }
    using function = int (*)(sqlite3*, int, ...);
    return reinterpret_cast<function>(dlsym(RTLD_NEXT, "sqlite3_db_config"))(db, option, memory,
                                                                             slot_size, slots);
}

void RootTest::SetUp() {
    harness::TableTest::SetUp();
    lists_clear();
    runtime.dfs_channel_cache = nullptr;
    runtime.db = nullptr;
    sqlite_asked() = {};
    traced_statements().clear();
}

void RootTest::TearDown() {
    lists_clear();
    sqlite3_close(runtime.db);
    runtime.db = nullptr;
    for (void* const memory : sqlite_asked().memory) {
        std::free(memory);
    }
    harness::TableTest::TearDown();
}

void RootTest::sql(const std::string& statements) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &db), SQLITE_OK);
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(db, statements.c_str(), nullptr, nullptr, &error), SQLITE_OK)
        << statements << ": " << (error != nullptr ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

void RootTest::database_open() {
    sql(SCHEMA);
    ASSERT_EQ(backhaul_db_open(), 0);
}

void RootTest::device_add(const std::string& almac, const std::string& alive,
                          const std::string& misses, const std::string& name,
                          const std::string& ip) {
    sql("INSERT INTO Device VALUES (" + quoted(almac) + "," + alive + "," + misses +
        ",'L2Device'," + quoted(name) + "," + quoted(ip) + ");");
}

void RootTest::link_add(const std::string& bssid, const std::string& almac,
                        const std::string& parent, int status) {
    sql("INSERT INTO ExtenderWiFiLink VALUES (" + quoted(bssid) + "," + quoted(almac) + "," +
        quoted(parent) + "," + std::to_string(status) + ");");
}

std::vector<std::string> RootTest::list_now() {
    std::vector<std::string> list;
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        list.emplace_back(node->almac.data());
    }
    return list;
}

DatabaseWriter::DatabaseWriter() {
    EXPECT_EQ(sqlite3_open(TOPOLOGY_DB_PATH, &db_), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db_, "BEGIN EXCLUSIVE;", nullptr, nullptr, nullptr), SQLITE_OK);
}

DatabaseWriter::~DatabaseWriter() {
    sqlite3_close(db_);
}

void DatabaseWriter::unlock() {
    EXPECT_EQ(sqlite3_exec(db_, "COMMIT;", nullptr, nullptr, nullptr), SQLITE_OK);
}

std::vector<std::string>& traced_statements() {
    static std::vector<std::string> statements;
    return statements;
}

void trace_start() {
    const auto note = [](unsigned, void*, void*, void* text) {
        traced_statements().emplace_back(static_cast<const char*>(text));
        return 0;
    };
    sqlite3_trace_v2(runtime.db, SQLITE_TRACE_STMT, note, nullptr);
}

std::string almac(const std::string& number) {
    return "02:00:00:00:00:" + number;
}
