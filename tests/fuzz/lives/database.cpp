#include "tests/fuzz/lives/database.h"

#include <sqlite3.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <vector>

#include "tests/fuzz/lives/life.h"

namespace lives {
namespace {

using Cell = std::optional<std::string>;
using Row = std::vector<Cell>;

constexpr int STATUS_LIVE_MAX = 10;

constexpr std::string_view EXTENDERS =
    "SELECT ALMac,Alive,nNotAlive FROM Device where [DevType]='L2Device';";
constexpr std::string_view DEVICE_NAME = "SELECT DevName FROM Device WHERE [ALMac]='";
constexpr std::string_view DEVICE_BY_IP = "SELECT ALMac FROM Device WHERE [IP]='";
constexpr std::string_view AP_OWNER = "SELECT ALMac FROM ExtenderWiFiLink where [Mac]='";
constexpr std::string_view LIVE_LINKS =
    "SELECT ALMac,AP_ALMac FROM ExtenderWiFiLink WHERE [Status] < 10;";

// The value of a question that is `begin`, the value in quotes and the end; nothing when it is not.
std::optional<std::string> asked(const std::string& sql, std::string_view begin) {
    if (!sql.starts_with(begin) || !sql.ends_with("';") || sql.size() < begin.size() + 2) {
        return std::nullopt;
    }
    std::string value = sql.substr(begin.size(), sql.size() - begin.size() - 2);
    return value.find('\'') == std::string::npos ? std::optional(value) : std::nullopt;
}

// A walk upwards over these links may go on for ever: required to have no limit, so the answer is
// that of a database that is in use.
bool links_close_circle(const std::vector<Row>& links) {
    std::map<std::string, std::string> parents;
    for (const Row& link : links) {
        if (!link[0] || !link[1]) {
            break;  // the walk ends at such a row
        }
        parents.try_emplace(*link[0], *link[1]);
    }
    for (const auto& [node, parent] : parents) {
        std::string at = node;
        for (size_t steps = 0; parents.contains(at); ++steps) {
            if (steps > parents.size()) {
                return true;
            }
            at = parents[at];
        }
    }
    return false;
}

std::optional<std::vector<Row>> rows_of(const Life& life, const std::string& sql, int* columns) {
    std::vector<Row> rows;
    *columns = 1;
    const auto& devices = life.around.devices;
    if (sql == EXTENDERS) {
        *columns = 3;
        for (const DeviceRow& device : devices) {
            rows.push_back({device.almac, device.alive, device.not_alive});
        }
    } else if (sql == LIVE_LINKS) {
        *columns = 2;
        for (const LinkRow& link : life.around.links) {
            if (link.status < STATUS_LIVE_MAX) {
                rows.push_back({link.almac, link.ap_almac});
            }
        }
    } else if (const auto almac = asked(sql, DEVICE_NAME)) {
        for (const DeviceRow& device : devices) {
            if (device.almac == *almac) {
                rows.push_back({device.name});
            }
        }
    } else if (const auto ip = asked(sql, DEVICE_BY_IP)) {
        for (const DeviceRow& device : devices) {
            if (device.ip == *ip) {
                rows.push_back({device.almac});
            }
        }
    } else if (const auto mac = asked(sql, AP_OWNER)) {
        for (const LinkRow& link : life.around.links) {
            if (link.mac == *mac) {
                rows.push_back({link.almac});
            }
        }
    } else {
        return std::nullopt;
    }
    return rows;
}

}  // namespace

int table_answer(Life& life, const std::string& sql, char*** table, int* rows, int* columns) {
    const auto found = rows_of(life, sql, columns);
    if (!found) {
        life.broken("asks the database what is no question of the contract: " + sql);
    }
    if (life.around.database_fails || life.around.memory_refused ||
        (sql == LIVE_LINKS && links_close_circle(*found))) {
        return SQLITE_BUSY;
    }
    *rows = static_cast<int>(found->size());
    *columns = *rows == 0 ? 0 : *columns;
    const auto count = static_cast<size_t>(*rows + 1) * static_cast<size_t>(*columns);
    *table = static_cast<char**>(std::calloc(count + 1, sizeof(char*)));
    char** cell = *table + *columns;
    for (const Row& row : *found) {
        for (const Cell& value : row) {
            if (value) {
                *cell = static_cast<char*>(std::calloc(value->size() + 1, 1));
                std::memcpy(*cell, value->data(), value->size());
            }
            ++cell;
        }
    }
    // How many there are, for who drops them.
    life.tables[*table] = count;
    return SQLITE_OK;
}

void table_drop(Life& life, char** table) {
    if (table == nullptr) {
        return;
    }
    for (size_t i = 0; i < life.tables[table]; ++i) {
        std::free(table[i]);
    }
    life.tables.erase(table);
    std::free(table);
}

}  // namespace lives
