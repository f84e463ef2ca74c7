// What a case adds up second by second: time parked, islands and time observed.
//
// An island is an extender that says ready for more than a minute without a way to a root; its
// seconds count from the beginning. Whoever plays the case looks at every extender after each
// second of the mesh. Values, for any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace lab {

inline constexpr std::int64_t ISLAND_SECONDS = 60;

// An extender at the end of a second.
struct TallyLook {
    std::string node;
    bool says_ready = false;
    bool reaches_root = false;
    bool is_parked = false;  // one of its stations is
};

struct CaseTally {
    std::int64_t observed_seconds = 0;  // of all extenders, each from its first ready on
    std::int64_t parked_seconds = 0;    // of those
    int islands = 0;
    std::int64_t island_seconds = 0;
    std::int64_t island_longest = 0;
    // Of each extender: whether it was ready, and seconds since which it is an island.
    std::map<std::string, bool> was_ready;
    std::map<std::string, std::int64_t> alone;
};

void case_tally_look(CaseTally& tally, const TallyLook& look);

}  // namespace lab
