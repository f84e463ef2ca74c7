// The single rules. For rules_check only.
#pragma once

#include <string>
#include <vector>

#include "lab/rules/observation.h"
#include "lab/rules/rule_memory.h"
#include "lab/rules/rule_names.h"

namespace lab {

// One node at one look.
struct Look {
    const Observation& all;
    const NodeObservation& node;
    NodeMemory& memory;
    RulesMemory& rules;
    std::vector<Violation>* violations;
    std::int64_t time = all.time;
};

// What excuses a breach, and the node at which it is one time with others.
struct Blame {
    Cause cause = Cause::none;
    std::string node;
};

// True once, when `holds` has held for longer than `patience` seconds in a row.
bool episode_is_due(const Look& look, const std::string& what, bool holds, std::int64_t patience);

// A breach, with what excuses it as long as that keeps to its budget.
void violation_add(const Look& look, std::string_view rule, std::string text, const Blame& blame);
// The same, by a cause at the node itself.
void violation_add(const Look& look, std::string_view rule, std::string text, Cause cause);

// The worker is busy with a supplicant that does not take the station.
bool supplicant_is_failing(const LinkTracker& tracker, std::int64_t time);

// About the log and the states that it tells; `log` is what the tracker found in the new lines.
void rule_transitions(const Look& look, const TrackerNews& log);
void rule_parked(const Look& look, const TrackerNews& log);
void rule_time_limits(const Look& look);
void rule_status_state(const Look& look);
void rule_cable(const Look& look);

// About ways to the root.
void rule_ready_needs_root(const Look& look);
void rule_liveness(const Look& look);
// Ready without a way to a root.
bool is_stranded(const Look& look);
// What keeps the node's way from a root, as far as that is known.
Cause rootless_cause(const Look& look);

// About files, traffic and processes.
void rule_status_text(const Look& look);
void rule_one_uplink(const Look& look);
void rule_service_aps(const Look& look);
// Everybody in a loop sees its frames again: `blame` is that of the node that closes it, so that a
// loop is one time however many nodes it has.
Blame loop_blame(const Look& look);
void rule_no_loop(const Look& look, const Blame& blame);
void rule_worker(const Look& look);

}  // namespace lab
