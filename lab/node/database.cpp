#include "lab/node/database.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "lab/node/inside.h"

namespace lab {
namespace {

constexpr char DATABASE[] = "/tmp/netprobe.db";

bool run(sqlite3* handle, const std::string& sql, std::string& error) {
    char* said = nullptr;
    const int result = sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, &said);
    if (result != SQLITE_OK) {
        error = said == nullptr ? "SQLite says nothing" : said;
    }
    sqlite3_free(said);
    return result == SQLITE_OK;
}

}  // namespace

bool database_run(const Node& node, const std::string& sql, std::string& error) {
    bool worked = false;
    const auto work = [&] {
        sqlite3* handle = nullptr;
        if (sqlite3_open(DATABASE, &handle) == SQLITE_OK) {
            sqlite3_busy_timeout(handle, 2000);
            worked = run(handle, sql, error);
        } else {
            error = std::string("cannot open ") + DATABASE;
        }
        sqlite3_close(handle);
    };
    return with_files_of(node, work, error) && worked;
}

DatabaseLock::DatabaseLock(const Node& node) {
    std::string error;
    const auto work = [this, &error] {
        sqlite3* handle = nullptr;
        ok_ = sqlite3_open(DATABASE, &handle) == SQLITE_OK &&
              run(handle, "PRAGMA locking_mode=EXCLUSIVE; BEGIN EXCLUSIVE;", error);
        handle_ = handle;
    };
    with_files_of(node, work, error);
}

DatabaseLock::~DatabaseLock() {
    sqlite3_close(static_cast<sqlite3*>(handle_));
}

bool fifo_command(const Node& node, const std::string& bytes, std::string& error) {
    const int fd = open(node.at("/tmp/backhaul_fifo").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        error = std::string("nobody reads the control FIFO: ") + strerror(errno);
        return false;
    }
    const ssize_t put = write(fd, bytes.data(), bytes.size());
    close(fd);
    if (put != static_cast<ssize_t>(bytes.size())) {
        error = "the control FIFO did not take the command whole";
        return false;
    }
    return true;
}

}  // namespace lab
