#include "lab/rules/link_table.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace lab {
namespace {

constexpr std::array<std::int32_t, 10> REQUESTED = {0, 3, 4, 5, 6, 7, 13, 14, 15, 16};

// A cell for every state that may be requested. a: accepted, arms; c: accepted, clears; -: dropped.
struct ChangeRow {
    std::int32_t from;
    std::string_view cells;
};

constexpr std::array CHANGES = {
    ChangeRow{0, "aa-------c"},   // INIT
    ChangeRow{3, "caa-ca---c"},   // connecting
    ChangeRow{4, "caa-ca---c"},   // configuring
    ChangeRow{7, "ca-ac----c"},   // ready: a late "connected" has no effect
    ChangeRow{5, "-a---a----"},   // switching: nor has parking it
    ChangeRow{6, "-a--------"},   // parked
    ChangeRow{16, "-a--------"},  // standing aside
    ChangeRow{13, "-------aa-"},  // wire: down
    ChangeRow{14, "------c-a-"},  // configuring
    ChangeRow{15, "------ca--"},  // ready
};
static_assert(std::ranges::all_of(CHANGES, [](const ChangeRow& row) {
    return row.cells.size() == REQUESTED.size();
}));

struct StateRow {
    std::int32_t state;
    std::string_view name;
    int limit;  // 0: none
};

constexpr std::array STATES = {
    StateRow{STATE_INIT, "INIT", 5},
    StateRow{STATE_CONNECTING, "CONNECTING_BACKHAUL_AP", 180},
    StateRow{STATE_CONFIGURING, "CONNECT_WITH_BACKHAUL_AP", 15},
    StateRow{STATE_SWITCHING, "CONNECTING_TARGET_BACKHAUL_AP", 120},
    StateRow{STATE_PARKED, "CONNECT_PENDING", 0},
    StateRow{STATE_READY, "BACKHAUL_READY", 60},
    StateRow{STATE_DFS_MONITORING, "DFS_MONITORING", 180},
    StateRow{STATE_DFS_BLOCKING, "DFS_BLOCKING", 2400},
    StateRow{STATE_TIMER_WAIT, "AP_TIMER_WAIT", 600},
    StateRow{STATE_ETH_DOWN, "ETH_BACKHAUL_DOWN", 0},
    StateRow{STATE_ETH_CONFIGURING, "ETH_BACKHAUL_CONNECTED", 15},
    StateRow{STATE_ETH_READY, "ETH_BACKHAUL_READY", 60},
    StateRow{STATE_STANDBY, "ETH_BACKHAUL_STANDBY", 0},
};

struct ClearingRow {
    std::int32_t state;
    std::int32_t event;
};

constexpr std::array CLEARING = {
    ClearingRow{STATE_INIT, EVENT_START},
    ClearingRow{STATE_CONNECTING, EVENT_ASSOC},
    ClearingRow{STATE_CONNECTING, EVENT_TIMEOUT},
    ClearingRow{STATE_CONFIGURING, EVENT_DISASSOC},
    ClearingRow{STATE_CONFIGURING, EVENT_CONFIGURED},
    ClearingRow{STATE_CONFIGURING, EVENT_TIMEOUT},
    ClearingRow{STATE_READY, EVENT_DISASSOC},
    ClearingRow{STATE_SWITCHING, EVENT_ASSOC},
    ClearingRow{STATE_SWITCHING, EVENT_TIMEOUT},
    ClearingRow{STATE_ETH_CONFIGURING, EVENT_CONFIGURED},
};

const StateRow* state_find(std::int32_t state) {
    const auto* const row = std::ranges::find(STATES, state, &StateRow::state);
    return row == STATES.end() ? nullptr : row;
}

}  // namespace

std::optional<LinkTimer> link_change(std::int32_t from, std::int32_t requested) {
    const auto* const row = std::ranges::find(CHANGES, from, &ChangeRow::from);
    const auto* const column = std::ranges::find(REQUESTED, requested);
    if (row == CHANGES.end() || column == REQUESTED.end()) {
        return std::nullopt;
    }
    const char cell = row->cells[static_cast<std::size_t>(column - REQUESTED.begin())];
    return cell == '-'   ? std::nullopt
           : cell == 'a' ? std::optional(LinkTimer::arm)
                         : std::optional(LinkTimer::clear);
}

std::optional<int> link_limit(std::int32_t state) {
    const StateRow* const row = state_find(state);
    return row == nullptr || row->limit == 0 ? std::nullopt : std::optional(row->limit);
}

bool link_event_clears(std::int32_t state, std::int32_t event) {
    return std::ranges::any_of(CLEARING, [state, event](const ClearingRow& row) {
        return row.state == state && row.event == event;
    });
}

std::string link_state_text(std::int32_t state) {
    const StateRow* const row = state_find(state);
    return row == nullptr ? std::to_string(state) : std::string(row->name);
}

}  // namespace lab
