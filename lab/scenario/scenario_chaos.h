// Random trouble for a mesh, as a scenario like any other: printed, it runs again exactly.
//
// Disturbances come at random times, each with its own end (an AP that fell silent is heard again,
// a cable is pulled again), so that a mesh can always recover. A loss, a node whose preferred
// station hears nobody for minutes, and one that then hears only a node below itself come first: a
// backup, its end and a loop are what a daemon has to show. The same seed gives the same steps on
// every machine. Functions of values.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

// How often each kind of disturbance comes, by its name: 2 comes twice as often as 1, and what is
// not named never.
using ChaosWeights = std::map<std::string, int, std::less<>>;

// The usual weights, each name in the order in which a sum is counted off.
std::vector<std::pair<std::string_view, int>> chaos_weights_usual();

struct ChaosOptions {
    std::uint32_t seed = 1;
    int seconds = 3600;         // from the first disturbance to the end of the run
    int settle = 180;           // before the first one and after the last end
    int mean_pause = 150;       // between the beginnings of two disturbances
    int longest_trouble = 600;  // from a disturbance to its end; a deaf node's is its own
    ChaosWeights weights = {};  // empty: the usual ones
};

// Neighbours hear each other in a grid as square as it gets, its last row not always full.
Scenario scenario_chaos_mesh(int nodes);

// The scenario's nodes with random steps in the place of its own, and the seed noted. The last
// step expects every extender to be ready again.
Scenario scenario_chaos(Scenario scenario, const ChaosOptions& options);

}  // namespace lab
