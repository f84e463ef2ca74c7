// All measures of the daemon in one table, each beside the floor of the same run.
//
//   bench [ROUNDS [FOLDER]]   lives to take samples of (40); programs of others to stand beside
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "bench/life.h"
#include "bench/rows.h"
#include "lab/sandbox/sandbox.h"

namespace {

constexpr int ROUNDS = 40;

/// The rows that bench_inside prints.
bool inside_measure(bench::Table& table, std::string& error) {
    const auto bed = bench::Bed::make({.name = "inside", .address = "192.168.1.100/24"}, error);
    std::string printed;
    if (bed == nullptr || !bed->run({bench::bench_program("bench_inside")}, printed)) {
        error = bed == nullptr ? error : bed->error();
        return false;
    }
    std::istringstream rows(printed);
    bench::Row row;
    row.unit = "us";
    while (std::getline(rows, row.measure, '\t') &&
           rows >> row.here >> row.floor >> row.noise >> row.goal) {
        rows.ignore(1);
        row.kind = row.goal > 0 ? bench::Goal::ratio : bench::Goal::none;
        table.add(row);
    }
    return true;
}

bool measure(int rounds, const std::string& others, bench::Table& table, std::string& error) {
    bench::Pair pair;
    return bench::wakeups_measure(table, error) && bench::pair_make(pair, error) &&
           bench::calls_measure(pair, table, error) &&
           bench::reactions_measure(pair, rounds, table, error) &&
           bench::burst_measure(pair, table, error) &&
           bench::restarts_measure(pair, table, error) && inside_measure(table, error) &&
           (others.empty() || bench::others_measure(pair, others, table, error));
}

}  // namespace

int main(int argc, char** argv) {
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    options.keep = {BACKHAUL_BUILD_DIR};
    options.tools = false;
    options.network.switch_bridge = true;
    options.network.address = "192.168.1.1/24";
    options.network.gateway = "";
    std::string error;
    bench::Table table;
    const bool good =
        lab::sandbox_enter(options, error) &&
        measure(argc > 1 ? std::atoi(argv[1]) : ROUNDS, argc > 2 ? argv[2] : "", table, error);
    table.print();
    if (!good) {
        std::fprintf(stderr, "bench: %s\n", error.c_str());
    }
    return good ? 0 : 1;
}
