#include "link/timeout_limit.h"

#include "runtime/table_check.h"

#include <array>

namespace {

/// A parked station is looked at after this long for each counted loss, and stays parked. Its
/// parking has cleared the timeout, so this runs only where something else has armed it since.
constexpr int32_t PENDING_SECONDS_PER_LOSS = 60;

struct limit_row {
    link_state state;
    int32_t seconds;
};

constexpr std::array LIMITS = {
    limit_row{INIT, 5},
    limit_row{CONNECTING_BACKHAUL_AP, 180},
    limit_row{CONNECT_WITH_BACKHAUL_AP, 15},
    limit_row{CONNECTING_TARGET_BACKHAUL_AP, 120},
    limit_row{CONNECT_PENDING, PENDING_SECONDS_PER_LOSS},
    limit_row{BACKHAUL_READY, 60},
    limit_row{LINK_STATE_8, 15},
    limit_row{LINK_STATE_9, 120},
    limit_row{DFS_MONITORING, 180},
    limit_row{DFS_BLOCKING, 2400},
    limit_row{AP_TIMER_WAIT, 600},
    limit_row{ETH_BACKHAUL_CONNECTED, 15},
    limit_row{ETH_BACKHAUL_READY, 60},
};

static_assert(table_keys_are_unique(LIMITS, [](const limit_row& row) { return row.state; }));

}  // namespace

timeout_limit timeout_limit_get(link_state state, int8_t disconnect_count) {
    for (const limit_row& row : LIMITS) {
        if (row.state == state) {
            const bool scaled = state == CONNECT_PENDING;
            return {.checked = true,
                    .seconds = scaled ? disconnect_count * row.seconds : row.seconds};
        }
    }
    return {.checked = false, .seconds = TIMEOUT_NEVER};
}
