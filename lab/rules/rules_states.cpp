// Rules about link states: what the flow log tells, held against table, limits and files.
#include <algorithm>

#include "lab/rules/rule_checks.h"
#include "link/link_state.h"
#include "link/timeout_check.h"

namespace lab {
namespace {

// A sweep may be late by the tools that it runs.
constexpr std::int64_t LIMIT_PATIENCE = 30;
constexpr std::int64_t STATUS_PATIENCE = 3;
constexpr std::int64_t CABLE_PATIENCE = 20;

std::string name_of(std::int32_t state) {
    const std::string name = link_state_name(state);
    return name == "-" ? std::to_string(state) : name;
}

// States that are entered to be left; the others rest or start their period again without a line.
bool state_must_pass(std::int32_t state) {
    return state == CONNECTING_BACKHAUL_AP || state == CONNECT_WITH_BACKHAUL_AP ||
           state == CONNECTING_TARGET_BACKHAUL_AP || state == ETH_BACKHAUL_CONNECTED;
}

std::string late_reason(const Look& look, const TrackedLink& link) {
    if (supplicant_is_failing(look)) {
        return KNOWN_SUPPLICANT;
    }
    // The wired record's timeout is left as it is while the agent is asked again and again.
    return link.state == ETH_BACKHAUL_CONNECTED
               ? "the wired backhaul asks the agent at every tick until it reports success"
               : "";
}

void limit_check(const Look& look, const TrackedLink& link) {
    const timeout_limit limit = timeout_limit_get(static_cast<link_state>(link.state), 0);
    const bool limited =
        link.is_known && limit.checked && (state_must_pass(link.state) || link.state == INIT);
    const bool late = limited && link.is_armed && look.time - link.armed_at > limit.seconds;
    if (episode_is_due(look, "late " + link.interface, late, LIMIT_PATIENCE)) {
        violation_add(look, RULE_TIME_LIMITS,
                      link.interface + " is in " + name_of(link.state) + " for " +
                          std::to_string(look.time - link.armed_at) + " s, the limit is " +
                          std::to_string(limit.seconds),
                      late_reason(look, link));
    }
}

// The wait for the agent starts again every 15 seconds; taken together it has no limit.
void waiting_check(const Look& look, const TrackedLink& link) {
    const timeout_limit limit = timeout_limit_get(CONNECT_WITH_BACKHAUL_AP, 0);
    const bool waits = link.is_known && link.state == CONNECT_WITH_BACKHAUL_AP &&
                       look.time - link.entered_at > 2 * std::int64_t{limit.seconds};
    if (episode_is_due(look, "waits " + link.interface, waits, LIMIT_PATIENCE)) {
        violation_add(look, RULE_TIME_LIMITS,
                      link.interface + " waits for the agent for " +
                          std::to_string(look.time - link.entered_at) + " s",
                      "the 15 seconds start again while the agent reports no success");
    }
}

void unlimited_check(const Look& look, const TrackedLink& link) {
    const bool rests = link.is_known && state_must_pass(link.state) && !link.is_armed;
    if (episode_is_due(look, "unlimited " + link.interface, rests, LIMIT_PATIENCE)) {
        violation_add(
            look, RULE_TIME_LIMITS,
            link.interface + " is in " + name_of(link.state) + " and no timeout is pending",
            "a reaction cleared the timeout and left the state alone");
    }
}

std::string ready_reason(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    if (tracker.wire_lost) {
        return "the recovery from a lost wire does not write the status file";
    }
    return supplicant_is_failing(look) ? KNOWN_SUPPLICANT : "";
}

}  // namespace

void rule_transitions(const Look& look, const TrackerNews& log) {
    for (const TrackerFinding& finding : log.findings) {
        violation_add(look, RULE_TRANSITIONS, finding.interface + " " + finding.text, "");
    }
}

void rule_parked(const Look& look, const TrackerNews& log) {
    for (const TrackerRelease& release : log.releases) {
        violation_add(look, RULE_PARKED, release.interface + " is tried again while parked",
                      release.without_backup
                          ? "without an idle station to take over, a parked one is tried at once"
                          : "");
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
        link_tracker_has(tracker, BACKHAUL_READY) || link_tracker_has(tracker, ETH_BACKHAUL_READY);
    const bool says_ready = look.node.status_text == "ready\n";
    const bool looked = all_known && look.node.status_exists && !look.node.status_text.empty();
    if (episode_is_due(look, "ready but not so", looked && says_ready && !is_ready,
                       STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE, "the status file says ready, but no record is",
                      ready_reason(look));
    }
    if (episode_is_due(look, "so but not ready", looked && !says_ready && is_ready,
                       STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE, "a record is ready, but the status file is not",
                      tracker.count_is_off || tracker.unknown_status ? KNOWN_COUNT : "");
    }
    const bool switches = looked && !says_ready && !look.node.uplinks.empty() &&
                          link_tracker_has(tracker, CONNECTING_TARGET_BACKHAUL_AP);
    if (episode_is_due(look, "switching", switches, STATUS_PATIENCE)) {
        violation_add(look, RULE_STATUS_STATE,
                      "traffic passes during a switch, but the status file is not ready",
                      "status file and state are not tied to each other during a switch");
    }
}

void rule_cable(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    const auto& uplinks = look.node.uplinks;
    const bool carries = std::find(uplinks.begin(), uplinks.end(), "eth") != uplinks.end();
    if (episode_is_due(look, "wire unused", carries && link_tracker_has(tracker, ETH_BACKHAUL_DOWN),
                       CABLE_PATIENCE)) {
        violation_add(look, RULE_CABLE, "the cable carries traffic, but eth is down",
                      tracker.wire_found
                          ? "found while no station was connecting or ready, the wire waits for "
                            "the next start of the preferred station"
                          : "");
    }
}

}  // namespace lab
