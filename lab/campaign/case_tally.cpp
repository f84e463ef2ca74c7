#include "lab/campaign/case_tally.h"

namespace lab {

void case_tally_look(CaseTally& tally, const TallyLook& look) {
    bool& was_ready = tally.was_ready[look.node];
    was_ready = was_ready || look.is_ready;
    if (was_ready) {
        ++tally.observed_seconds;
        tally.parked_seconds += look.is_parked ? 1 : 0;
    }
}

}  // namespace lab
