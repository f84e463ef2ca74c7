// Rules about link states: what the flow log tells, held against table, limits and files.
#include <algorithm>

#include "lab/rules/link_table.h"
#include "lab/rules/rule_checks.h"

namespace lab {
namespace {

// A sweep may be late by the tools that it runs.
constexpr std::int64_t LIMIT_PATIENCE = 30;
constexpr std::int64_t STATUS_PATIENCE = 3;
constexpr std::int64_t CABLE_PATIENCE = 20;

// States that are entered to be left; the others rest or start their period again without a line.
bool state_must_pass(std::int32_t state) {
    return state == STATE_CONNECTING || state == STATE_CONFIGURING || state == STATE_SWITCHING ||
           state == STATE_ETH_CONFIGURING;
}

Cause late_cause(const Look& look, const TrackedLink& link) {
    if (supplicant_is_failing(look.memory.tracker, look.time)) {
        return Cause::supplicant_fails;
    }
    // The wired record's timeout is left as it is while the agent is asked again and again.
    return link.state == STATE_ETH_CONFIGURING ? Cause::wired_asks : Cause::none;
}

void limit_check(const Look& look, const TrackedLink& link) {
    const int limit = link_limit(link.state).value_or(0);
    const bool limited = link.is_known && (state_must_pass(link.state) || link.state == STATE_INIT);
    const bool late = limited && link.is_armed && look.time - link.armed_at > limit;
    if (episode_is_due(look, "late " + link.interface, late, LIMIT_PATIENCE)) {
        violation_add(look, RULE_TIME_LIMITS,
                      link.interface + " is in " + link_state_text(link.state) + " for " +
                          std::to_string(look.time - link.armed_at) + " s, the limit is " +
                          std::to_string(limit),
                      late_cause(look, link));
    }
}

// The wait for the agent starts again every 15 seconds; taken together it has no limit.
void waiting_check(const Look& look, const TrackedLink& link) {
    const bool waits =
        link.is_known && link.state == STATE_CONFIGURING &&
        look.time - link.entered_at > std::int64_t{2} * *link_limit(STATE_CONFIGURING);
    if (episode_is_due(look, "waits " + link.interface, waits, LIMIT_PATIENCE)) {
        violation_add(look, RULE_TIME_LIMITS,
                      link.interface + " waits for the agent for " +
                          std::to_string(look.time - link.entered_at) + " s",
                      Cause::agent_waits);
    }
}

void unlimited_check(const Look& look, const TrackedLink& link) {
    const bool rests = link.is_known && state_must_pass(link.state) && !link.is_armed;
    if (episode_is_due(look, "unlimited " + link.interface, rests, LIMIT_PATIENCE)) {
        violation_add(
            look, RULE_TIME_LIMITS,
            link.interface + " is in " + link_state_text(link.state) + " and no timeout is pending",
            // Only an association may end in a reaction that leaves it so.
            link.cleared_by == EVENT_ASSOC || link.cleared_by == NO_EVENT ? Cause::timeout_cleared
                                                                          : Cause::none);
    }
}

Cause ready_cause(const Look& look) {
    if (look.memory.tracker.wire_lost) {
        return Cause::wire_lost_status;
    }
    return supplicant_is_failing(look.memory.tracker, look.time) ? Cause::supplicant_fails
                                                                 : Cause::none;
}

}  // namespace

void rule_transitions(const Look& look, const TrackerNews& log) {
    for (const TrackerFinding& finding : log.findings) {
        violation_add(look, RULE_TRANSITIONS, finding.interface + " " + finding.text, Cause::none);
    }
}

void rule_parked(const Look& look, const TrackerNews& log) {
    for (const TrackerRelease& release : log.releases) {
        violation_add(look, RULE_PARKED, release.interface + " is tried again while parked",
                      release.without_backup ? Cause::no_idle_backup : Cause::none);
    }
}

void rule_time_limits(const Look& look) {
    for (const TrackedLink& link : look.memory.tracker.links) {
        limit_check(look, link);
        waiting_check(look, link);
        unlimited_check(look, link);
    }
}

void rule_status_state(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    const bool all_known =
        std::all_of(tracker.links.begin(), tracker.links.end(), [](const TrackedLink& link) {
            return link.is_known || (link.type != "BACKHAUL_STA" && link.type != "ETHERNET");
        });
    const bool is_ready =
        link_tracker_has(tracker, STATE_READY) || link_tracker_has(tracker, STATE_ETH_READY);
    const bool says_ready = look.node.status_text == "ready\n";
    const bool looked = all_known && look.node.status_exists && !look.node.status_text.empty();
    if (episode_is_due(look, "ready but not so", looked && says_ready && !is_ready,
                       STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE, "the status file says ready, but no record is",
                      ready_cause(look));
    }
    if (episode_is_due(look, "so but not ready", looked && !says_ready && is_ready,
                       STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE, "a record is ready, but the status file is not",
                      tracker.count_is_off || tracker.unknown_status ? Cause::unplaced
                      : std::ranges::any_of(tracker.links, &TrackedLink::is_freed_on_cable)
                          ? Cause::freed_on_cable
                          : Cause::none);
    }
    const bool switches = looked && !says_ready && !look.node.uplinks.empty() &&
                          link_tracker_has(tracker, STATE_SWITCHING);
    if (episode_is_due(look, "switching", switches, STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE,
                      "traffic passes during a switch, but the status file is not ready",
                      Cause::switch_status);
    }
}

void rule_cable(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    const auto& uplinks = look.node.uplinks;
    const bool carries = std::find(uplinks.begin(), uplinks.end(), "eth") != uplinks.end();
    if (episode_is_due(look, "wire unused", carries && link_tracker_has(tracker, STATE_ETH_DOWN),
                       CABLE_PATIENCE)) {
        violation_add(look, RULE_CABLE, "the cable carries traffic, but eth is down",
                      tracker.wire_found       ? Cause::wire_while_idle
                      : tracker.wire_forgotten ? Cause::cable_forgotten
                                               : Cause::none);
    }
}

}  // namespace lab
