#include "lab/rules/link_tracker.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "lab/rules/link_table.h"

namespace lab {
namespace {

constexpr std::string_view WORKER_START = "<-- backhaul_monitor start -->";
constexpr std::string_view CHANGE = "backhaul_intf_state_change : change ";
constexpr std::string_view DISPATCH = "wifi_slave_event_process : ifname ";
constexpr std::string_view WIRE_FOUND = "wifi_slave_eth_detect : Enter";
constexpr std::string_view DFS_COUNT = "backhaul_dfs_check : dfs_count ";
constexpr std::string_view DFS_INTERFACE = "ath20";
constexpr std::string_view SUPPLICANT_FAILS = "dev_intf_enable_set : wpa_cli fail, try again";
constexpr std::string_view LINK_COUNT = ") : backhaul_sta_num ";
constexpr std::string_view UNKNOWN_STATUS = "backhaul_connected : Unknown status";
constexpr int DFS_LIMIT = 3;
constexpr int RECOVERY_SECONDS = 5;  // the recovery turns APs off before it stores states

// Takes a number off the front of the text.
bool number_take(std::string_view* text, std::int32_t* number) {
    const auto [end, failure] = std::from_chars(text->data(), text->data() + text->size(), *number);
    text->remove_prefix(static_cast<std::size_t>(end - text->data()));
    return failure == std::errc{};
}

bool text_take(std::string_view* text, std::string_view front) {
    const bool fits = text->starts_with(front);
    text->remove_prefix(fits ? front.size() : 0);
    return fits;
}

TrackedLink* find(LinkTracker* tracker, std::string_view interface) {
    const auto found =
        std::find_if(tracker->links.begin(), tracker->links.end(),
                     [interface](const TrackedLink& l) { return l.interface == interface; });
    return found == tracker->links.end() ? nullptr : &*found;
}

bool is_station(const TrackedLink& link) {
    return link.type == "BACKHAUL_STA";
}

// The daemon's choice: the highest priority, the first of equal ones.
const TrackedLink* preferred_station(const LinkTracker& tracker) {
    const TrackedLink* best = nullptr;
    for (const TrackedLink& link : tracker.links) {
        if (is_station(link) && (best == nullptr || link.priority > best->priority)) {
            best = &link;
        }
    }
    return best;
}

// A direct store: the timer stays as it is. The old state stays possible for who reads too early.
void store(TrackedLink* link, std::int32_t state, std::int64_t time) {
    if (link->state != state) {
        link->also = {link->state};
        link->state = state;
        link->entered_at = time;
    }
}

bool may_be_in(const TrackedLink& link, std::int32_t state) {
    return !link.is_known || link.state == state ||
           std::find(link.also.begin(), link.also.end(), state) != link.also.end();
}

void worker_started(LinkTracker* tracker, std::int64_t time) {
    std::vector<TrackedLink> links = std::move(tracker->links);
    const bool wire_forgotten = tracker->wire_found || tracker->wire_forgotten;
    *tracker = {};
    tracker->links = std::move(links);
    tracker->wire_forgotten = wire_forgotten;
    tracker->worker_since = time;
    for (TrackedLink& link : tracker->links) {
        link.is_known = true;
        link.is_armed = false;
        link.also.clear();
        link.entered_at = time;
        link.state = STATE_INIT;
        link.was_asked = false;
        link.is_unplaced = false;
        link.is_freed_on_cable = false;
        // The records start at 0; the slave start, which a root lacks, moves these two on.
        if (link.type == "ETHERNET") {
            link.state = STATE_ETH_DOWN;
            link.also = {STATE_INIT};
        } else if (link.type == "AP_TIMER_INTF") {
            link.state = STATE_TIMER_WAIT;
            link.also = {STATE_INIT};
        }
    }
}

void state_changed(LinkTracker* tracker, const StateChangeLine& line, std::int64_t time,
                   TrackerNews* news) {
    TrackedLink* const link = find(tracker, line.interface);
    if (link == nullptr) {
        return;
    }
    if (!may_be_in(*link, line.from)) {
        news->findings.push_back({link->interface, time,
                                  "was in state " + std::to_string(line.from) +
                                      ", but by the expected table in " +
                                      std::to_string(link->state)});
    }
    const std::optional<LinkTimer> timer = link_change(line.from, line.requested);
    const std::int32_t state = timer ? line.requested : line.from;
    if (line.from == STATE_PARKED && state == STATE_CONNECTING) {
        news->releases.push_back(
            {link->interface, time,
             tracker->backup_searched && tracker->dispatched == line.interface});
    }
    if (state != link->state || !link->is_known) {
        link->entered_at = time;
    }
    link->is_known = true;
    link->was_asked = true;
    link->is_unplaced = false;
    link->state = state;
    if (time > link->also_until) {
        link->also.clear();
    }
    if (timer) {
        link->is_armed = *timer == LinkTimer::arm;
        link->armed_at = time;
        link->cleared_by = NO_EVENT;
    }
    if (state == STATE_READY || state == STATE_ETH_READY) {
        tracker->wire_lost = false;
    }
}

void event_dispatched(LinkTracker* tracker, std::string_view rest) {
    const std::size_t end = rest.find(" event ");
    if (end == std::string_view::npos) {
        return;
    }
    tracker->dispatched = rest.substr(0, end);
    tracker->backup_searched = false;
    rest.remove_prefix(end + std::string_view(" event ").size());
    std::int32_t event = 0;
    TrackedLink* const link = find(tracker, tracker->dispatched);
    if (link == nullptr || !number_take(&rest, &event)) {
        return;
    }
    if (link_event_clears(link->state, event)) {
        link->is_armed = false;
        link->cleared_by = event;
    }
}

// The failed station stands aside while another is searched, but a parked one stays parked.
void backup_searched(LinkTracker* tracker, std::int64_t time) {
    tracker->backup_searched = true;
    TrackedLink* const link = find(tracker, tracker->dispatched);
    if (link != nullptr && link->state != STATE_PARKED) {
        store(link, STORE_SEARCHING.state, time);
    }
}

// One that is not preferred goes back to idle once another was found.
void backup_found(LinkTracker* tracker, std::int64_t time) {
    TrackedLink* const link = find(tracker, tracker->dispatched);
    if (link != nullptr && link != preferred_station(*tracker) && link->state == STATE_STANDBY) {
        store(link, STORE_FOUND.state, time);
    }
}

void parked_released(LinkTracker* tracker, std::int64_t time) {
    for (TrackedLink& link : tracker->links) {
        if (is_station(link) && link.state == STATE_PARKED) {
            store(&link, STORE_RESTORED.state, time);
            link.is_freed_on_cable = tracker->wire_found;
        }
    }
}

void wire_found(LinkTracker* tracker) {
    tracker->wire_found = true;
    tracker->wire_forgotten = false;
    for (TrackedLink& link : tracker->links) {
        if (is_station(link)) {
            link.is_armed = false;
            link.cleared_by = NO_EVENT;
            link.is_freed_on_cable = false;
        }
    }
}

void wire_lost(LinkTracker* tracker, std::int64_t time) {
    tracker->wire_found = false;
    tracker->wire_forgotten = false;
    tracker->wire_lost = true;
    for (TrackedLink& link : tracker->links) {
        if (is_station(link)) {
            store(&link, STORE_RECOVERED.state, time);
            link.is_armed = false;
            link.is_freed_on_cable = false;
            link.also_until = time + RECOVERY_SECONDS;
            link.also.push_back(STORE_RECOVERED.state);
        }
    }
}

// "dfs_count %hhu state %d": from the third change on the AP is watched, unless it is blocked.
void dfs_counted(LinkTracker* tracker, std::string_view rest, std::int64_t time) {
    std::int32_t count = 0;
    std::int32_t state = 0;
    TrackedLink* const link = find(tracker, DFS_INTERFACE);
    if (link == nullptr || !number_take(&rest, &count) || !text_take(&rest, " state ") ||
        !number_take(&rest, &state)) {
        return;
    }
    link->is_known = true;
    store(link, state, time);
    if (count >= DFS_LIMIT && state != STATE_DFS_BLOCKING) {
        store(link, STATE_DFS_MONITORING, time);
        link->is_armed = true;
        link->armed_at = time;
    }
}

void dfs_stored(LinkTracker* tracker, std::string_view interface, const DirectStore& stored,
                std::int64_t time) {
    TrackedLink* const link = find(tracker, interface);
    if (link != nullptr) {
        store(link, stored.state, time);
        link->is_armed = true;
        link->armed_at = time;
    }
}

// Lines that matter to more than one link or to none.
void signs_feed(LinkTracker* tracker, const LogEntry& entry) {
    const std::string_view text = entry.text;
    if (text == SUPPLICANT_FAILS) {
        tracker->supplicant_failed_at = entry.time;
    } else if (text == UNKNOWN_STATUS) {
        tracker->unknown_status = true;
        if (TrackedLink* const link = find(tracker, tracker->dispatched)) {
            link->is_unplaced = true;
        }
    }
    const std::size_t at = text.find(LINK_COUNT);
    if (text.starts_with("backhaul_connected(") && at != std::string_view::npos) {
        std::string_view rest = text.substr(at + LINK_COUNT.size());
        std::int32_t count = 0;
        // One link, or the preferred station beside its backup.
        tracker->count_is_off =
            tracker->count_is_off || !number_take(&rest, &count) || count < 1 || count > 2;
    }
}

}  // namespace

std::optional<StateChangeLine> state_change_parse(std::string_view text) {
    StateChangeLine line;
    constexpr std::string_view FROM = " state from ";
    if (!text_take(&text, CHANGE)) {
        return std::nullopt;
    }
    const std::size_t end = text.find(FROM);
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    line.interface = text.substr(0, end);
    text.remove_prefix(end + FROM.size());
    if (!number_take(&text, &line.from) || !text_take(&text, " to ") ||
        !number_take(&text, &line.requested) || !text.empty()) {
        return std::nullopt;
    }
    return line;
}

LinkTracker link_tracker_make(const std::vector<ObservedInterface>& interfaces) {
    LinkTracker tracker;
    for (const ObservedInterface& interface : interfaces) {
        TrackedLink link;
        link.interface = interface.name;
        link.type = interface.type;
        link.priority = interface.priority;
        tracker.links.push_back(link);
    }
    return tracker;
}

void link_tracker_forget(LinkTracker* tracker) {
    for (TrackedLink& link : tracker->links) {
        link.is_known = false;
        link.is_armed = false;
        link.also.clear();
    }
}

void link_tracker_feed(LinkTracker* tracker, const LogEntry& entry, TrackerNews* news) {
    std::string_view text = entry.text;
    if (const auto change = state_change_parse(text)) {
        state_changed(tracker, *change, entry.time, news);
    } else if (text_take(&text, DISPATCH)) {
        event_dispatched(tracker, text);
    } else if (text == WORKER_START) {
        worker_started(tracker, entry.time);
    } else if (text == STORE_SEARCHING.line) {
        backup_searched(tracker, entry.time);
    } else if (text.starts_with(STORE_FOUND.line)) {
        backup_found(tracker, entry.time);
    } else if (text == STORE_RESTORED.line) {
        parked_released(tracker, entry.time);
    } else if (text == WIRE_FOUND) {
        wire_found(tracker);
    } else if (text == STORE_RECOVERED.line) {
        wire_lost(tracker, entry.time);
    } else if (text_take(&text, DFS_COUNT)) {
        dfs_counted(tracker, text, entry.time);
    } else if (text_take(&text, STORE_BLOCKED.line)) {
        dfs_stored(tracker, text, STORE_BLOCKED, entry.time);
    } else if (text_take(&text, STORE_UNBLOCKED.line)) {
        dfs_stored(tracker, text, STORE_UNBLOCKED, entry.time);
    } else {
        signs_feed(tracker, entry);
    }
}

const TrackedLink* link_tracker_find(const LinkTracker& tracker, std::string_view interface) {
    const auto found =
        std::find_if(tracker.links.begin(), tracker.links.end(),
                     [interface](const TrackedLink& l) { return l.interface == interface; });
    return found == tracker.links.end() ? nullptr : &*found;
}

bool link_tracker_has(const LinkTracker& tracker, std::int32_t state) {
    return std::any_of(tracker.links.begin(), tracker.links.end(),
                       [state](const TrackedLink& l) { return l.is_known && l.state == state; });
}

}  // namespace lab
