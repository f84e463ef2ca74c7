#include "link/link_state.h"

#include "intf/intf_timer.h"
#include "runtime/flow_log.h"
#include "runtime/table_check.h"

#include <algorithm>
#include <array>

namespace {

constexpr timer_switch ARM = TIMER_ON;
constexpr timer_switch CLEAR = TIMER_OFF;

constexpr std::array LINK_TRANSITIONS = {
    link_transition{INIT, INIT, ARM},
    link_transition{INIT, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{INIT, ETH_BACKHAUL_STANDBY, CLEAR},

    link_transition{CONNECTING_BACKHAUL_AP, INIT, CLEAR},
    link_transition{CONNECTING_BACKHAUL_AP, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{CONNECTING_BACKHAUL_AP, CONNECT_WITH_BACKHAUL_AP, ARM},
    link_transition{CONNECTING_BACKHAUL_AP, CONNECT_PENDING, CLEAR},
    link_transition{CONNECTING_BACKHAUL_AP, BACKHAUL_READY, ARM},
    link_transition{CONNECTING_BACKHAUL_AP, ETH_BACKHAUL_STANDBY, CLEAR},

    link_transition{CONNECT_WITH_BACKHAUL_AP, INIT, CLEAR},
    link_transition{CONNECT_WITH_BACKHAUL_AP, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{CONNECT_WITH_BACKHAUL_AP, CONNECT_WITH_BACKHAUL_AP, ARM},
    link_transition{CONNECT_WITH_BACKHAUL_AP, CONNECT_PENDING, CLEAR},
    link_transition{CONNECT_WITH_BACKHAUL_AP, BACKHAUL_READY, ARM},
    link_transition{CONNECT_WITH_BACKHAUL_AP, ETH_BACKHAUL_STANDBY, CLEAR},

    // A late "connected" while ready has no effect: neither 4 nor 7 is accepted here.
    link_transition{BACKHAUL_READY, INIT, CLEAR},
    link_transition{BACKHAUL_READY, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{BACKHAUL_READY, CONNECTING_TARGET_BACKHAUL_AP, ARM},
    link_transition{BACKHAUL_READY, CONNECT_PENDING, CLEAR},
    link_transition{BACKHAUL_READY, ETH_BACKHAUL_STANDBY, CLEAR},

    // A park request during a switch has no effect: only 3 and 7 are accepted here.
    link_transition{CONNECTING_TARGET_BACKHAUL_AP, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{CONNECTING_TARGET_BACKHAUL_AP, BACKHAUL_READY, ARM},

    link_transition{CONNECT_PENDING, CONNECTING_BACKHAUL_AP, ARM},
    link_transition{ETH_BACKHAUL_STANDBY, CONNECTING_BACKHAUL_AP, ARM},

    link_transition{ETH_BACKHAUL_DOWN, ETH_BACKHAUL_CONNECTED, ARM},
    link_transition{ETH_BACKHAUL_DOWN, ETH_BACKHAUL_READY, ARM},
    link_transition{ETH_BACKHAUL_CONNECTED, ETH_BACKHAUL_DOWN, CLEAR},
    link_transition{ETH_BACKHAUL_CONNECTED, ETH_BACKHAUL_READY, ARM},
    link_transition{ETH_BACKHAUL_READY, ETH_BACKHAUL_DOWN, CLEAR},
    link_transition{ETH_BACKHAUL_READY, ETH_BACKHAUL_CONNECTED, ARM},
};

constexpr const link_transition* transition_find(link_state current, link_state requested) {
    for (const link_transition& row : LINK_TRANSITIONS) {
        if (row.current == current && row.requested == requested) {
            return &row;
        }
    }
    return nullptr;
}

constexpr bool state_may_be_entered(link_state state) {
    switch (state) {
        case INIT:
        case CONNECTING_BACKHAUL_AP:
        case CONNECT_WITH_BACKHAUL_AP:
        case CONNECTING_TARGET_BACKHAUL_AP:
        case CONNECT_PENDING:
        case BACKHAUL_READY:
        case ETH_BACKHAUL_DOWN:
        case ETH_BACKHAUL_CONNECTED:
        case ETH_BACKHAUL_READY:
        case ETH_BACKHAUL_STANDBY:
            return true;
        case LINK_STATE_8:
        case LINK_STATE_9:
        case DFS_MONITORING:
        case DFS_BLOCKING:
        case AP_TIMER_WAIT:
            break;
    }
    return false;
}

static_assert(table_keys_are_unique(LINK_TRANSITIONS, [](const link_transition& row) {
    return row.current * LINK_STATE_COUNT + row.requested;
}));
static_assert(std::ranges::all_of(LINK_TRANSITIONS, [](const link_transition& row) {
    return state_may_be_entered(row.current) && state_may_be_entered(row.requested);
}));
// Parked states and the wired record without link have no time limit of their own to run; a
// station that goes back to idle waits for the search.
static_assert(std::ranges::all_of(LINK_TRANSITIONS, [](const link_transition& row) {
    const bool rests = row.requested == CONNECT_PENDING || row.requested == ETH_BACKHAUL_STANDBY ||
                       row.requested == ETH_BACKHAUL_DOWN ||
                       (row.requested == INIT && row.current != INIT);
    return (row.timer == CLEAR) == rests;
}));

constexpr std::array<const char*, LINK_STATE_COUNT> LINK_STATE_NAMES = {
    "INIT",
    "-",
    "-",
    "CONNECTING_BACKHAUL_AP",
    "CONNECT_WITH_BACKHAUL_AP",
    "CONNECTING_TARGET_BACKHAUL_AP",
    "CONNECT_PENDING",
    "BACKHAUL_READY",
    "-",
    "-",
    "DFS_MONITORING",
    "DFS_BLOCKING",
    "AP_TIMER_WAIT",
    "ETH_BACKHAUL_DOWN",
    "ETH_BACKHAUL_CONNECTED",
    "ETH_BACKHAUL_READY",
    "ETH_BACKHAUL_STANDBY",
};

}  // namespace

std::span<const link_transition> link_transition_table() {
    return LINK_TRANSITIONS;
}

const link_transition* link_transition_find(link_state current, link_state requested) {
    return transition_find(current, requested);
}

const char* link_state_name(int32_t state) {
    if (state < 0 || state >= LINK_STATE_COUNT) {
        return "-";
    }
    return LINK_STATE_NAMES[static_cast<size_t>(state)];
}

void backhaul_intf_state_change(intf_record* record, link_state requested) {
    const link_state current = record->state;
    flow_log("%s : change %s state from %d to %d\n", __func__, record->name.data(), current,
             requested);
    const link_transition* const transition = link_transition_find(current, requested);
    if (transition == nullptr) {
        return;
    }
    record->state = transition->requested;
    intf_timer_set(record, transition->timer);
}
