// The rules that every run of the lab is held against, by name.
//
//   status-text   the status file holds one of its three texts
//   one-uplink    at most one uplink of a node carries traffic
//   service-aps   service APs are down while no uplink carries traffic
//   no-loop       a marked broadcast reaches no node twice
//   worker        the worker's pid changes only when something ended it
//   transitions   every state change in a flow log follows from the expected table
//   time-limits   no state with a time limit is older than that limit
//   status-state  the status file says "ready" exactly while a record is ready
//   parked        a parked station stays parked until the restore releases it
//   cable         a cable that carries traffic is taken as the node's backhaul
//   ready-needs-root  nobody is ready without a way to a root for more than a minute
//   no-island     nor for more than ten minutes, or what the memory's islands say
//   liveness      who was left in peace and hears a way to a root is ready in the end
//
// Some of what the daemon has to do breaks a rule. Such a breach is told like any other, with the
// cause by which it is known (causes.h), unless that comes too often. One that lasts is told once,
// when it has lasted longer than the rule's patience; it is told again after it was over in
// between.
//
// Functions of values: rules_check is called with one Observation after another, in the order of
// their times, and keeps what it needs in RulesMemory.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/rules/causes.h"
#include "lab/rules/link_tracker.h"
#include "lab/rules/observation.h"
#include "lab/rules/rule_memory.h"
#include "lab/rules/rule_names.h"

namespace lab {

struct RuleRow {
    std::string_view name;
    std::string_view help;
};

// Every rule once, in the order of RULE_NAMES.
std::span<const RuleRow> rule_table();

// Looks at every node and returns what was found, node by node.
std::vector<Violation> rules_check(RulesMemory* memory, const Observation& observation);

// How long a node with so many stations may take to become ready, from the daemon's time limits.
std::int64_t liveness_seconds(std::size_t stations);

// Numbers for a summary.
struct RuleCount {
    std::string_view rule;
    int known = 0;
    int unknown = 0;
};
std::vector<RuleCount> rules_count(std::span<const Violation> violations);

}  // namespace lab
