// Texts of the topology database, in which others write: whatever a device calls itself, the list,
// the look-ups and the walk for loops are those of the rows, the database stays as it is, and the
// tools get the texts as they are.

#include <sqlite3.h>

#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "root/ap_list.h"
#include "runtime/runtime_block.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"
#include "topology/topology_check.h"
#include "topology/topology_db.h"

namespace {

using fuzz::require;
using Text = std::optional<std::string>;  // none: null
using Words = std::vector<std::string>;

constexpr size_t ROWS_MAX = 12;
constexpr size_t DEVICE_COLUMNS = 6;  // ALMac, DevName, IP, DevType, Alive, nNotAlive
constexpr size_t LINK_COLUMNS = 4;    // ALMac, AP_ALMac, Mac, Status
constexpr char OWN_MAC[] = "02:00:00:00:00:01";
using Device = std::array<Text, DEVICE_COLUMNS>;
using Link = std::array<Text, LINK_COLUMNS>;

struct Topology {
    std::vector<Device> devices;
    std::vector<Link> links;
};

/// A cell is a text up to a zero; a lone 0xff is null, which stands for no valid text.
Text cell_read(fuzz::Input& input) {
    const std::string text = input.text_until('\0');
    return text == "\xff" ? Text() : Text(text);
}

Topology topology_read(fuzz::Input& input) {
    Topology topology;
    while (!input.is_empty() && topology.devices.size() + topology.links.size() < ROWS_MAX) {
        if ((input.byte() & 1U) != 0) {
            for (Text& cell : topology.links.emplace_back()) {
                cell = cell_read(input);
            }
        } else {
            for (Text& cell : topology.devices.emplace_back()) {
                cell = cell_read(input);
            }
            if (topology.devices.back()[3] == Text("")) {
                topology.devices.back()[3] = "L2Device";
            }
        }
    }
    return topology;
}

void sql_run(const char* sql) {
    require(sqlite3_exec(runtime.db, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
}

template <typename Rows>
void rows_put(const char* sql, const Rows& rows) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(runtime.db, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    for (const auto& row : rows) {
        int column = 0;
        for (const Text& cell : row) {
            ++column;
            if (cell) {
                sqlite3_bind_text(statement, column, cell->c_str(), -1, SQLITE_STATIC);
            } else {
                sqlite3_bind_null(statement, column);
            }
        }
        require(sqlite3_step(statement) == SQLITE_DONE, "a row is put");
        sqlite3_reset(statement);
    }
    sqlite3_finalize(statement);
}

void database_put(const Topology& topology) {
    if (runtime.db == nullptr) {
        require(sqlite3_open(":memory:", &runtime.db) == SQLITE_OK, "a database is there");
        sql_run(
            "CREATE TABLE Device(ALMac TEXT, DevName TEXT, IP TEXT, DevType TEXT, Alive TEXT,"
            " nNotAlive TEXT);"
            "CREATE TABLE ExtenderWiFiLink(ALMac TEXT, AP_ALMac TEXT, Mac TEXT, Status TEXT);");
    }
    sql_run("DELETE FROM Device; DELETE FROM ExtenderWiFiLink;");
    rows_put("INSERT INTO Device VALUES(?,?,?,?,?,?)", topology.devices);
    rows_put("INSERT INTO ExtenderWiFiLink VALUES(?,?,?,?)", topology.links);
}

std::string cut(const std::string& text) {
    return text.substr(0, ALMAC_SIZE - 1);
}

/// First value of `wanted` where `key` is `text`; a quote ends the look-up without a result.
template <typename Rows>
Text look_up(const Rows& rows, size_t key, size_t wanted, const std::string& text) {
    if (text.find('\'') == std::string::npos) {
        for (const auto& row : rows) {
            if (row[key] == Text(text)) {
                return row[wanted];
            }
        }
    }
    return std::nullopt;
}

void list_step(Words& list, const std::string& almac, bool is_present) {
    const auto at = std::find(list.begin(), list.end(), cut(almac));
    if (is_present && at == list.end()) {
        list.push_back(cut(almac));
    } else if (!is_present && at != list.end()) {
        list.erase(at);
    }
}

void list_check(const Topology& topology) {
    Words wanted;
    int alive = 0;
    int not_alive = 0;
    for (const Device& device : topology.devices) {
        if (device[3] != Text("L2Device")) {
            continue;
        }
        alive = device[4] ? std::atoi(device[4]->c_str()) : alive;
        not_alive = device[5] ? std::atoi(device[5]->c_str()) : not_alive;
        if (device[0]) {
            list_step(wanted, *device[0], alive == 1 || (alive == 0 && not_alive <= 2));
        }
    }
    backhaul_ap_list_sync();
    Words found;
    for (const ap_node* node = runtime.ap_list_head; node != nullptr; node = node->next) {
        found.emplace_back(node->almac.data());
    }
    require(found == wanted, "the list is that of the rows");
    for (const std::string& almac : wanted) {
        backhaul_ap_node_del(almac.c_str());
    }
    require(runtime.ap_count == 0 && runtime.ap_list_head == nullptr, "all can leave");
}

void look_ups_check(const Topology& topology, const std::string& asked) {
    std::array<char, 64> name{};
    backhaul_db_devname_get(asked.c_str(), name);
    require(look_up(topology.devices, 0, 1, asked).value_or("").substr(0, 63) == name.data(),
            "a name is that of the row");
    require(cut(look_up(topology.devices, 2, 0, asked).value_or("")) ==
                db_almac_get(SQL_DEVICE_BY_IP, asked.c_str()).data(),
            "a device is that of the address");
}

/// The walk over the live links. None: it goes round in a circle without this node.
std::optional<topo_result> walk_wanted(const std::vector<Link>& live, std::string at) {
    for (size_t step = 0; step <= live.size(); ++step) {
        const Link* upper = nullptr;
        for (const Link& link : live) {
            if (!link[0] || !link[1] || *link[0] == at) {
                upper = &link;
                break;
            }
        }
        if (upper == nullptr || !(*upper)[0] || !(*upper)[1]) {
            return TOPO_NO_LOOP;
        }
        at = *(*upper)[1];
        if (at == OWN_MAC) {
            return TOPO_LOOP;
        }
    }
    return std::nullopt;
}

/// Which links are live is for the database to say.
std::vector<Link> live_links() {
    std::vector<Link> live;
    const DbTable table(SQL_LIVE_LINKS);
    for (int row = 0; row < table.rows(); ++row) {
        Link& link = live.emplace_back();
        for (const int column : {0, 1}) {
            const char* const cell = table.cell(row, column);
            link[static_cast<size_t>(column)] = cell == nullptr ? Text() : Text(cell);
        }
    }
    return live;
}

void loop_check(const Topology& topology, const std::string& bssid) {
    const std::string owner = cut(look_up(topology.links, 2, 0, bssid).value_or(""));
    const auto wanted = owner.empty() ? TOPO_AP_UNKNOWN : walk_wanted(live_links(), owner);
    // The circle is walked for ever, as the contract has it.
    require(!wanted || backhaul_db_topo_check(bssid.c_str()) == *wanted,
            "a loop is found where the links make one");
}

}  // namespace

// The name is the fuzzer engine's. What is asked for stands before the rows.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::Input input(data, size);
    const std::string asked = input.text_until('\0');
    const Topology topology = topology_read(input);
    database_put(topology);
    fuzz::file_put("/tmp/FirstMAC", std::string(OWN_MAC) + "\n");
    fuzz::shell_reset();
    const int changes = sqlite3_total_changes(runtime.db);
    list_check(topology);
    look_ups_check(topology, asked);
    loop_check(topology, asked);
    require(sqlite3_total_changes(runtime.db) == changes, "nothing is written by a question");
    fuzz::require_lines_are_words();
    return 0;
}
