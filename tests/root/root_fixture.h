#pragma once

// Fixture of the root's acting functions: a sandbox with an empty interface table, empty lists and
// no database; tests make a real one with SQLite.

#include "tests/harness/table_fixture.h"

#include <string>
#include <vector>

using harness::joined;
using harness::Journal;

struct sqlite3;

class RootTest : public harness::TableTest {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Runs statements on the database as the service that owns it would, making it if needed.
    static void sql(const std::string& statements);

    /// Makes the two tables, empty, and opens the database as start-up does.
    void database_open();

    /// Adds a device row; `alive` and `misses` are SQL values ("1", "NULL").
    static void device_add(const std::string& almac, const std::string& alive,
                           const std::string& misses, const std::string& name = "",
                           const std::string& ip = "");

    /// Adds a link row; `status` below 10 is a live link.
    static void link_add(const std::string& bssid, const std::string& almac,
                         const std::string& parent, int status);

    /// Addresses of the list in memory, first to last.
    static std::vector<std::string> list_now();
};

/// The second connection that keeps the database locked while it lives.
class DatabaseWriter {
public:
    DatabaseWriter();
    ~DatabaseWriter();
    DatabaseWriter(const DatabaseWriter&) = delete;
    DatabaseWriter& operator=(const DatabaseWriter&) = delete;
    void unlock();

private:
    sqlite3* db_ = nullptr;
};

/// Statements that reach the daemon's connection, as they stand.
std::vector<std::string>& traced_statements();
void trace_start();

/// What the opening of the database asked SQLite for, and whether the memory is to be refused.
struct sqlite_setup {
    int busy_timeout = -1;
    std::vector<void*> memory;
    int slot_size = -1;
    int slots = -1;
    bool refuse = false;
};
sqlite_setup& sqlite_asked();

/// An AL MAC address that ends in `number` (two hexadecimal digits).
std::string almac(const std::string& number);
