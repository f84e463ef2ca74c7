// A daemon and, in a second node, the floor's program with the same lines, entries and files: the
// two sides of most rows. Made and used by the benchmark's main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/bed.h"
#include "bench/table.h"

namespace bench {

// The steps of a life for the floor's program, as texts of its files.
struct Life {
    std::string loss;
    std::string connect;
    std::string ready;
    std::string loss_entries;  // those before the status file
};

// Both sides and what is measured on them.
struct Pair {
    std::unique_ptr<Bed> daemon;
    std::unique_ptr<Bed> floor;
    pid_t floor_pid = -1;
    Samples restart;  // of the daemon, filled when that has been measured
    Life life;
};

// Both running, the daemon as a ready extender; what a life consists of is read off one before.
bool pair_make(Pair& pair, std::string& error);

// The floor's program does the steps of `interface` until `done`: "ath0" a loss, "ath1" a connect,
// "ath10" ready, "ath11" the status file, "ath14" that behind a loss's entries.
bool floor_react(Bed& bed, const char* interface, Reaction& seen,
                 const std::function<bool(const Reaction&)>& done);

// The floor's program with other steps, for "ath0" alone, in a bed of its own.
bool floor_start(Bed& bed, const std::vector<std::pair<std::string, std::string>>& scripts,
                 pid_t& pid, std::string& error);

// The lines that the node's daemon has run since `offset`, as steps; moves that on.
std::string lines_since(Bed& bed, std::uint64_t& offset);

}  // namespace bench
