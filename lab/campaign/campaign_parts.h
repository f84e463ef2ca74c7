// What a campaign file says, as values: for those who read it and for those who make cases of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lab/scenario/scenario_chaos.h"

namespace lab {

inline constexpr std::size_t MOST_CASES = 100000;
inline constexpr std::string_view USUAL = "usual";  // trouble without a name, no options

// What is done to a mesh.
struct CampaignTrouble {
    std::string name;
    ChaosWeights weights = {};  // empty: the usual ones
    int pause = 150;            // mean seconds between two disturbances
    int longest = 600;          // seconds from a disturbance to its end

    bool operator==(const CampaignTrouble&) const = default;
};

struct CampaignDaemon {
    std::string name;
    std::string path;

    bool operator==(const CampaignDaemon&) const = default;
};

struct Campaign {
    std::string name;
    std::vector<std::uint32_t> seeds;
    std::vector<int> seconds;
    std::vector<std::string> shapes;  // "line 4"
    std::vector<CampaignTrouble> troubles;
    std::vector<std::string> options;     // "-p 2 -x 5"; empty: none
    std::vector<CampaignDaemon> daemons;  // empty: the program's own

    bool operator==(const Campaign&) const = default;
};

}  // namespace lab
