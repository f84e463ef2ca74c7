#include "lab/rules/rules.h"

#include <algorithm>
#include <array>

#include "lab/rules/rule_checks.h"

namespace lab {
namespace {

constexpr std::array RULES = {
    RuleRow{RULE_STATUS_TEXT, "the status file holds one of its three texts"},
    RuleRow{RULE_ONE_UPLINK, "at most one uplink of a node carries traffic"},
    RuleRow{RULE_SERVICE_APS, "service APs are down while no uplink carries traffic"},
    RuleRow{RULE_NO_LOOP, "a marked broadcast reaches no node twice"},
    RuleRow{RULE_WORKER, "the worker's pid changes only when something ended it"},
    RuleRow{RULE_TRANSITIONS, "every state change follows from the expected table"},
    RuleRow{RULE_TIME_LIMITS, "no state with a time limit is older than that limit"},
    RuleRow{RULE_STATUS_STATE, "the status file says ready exactly while a record is ready"},
    RuleRow{RULE_PARKED, "a parked station stays parked until the restore releases it"},
    RuleRow{RULE_CABLE, "a cable that carries traffic is taken as the backhaul"},
    RuleRow{RULE_READY_NEEDS_ROOT, "nobody is ready for over 60 s without a way to a root"},
    RuleRow{RULE_NO_ISLAND, "nobody is ready for over 10 minutes (island-time) without one"},
    RuleRow{RULE_LIVENESS, "who is left in peace and hears a way to a root gets ready in time"},
};

constexpr bool every_rule_is_at_its_place() {
    for (std::size_t at = 0; at < RULE_NAMES.size(); ++at) {
        if (RULES[at].name != RULE_NAMES[at]) {
            return false;
        }
    }
    return RULES.size() == RULE_NAMES.size();
}
static_assert(every_rule_is_at_its_place());

constexpr std::int64_t SUPPLICANT_RETRY_SECONDS = 3;

void node_check(const Look& look) {
    TrackerNews news;
    if (look.node.log_lines_lost) {
        link_tracker_forget(&look.memory.tracker);
    }
    for (const LogEntry& entry : look.node.log) {
        link_tracker_feed(&look.memory.tracker, entry, &news);
    }
    rule_worker(look);
    if (look.node.is_root) {
        return;
    }
    rule_transitions(look, news);
    rule_parked(look, news);
    rule_time_limits(look);
    rule_status_text(look);
    rule_status_state(look);
    rule_one_uplink(look);
    rule_service_aps(look);
    rule_cable(look);
    rule_ready_needs_root(look);
    rule_liveness(look);
}

}  // namespace

std::span<const RuleRow> rule_table() {
    return RULES;
}

bool episode_is_due(const Look& look, const std::string& what, bool holds, std::int64_t patience) {
    if (!holds) {
        look.memory.episodes.erase(what);
        return false;
    }
    Episode& episode = look.memory.episodes.try_emplace(what, Episode{look.time}).first->second;
    if (episode.told || look.time - episode.since <= patience) {
        return false;
    }
    episode.told = true;
    return true;
}

void violation_add(const Look& look, std::string_view rule, std::string text, const Blame& blame) {
    Violation violation{std::string(rule), look.node.name, look.time, std::move(text), ""};
    if (blame.cause != Cause::none) {
        const CauseRow& row = cause_row(blame.cause);
        if (cause_note(&look.rules.causes, blame.cause, blame.node, look.time)) {
            violation.known = row.why;
        } else {
            violation.text += ", more than " + std::to_string(row.budget) + " times an hour (" +
                              std::string(row.name) + ")";
        }
    }
    look.violations->push_back(std::move(violation));
}

void violation_add(const Look& look, std::string_view rule, std::string text, Cause cause) {
    violation_add(look, rule, std::move(text), Blame{cause, look.node.name});
}

bool supplicant_is_failing(const LinkTracker& tracker, std::int64_t time) {
    return tracker.supplicant_failed_at >= 0 &&
           time - tracker.supplicant_failed_at <= SUPPLICANT_RETRY_SECONDS;
}

std::vector<Violation> rules_check(RulesMemory* memory, const Observation& observation) {
    std::vector<Violation> violations;
    Blame loop;
    std::vector<Look> looks;
    for (const NodeObservation& node : observation.nodes) {
        NodeMemory& of_node = memory->nodes[node.name];
        const bool starts_anew = of_node.is_new || node.rebooted || !node.powered;
        if (starts_anew) {
            of_node = {};
            of_node.is_new = !node.powered;
            of_node.tracker = link_tracker_make(node.interfaces);
        }
        if (node.powered) {
            looks.push_back({observation, node, of_node, *memory, &violations});
            node_check(looks.back());
            loop = loop.cause == Cause::none ? loop_blame(looks.back()) : loop;
        }
    }
    StrandedNodes stranded;
    for (const Look& look : looks) {
        rule_no_loop(look, loop);
        if (is_stranded(look)) {
            stranded[look.node.name] = look.node.above;
        }
    }
    islands_note(&memory->islands, observation.time, stranded);
    return violations;
}

std::vector<RuleCount> rules_count(std::span<const Violation> violations) {
    std::vector<RuleCount> counts;
    for (const std::string_view name : RULE_NAMES) {
        RuleCount count{name};
        for (const Violation& violation : violations) {
            if (violation.rule == name) {
                ++(violation.known.empty() ? count.unknown : count.known);
            }
        }
        counts.push_back(count);
    }
    return counts;
}

}  // namespace lab
