// The node's topology database and the other files that a node's neighbours write. From outside,
// on any thread; the database is a real one, made and changed with SQLite.
#pragma once

#include <string>

#include "lab/node/node.h"

namespace lab {

// The two tables that the daemon reads, empty.
inline constexpr char DATABASE_SCHEMA[] =
    "CREATE TABLE Device (ALMac TEXT, Alive INTEGER, nNotAlive INTEGER, DevType TEXT, "
    "DevName TEXT, IP TEXT);"
    "CREATE TABLE ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);";

// Runs SQL statements on /tmp/netprobe.db, making the file if needed.
bool database_run(const Node& node, const std::string& sql, std::string& error);

// A second connection that keeps the database locked against readers while it lives.
class DatabaseLock {
public:
    // Takes the lock; ok() tells whether that worked.
    explicit DatabaseLock(const Node& node);
    ~DatabaseLock();
    DatabaseLock(const DatabaseLock&) = delete;
    DatabaseLock& operator=(const DatabaseLock&) = delete;
    bool ok() const {
        return ok_;
    }

private:
    void* handle_ = nullptr;
    bool ok_ = false;
};

// Writes one command into the daemon's control FIFO with a single write; false when there is no
// FIFO or nobody reads it.
bool fifo_command(const Node& node, const std::string& bytes, std::string& error);

}  // namespace lab
