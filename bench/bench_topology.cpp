// The loop check on chains of nodes, the AP to be joined at the bottom: its cost grows with the
// square of the length, because each step searches the table from the top. Once the walk alone,
// once the whole check with its two queries of a database in memory.

#include "runtime/runtime_block.h"
#include "topology/topology_check.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string almac(size_t node) {
    std::array<char, 18> text{};
    std::snprintf(text.data(), text.size(), "02:00:00:00:%02zx:%02zx", node / 256 % 256,
                  node % 256);
    return text.data();
}

/// A result table as SQLite gives it: two column names, then node and parent of each link. The
/// links stand top first, which is the worst order for a walk that starts at the bottom.
std::vector<std::string> chain_cells(size_t links) {
    std::vector<std::string> cells{"ALMac", "AP_ALMac"};
    for (size_t node = 1; node <= links; ++node) {
        cells.push_back(almac(node));
        cells.push_back(almac(node - 1));
    }
    return cells;
}

void walks_a_chain(benchmark::State& state) {
    const auto links = static_cast<size_t>(state.range(0));
    std::vector<std::string> cells = chain_cells(links);
    std::vector<char*> table;
    for (std::string& cell : cells) {
        table.push_back(cell.data());
    }
    const std::string bottom = almac(links);
    const std::string stranger = "02:ff:ff:ff:ff:ff";
    if (topo_walk(bottom.c_str(), stranger.c_str(), table.data(), static_cast<int>(links)) !=
        TOPO_NO_LOOP) {
        state.SkipWithError("the chain does not end at its top");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            topo_walk(bottom.c_str(), stranger.c_str(), table.data(), static_cast<int>(links)));
    }
    state.SetComplexityN(state.range(0));
}

/// Fills a database in memory with a chain of live links and gives it to the check.
bool chain_database_open(size_t links) {
    if (sqlite3_open(":memory:", &runtime.db) != SQLITE_OK) {
        return false;
    }
    std::string statements =
        "CREATE TABLE ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);"
        "BEGIN;";
    for (size_t node = 1; node <= links; ++node) {
        const std::string own = almac(node);
        statements += "INSERT INTO ExtenderWiFiLink VALUES ('" + own + "','" + own + "','" +
                      almac(node - 1) + "',1);";
    }
    statements += "COMMIT;";
    return sqlite3_exec(runtime.db, statements.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

void checks_a_chain_in_the_database(benchmark::State& state) {
    const auto links = static_cast<size_t>(state.range(0));
    const std::string bottom = almac(links);
    if (!chain_database_open(links) || backhaul_db_topo_check(bottom.c_str()) != TOPO_NO_LOOP) {
        state.SkipWithError("the chain cannot be checked");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(backhaul_db_topo_check(bottom.c_str()));
    }
    state.SetComplexityN(state.range(0));
    sqlite3_close(runtime.db);
    runtime.db = nullptr;
}

}  // namespace

BENCHMARK(checks_a_chain_in_the_database)->RangeMultiplier(10)->Range(10, 1000)->Complexity();
BENCHMARK(walks_a_chain)->RangeMultiplier(10)->Range(10, 1000)->Complexity();
