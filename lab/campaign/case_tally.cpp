#include "lab/campaign/case_tally.h"

#include <algorithm>

namespace lab {

void case_tally_look(CaseTally& tally, const TallyLook& look) {
    bool& was_ready = tally.was_ready[look.node];
    was_ready = was_ready || (look.says_ready && look.reaches_root);
    if (was_ready) {
        ++tally.observed_seconds;
        tally.parked_seconds += look.is_parked ? 1 : 0;
    }
    std::int64_t& alone = tally.alone[look.node];
    alone = look.says_ready && !look.reaches_root ? alone + 1 : 0;
    if (alone <= ISLAND_SECONDS) {
        return;
    }
    const bool is_new = alone == ISLAND_SECONDS + 1;
    tally.islands += is_new ? 1 : 0;
    tally.island_seconds += is_new ? alone : 1;
    tally.island_longest = std::max(tally.island_longest, alone);
}

}  // namespace lab
