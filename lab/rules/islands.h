// Islands of a mesh: extenders that are ready together while none of them has a way to a root.
//
// For rules_check, which tells at every look who is stranded. An island begins with the first that
// is, takes in whoever is stranded beside one of its own (above it, below it, or below the same
// node), and is over when nobody of it is stranded any more. It may fall apart meanwhile and is
// still the same one. What does not last longer than the book's patience is forgotten: who only
// notices late that its way is gone is on no island. Values; seconds of the mesh's clock.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace lab {

inline constexpr int DEFAULT_ISLAND_SECONDS = 600;

struct Island {
    std::int64_t from = 0;
    std::int64_t to = -1;            // -1: it lasts
    std::set<std::string> stranded;  // now
};

struct IslandBook {
    std::int64_t patience = DEFAULT_ISLAND_SECONDS;
    std::vector<Island> islands;  // by their beginnings
};

// Who is ready without a way to a root, each with the node above it (empty: none).
using StrandedNodes = std::map<std::string, std::string>;

// Takes in who is stranded at this time. Times never go back.
void islands_note(IslandBook* book, std::int64_t time, const StrandedNodes& stranded);

// Of islands that lasted, or have lasted until now, for longer than the patience.
struct IslandSummary {
    int count = 0;
    std::int64_t seconds = 0;  // of all of them together
    std::int64_t longest = 0;
};
IslandSummary islands_summary(const IslandBook& book, std::int64_t now);

}  // namespace lab
