// What a case adds up second by second: time parked and time observed. Whoever plays the case looks
// at every extender after each second of the mesh. Values, for any thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace lab {

// An extender at the end of a second.
struct TallyLook {
    std::string node;
    bool is_ready = false;   // with a way to a root
    bool is_parked = false;  // one of its stations is
};

struct CaseTally {
    std::int64_t observed_seconds = 0;      // of all extenders, each from its first ready on
    std::int64_t parked_seconds = 0;        // of those
    std::map<std::string, bool> was_ready;  // each extender
};

void case_tally_look(CaseTally& tally, const TallyLook& look);

}  // namespace lab
