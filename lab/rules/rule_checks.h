// The single rules. For rules_check only.
#pragma once

#include <string>
#include <vector>

#include "lab/rules/rules.h"

namespace lab {

// One node at one look.
struct Look {
    const NodeObservation& node;
    NodeMemory& memory;
    std::int64_t time;
    std::vector<Violation>* violations;
};

// True once, when `holds` has held for longer than `patience` seconds in a row.
bool episode_is_due(const Look& look, const std::string& what, bool holds, std::int64_t patience);

void violation_add(const Look& look, std::string_view rule, std::string text, std::string known);

// The worker is busy with a supplicant that does not take the station.
bool supplicant_is_failing(const Look& look);
inline constexpr char KNOWN_SUPPLICANT[] =
    "turning a station on repeats without limit while the supplicant fails";
inline constexpr char KNOWN_COUNT[] =
    "an association that fits no case stays counted as a link that is up";

// About the log and the states that it tells; `log` is what the tracker found in the new lines.
void rule_transitions(const Look& look, const TrackerNews& log);
void rule_parked(const Look& look, const TrackerNews& log);
void rule_time_limits(const Look& look);
void rule_status_state(const Look& look);
void rule_cable(const Look& look);

// About files, traffic and processes.
void rule_status_text(const Look& look);
void rule_one_uplink(const Look& look);
void rule_service_aps(const Look& look);
// Everybody in a loop sees its frames again: `known` is the reason of the node that closes it.
std::string loop_reason(const Look& look);
void rule_no_loop(const Look& look, const std::string& known);
void rule_worker(const Look& look);

}  // namespace lab
