#include "topology/topology_db.h"

#include "runtime/file_io.h"
#include "runtime/heap.h"
#include "runtime/runtime_block.h"

#include <sqlite3.h>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t DB_LOOKASIDE_SIZE = 409600;
static_assert(DB_LOOKASIDE_SIZE ==
              static_cast<size_t>(DB_LOOKASIDE_SLOT_SIZE) * DB_LOOKASIDE_SLOTS);
using lookaside = std::array<std::max_align_t, DB_LOOKASIDE_SIZE / sizeof(std::max_align_t)>;

}  // namespace

int backhaul_db_open() {
    // The check keeps SQLite, which would create the file, away until its owner has made it.
    if (!file_exists(TOPOLOGY_DB_PATH)) {
        return -2;
    }
    if (sqlite3_open(TOPOLOGY_DB_PATH, &runtime.db) != SQLITE_OK) {
        std::printf("Can't open database: %s\n", sqlite3_errmsg(runtime.db));
        return -1;
    }
    sqlite3_busy_timeout(runtime.db, DB_BUSY_TIMEOUT_MS);
    // When there is no memory to be had, SQLite is given null and finds its own.
    runtime.db_lookaside = heap_make<lookaside>();
    const int result =
        sqlite3_db_config(runtime.db, SQLITE_DBCONFIG_LOOKASIDE, runtime.db_lookaside,
                          DB_LOOKASIDE_SLOT_SIZE, DB_LOOKASIDE_SLOTS);
    if (result != SQLITE_OK) {
        std::printf("lookaside configuration filed: %d", result);
        std::fflush(stdout);
        return -1;
    }
    return 0;
}

int backhaul_db_query(const char* sql, int* rows, int* columns, char*** table) {
    char* error = nullptr;
    if (runtime.db != nullptr &&
        sqlite3_get_table(runtime.db, sql, table, rows, columns, &error) == SQLITE_OK) {
        return 0;
    }
    sqlite3_free(error);
    *rows = -1;
    *columns = -1;
    *table = nullptr;
    return -1;
}

DbTable::DbTable(const char* sql) {
    backhaul_db_query(sql, &rows_, &columns_, &table_);
}

DbTable::DbTable(const char* format, const char* argument) {
    // The argument stands between quotes and is not escaped: one that holds a quote could be a
    // second statement, even one that writes. It fails as the broken statement would.
    if (std::strchr(argument, '\'') != nullptr) {
        return;
    }
    char* sql = sqlite3_mprintf(format, argument);
    if (sql == nullptr) {
        return;
    }
    backhaul_db_query(sql, &rows_, &columns_, &table_);
    sqlite3_free(sql);
}

DbTable::~DbTable() {
    sqlite3_free_table(table_);
}

const char* DbTable::cell(int row, int column) const {
    if (row < 0 || row >= rows_ || column < 0 || column >= columns_) {
        return nullptr;
    }
    // The first row of the table holds the column names.
    const size_t index = (static_cast<size_t>(row) + 1) * static_cast<size_t>(columns_) +
                         static_cast<size_t>(column);
    return table_[index];
}

almac_text db_almac_get(const char* format, const char* argument) {
    almac_text almac{};
    const DbTable table(format, argument);
    const char* const found = table.cell(0, 0);
    if (found != nullptr) {
        std::snprintf(almac.data(), almac.size(), "%s", found);
    }
    return almac;
}

void backhaul_db_devname_get(const char* almac, std::span<char> name) {
    const DbTable table(SQL_DEVICE_NAME, almac);
    const char* found = table.cell(0, 0);
    if (found != nullptr) {
        std::snprintf(name.data(), name.size(), "%s", found);
    }
}
