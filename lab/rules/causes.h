// Why a daemon that does what it has to may break a rule, and how often an hour that is believed.
//
// A breach is excused by its cause, never by its rule: a rule names the cause whose signs it sees,
// and a cause that comes more often than its budget is a failure like any other. So a broken daemon
// cannot hide behind what now and then happens to a sound one. Data, and a count.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

enum class Cause {
    none,
    status_emptied,
    supplicant_fails,
    supplicant_died,
    unplaced,
    left_over,
    loss_in_switch,
    switch_status,
    wire_lost_status,
    agent_waits,
    wired_asks,
    timeout_cleared,
    no_idle_backup,
    wire_while_idle,
    no_eth_record,
    met_below,
    cable_to_nowhere,
    cable_between,
    parked_hears,
    freed_on_cable,
    cable_forgotten,
};

struct CauseRow {
    Cause cause;
    std::string_view name;
    std::string_view why;  // completes "this is known: "
    int budget;            // times in any hour of the mesh
};

// Every cause but `none` once, in their order.
std::span<const CauseRow> cause_table();
const CauseRow& cause_row(Cause cause);

// When a cause was seen.
struct CauseHistory {
    std::vector<std::int64_t> times;           // of its beginnings, in their order
    std::map<std::string, std::int64_t> last;  // by node
};
using CauseHistories = std::map<Cause, CauseHistory>;

// Takes note of a cause at a node. Breaches that follow one another there are one time. False when
// its budget is exceeded.
bool cause_note(CauseHistories* histories, Cause cause, const std::string& node, std::int64_t time);

struct CauseCount {
    const CauseRow* row;
    int times = 0;
    int most = 0;  // in an hour
};

// Of those that were seen.
std::vector<CauseCount> causes_count(const CauseHistories& histories);

}  // namespace lab
