// Follows the link states of one node by its flow log.
//
// A state change line shows a request together with the state that the daemon was in. Whether the
// request was accepted follows from the expected table (link_table.h); the few places that store
// a state directly, past the table, are known by the lines that they log. A line whose "from" is
// neither is a finding. Functions of values; one tracker a node.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/rules/observation.h"

namespace lab {

inline constexpr std::int32_t NO_EVENT = -1;

struct TrackedLink {
    std::string interface;
    std::string type;
    int priority = 0;
    bool is_known = false;  // a line has told the state since the tracker began
    std::int32_t state = 0;
    std::vector<std::int32_t> also;  // states that it may be in instead, until a line tells
    std::int64_t also_until = 0;     // lines up to this time leave `also` alone
    std::int64_t entered_at = 0;     // when the state was entered
    bool is_armed = false;           // a timeout is pending
    std::int64_t armed_at = 0;
    std::int32_t cleared_by = NO_EVENT;  // event that cleared it; NO_EVENT: something else did
    bool was_asked = false;              // the running worker has requested a state
    bool is_unplaced = false;            // its association fits no case and was left as it is
    bool is_freed_on_cable = false;      // was parked until a request to scan, beside a cable
};

struct LinkTracker {
    std::vector<TrackedLink> links;
    std::string dispatched;         // interface of the last event
    std::int64_t worker_since = 0;  // when the running worker logged its start, 0: not seen
    std::int64_t supplicant_failed_at = -1;  // last line of the supplicant's retry
    bool count_is_off = false;     // the daemon counted more links up than can be, or none
    bool unknown_status = false;   // an association that the daemon could not place
    bool wire_found = false;       // the Ethernet detection ran and no loss followed
    bool wire_forgotten = false;   // found by a worker that ended, and not by the running one
    bool wire_lost = false;        // the Wi-Fi recovery ran and no backhaul was ready since
    bool backup_searched = false;  // the running reaction searches for a backup station
};

// What a line tells that does not fit.
struct TrackerFinding {
    std::string interface;
    std::int64_t time = 0;
    std::string text;
};

// A parked station that is tried again.
struct TrackerRelease {
    std::string interface;
    std::int64_t time = 0;
    bool without_backup = false;  // because no idle station was left
};

struct TrackerNews {
    std::vector<TrackerFinding> findings;
    std::vector<TrackerRelease> releases;
};

struct StateChangeLine {
    std::string interface;
    std::int32_t from = 0;
    std::int32_t requested = 0;
};

// A line of backhaul_intf_state_change, taken apart.
std::optional<StateChangeLine> state_change_parse(std::string_view text);

// A tracker that knows the interfaces and nothing of their states.
LinkTracker link_tracker_make(const std::vector<ObservedInterface>& interfaces);

// Forgets all states: lines were lost.
void link_tracker_forget(LinkTracker* tracker);

// Takes one line in.
void link_tracker_feed(LinkTracker* tracker, const LogEntry& entry, TrackerNews* news);

// The interface's link, or null.
const TrackedLink* link_tracker_find(const LinkTracker& tracker, std::string_view interface);

// Some link is known to be in this state.
bool link_tracker_has(const LinkTracker& tracker, std::int32_t state);

}  // namespace lab
