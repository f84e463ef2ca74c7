// The rows that need nodes, each function a group of them. Called by main() one after the other;
// false with a sentence in `error` when something could not be measured.
#pragma once

#include <string>

#include "bench/table.h"

namespace bench {

struct Pair;

// Driver events and what follows from them, in `rounds` lives of an extender.
bool reactions_measure(Pair& pair, int rounds, Table& table, std::string& error);

// The system calls of a loss, a burst of client events, a new worker.
bool calls_measure(Pair& pair, Table& table, std::string& error);
bool burst_measure(Pair& pair, Table& table, std::string& error);
bool restarts_measure(Pair& pair, Table& table, std::string& error);

// How often a minute wakes the worker up.
bool wakeups_measure(Table& table, std::string& error);

// Link monitors and supervisors of Debian, where `folder` holds them.
bool others_measure(Pair& pair, const std::string& folder, Table& table, std::string& error);

// The path of a program of this folder.
inline std::string bench_program(const char* name) {
    return std::string(BACKHAUL_BUILD_DIR "/bench/") + name;
}

}  // namespace bench
