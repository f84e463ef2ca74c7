#pragma once

// The topology database "/tmp/netprobe.db": opened once, only read, never created.
//
// Another service writes it. One connection (`runtime.db`) serves every thread; SQLite serialises
// it, and a query waits up to two seconds for the writer. Statement texts are fixed.

#include <array>
#include <cstddef>
#include <span>

inline constexpr char TOPOLOGY_DB_PATH[] = "/tmp/netprobe.db";
inline constexpr int DB_BUSY_TIMEOUT_MS = 2000;
inline constexpr int DB_LOOKASIDE_SLOT_SIZE = 1024;
inline constexpr int DB_LOOKASIDE_SLOTS = 400;

/// An AL MAC address as it is kept, cut to fit.
inline constexpr size_t ALMAC_SIZE = 20;
using almac_text = std::array<char, ALMAC_SIZE>;

inline constexpr char SQL_EXTENDERS[] =
    "SELECT ALMac,Alive,nNotAlive FROM Device where [DevType]='L2Device';";
inline constexpr char SQL_DEVICE_NAME[] = "SELECT DevName FROM Device WHERE [ALMac]='%s';";
inline constexpr char SQL_DEVICE_BY_IP[] = "SELECT ALMac FROM Device WHERE [IP]='%s';";
inline constexpr char SQL_AP_OWNER[] = "SELECT ALMac FROM ExtenderWiFiLink where [Mac]='%s';";
inline constexpr char SQL_LIVE_LINKS[] =
    "SELECT ALMac,AP_ALMac FROM ExtenderWiFiLink WHERE [Status] < 10;";

/// Returns 0 when ready, -1 when the open or the memory configuration failed, -2 while the file
/// does not exist.
int backhaul_db_open();

/// Runs `sql`. Returns 0 with the counts and the table (the caller frees it with
/// sqlite3_free_table), or -1 with both counts -1 and a null table.
int backhaul_db_query(const char* sql, int* rows, int* columns, char*** table);

/// A query's result that is freed when it goes. `text` is a statement with at most one %s.
class DbTable {
public:
    explicit DbTable(const char* sql);
    DbTable(const char* format, const char* argument);
    ~DbTable();
    DbTable(const DbTable&) = delete;
    DbTable& operator=(const DbTable&) = delete;

    /// Data rows, -1 after a failed query.
    int rows() const {
        return rows_;
    }
    /// Text of a data row (0 is the first) and column, null for a null value.
    const char* cell(int row, int column) const;
    char** raw() const {
        return table_;
    }

private:
    int rows_ = -1;
    int columns_ = -1;
    char** table_ = nullptr;
};

/// AL MAC address in the first cell that the statement `format` finds for `argument`; empty when
/// there is none.
almac_text db_almac_get(const char* format, const char* argument);

/// Copies the device name of `almac` into `name` (cut to fit); leaves it unchanged when unknown.
void backhaul_db_devname_get(const char* almac, std::span<char> name);
