// Rules about ways to the root: who is ready needs one, and who hears one gets ready.
#include <algorithm>
#include <set>
#include <utility>

#include "lab/rules/link_table.h"
#include "lab/rules/rule_checks.h"

namespace lab {
namespace {

constexpr std::int64_t ROOT_PATIENCE = 60;
// A station that is on searches at once: it joins with the first scans, not with a time limit.
constexpr std::int64_t JOIN_PATIENCE = 60;

const NodeObservation* node_find(const Observation& all, const std::string& name) {
    const auto found = std::ranges::find(all.nodes, name, &NodeObservation::name);
    return found == all.nodes.end() ? nullptr : &*found;
}

bool is_ready(const LinkTracker& tracker) {
    return link_tracker_has(tracker, STATE_READY) || link_tracker_has(tracker, STATE_ETH_READY);
}

bool goes_by_cable(const NodeObservation& node) {
    return std::ranges::find(node.uplinks, "eth") != node.uplinks.end();
}

const TrackedLink* link_of(const Look& look, const ObservedStation& station) {
    return link_tracker_find(look.memory.tracker, station.name);
}

// A station that is to connect and hears where to: nothing but its own daemon keeps it from that.
void join_check(const Look& look, const ObservedStation& station, bool in_peace) {
    const TrackedLink* const link = link_of(look, station);
    const bool idles = in_peace && link != nullptr && link->is_known &&
                       link->state == STATE_CONNECTING && station.hears_wanted &&
                       !station.is_joined;
    if (episode_is_due(look, "idles " + station.name, idles, JOIN_PATIENCE)) {
        violation_add(look, RULE_LIVENESS,
                      station.name + " connects, hears a way to the root and joins nobody for " +
                          std::to_string(JOIN_PATIENCE) + " s",
                      link->is_armed && !station.is_attached ? Cause::supplicant_died
                      : supplicant_is_failing(look.memory.tracker, look.time)
                          ? Cause::supplicant_fails
                          : Cause::none);
    }
}

// Every station that hears a way is parked: the backup search passes over them, as it has to.
bool only_parked_hear(const Look& look) {
    return std::ranges::all_of(look.node.stations, [&look](const ObservedStation& station) {
        const TrackedLink* const link = link_of(look, station);
        return !station.hears_root || (link != nullptr && link->state == STATE_PARKED);
    });
}

Cause silence_cause(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    if (supplicant_is_failing(tracker, look.time)) {
        return Cause::supplicant_fails;
    }
    if (std::ranges::any_of(tracker.links, &TrackedLink::is_unplaced)) {
        return Cause::unplaced;
    }
    if (tracker.wire_found) {
        return Cause::wire_while_idle;
    }
    return only_parked_hear(look) ? Cause::parked_hears : Cause::none;
}

}  // namespace

// Goes up from the node: the cause lies where its way leads to a cable, round in a circle, or ends.
Cause rootless_cause(const Look& look) {
    std::set<std::string> passed;
    const NodeObservation* at = &look.node;
    while (!goes_by_cable(*at)) {
        if (!passed.insert(at->name).second) {
            return Cause::met_below;
        }
        const NodeObservation* const above = node_find(look.all, at->above);
        if (above == nullptr) {
            const LinkTracker* const tracker = rules_tracker(look.rules, at->name);
            return tracker == nullptr                                 ? Cause::none
                   : link_tracker_has(*tracker, STATE_SWITCHING)      ? Cause::loss_in_switch
                   : supplicant_is_failing(*tracker, look.time)       ? Cause::supplicant_fails
                   : tracker->count_is_off || tracker->unknown_status ? Cause::unplaced
                                                                      : Cause::none;
        }
        at = above;
    }
    const NodeObservation* const above = node_find(look.all, at->above);
    return above != nullptr && goes_by_cable(*above) && above->above == at->name
               ? Cause::cable_between
               : Cause::cable_to_nowhere;
}

// The longest way of a sound daemon: the worker starts (10 s, and 5 of INIT), a switch fails, every
// station in turn is tried to its limit and answers in vain, the last one joins, and the agent is
// asked a second time. Each limit is acted on by a sweep that its tools may hold up.
std::int64_t liveness_seconds(std::size_t stations) {
    constexpr std::int64_t START = 10;
    constexpr std::int64_t SWEEP = 10;
    return START + *link_limit(STATE_INIT) + *link_limit(STATE_SWITCHING) + SWEEP +
           static_cast<std::int64_t>(stations) * (*link_limit(STATE_CONNECTING) + SWEEP) +
           JOIN_PATIENCE + 2 * (*link_limit(STATE_CONFIGURING) + SWEEP);
}

bool is_stranded(const Look& look) {
    return !look.node.is_root && !look.node.reaches_root && is_ready(look.memory.tracker);
}

void rule_ready_needs_root(const Look& look) {
    const bool rootless = is_stranded(look);
    for (const auto& [rule, patience] : {std::pair{RULE_READY_NEEDS_ROOT, ROOT_PATIENCE},
                                         std::pair{RULE_NO_ISLAND, look.rules.islands.patience}}) {
        if (episode_is_due(look, std::string(rule), rootless, patience)) {
            violation_add(look, rule,
                          "ready for over " + std::to_string(patience) +
                              " s without a way to a root" +
                              (look.node.above.empty() ? "" : ", below " + look.node.above),
                          rootless_cause(look));
        }
    }
}

void rule_liveness(const Look& look) {
    const bool in_peace = look.node.troubled_at < look.time;
    for (const ObservedStation& station : look.node.stations) {
        join_check(look, station, in_peace);
    }
    const bool is_out = in_peace && look.node.worker_pid != 0 && !is_ready(look.memory.tracker);
    const std::int64_t limit = liveness_seconds(look.node.stations.size());
    bool is_due = false;
    for (const ObservedStation& station : look.node.stations) {
        is_due |= episode_is_due(look, "out " + station.name, is_out && station.hears_root, limit);
    }
    if (is_due) {
        violation_add(look, RULE_LIVENESS,
                      "not ready " + std::to_string(limit) +
                          " s after the last trouble, while it hears a way to the root",
                      silence_cause(look));
    }
}

}  // namespace lab
