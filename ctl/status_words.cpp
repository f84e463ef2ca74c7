// The sentences of `backhaulctl status`.

#include "ctl/status.h"
#include "ctl/text.h"
#include "link/timeout_limit.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// An error that repeated so lately is what the node suffers from now.
constexpr int64_t ERROR_FRESH_SECONDS = 120;
/// An outage that ended so lately is still told first.
constexpr int64_t OUTAGE_FRESH_SECONDS = 3600;

const char* clock_of(const time_text& text) {
    return text.data() + 11;
}

/// Appends to a sentence in a buffer.
__attribute__((format(printf, 2, 3))) void add(std::span<char> out, const char* format, ...) {
    const size_t used = std::strlen(out.data());
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(out.data() + used, out.size() - used, format, arguments);
    va_end(arguments);
}

/// Whether a search of this interface is known, or that it is a station.
bool is_station(const status_view& view, const story_link& link) {
    for (size_t i = 0; i < view.interface_count; ++i) {
        if (text_of(link.name) == text_of(view.interfaces[i])) {
            return view.stations[i];
        }
    }
    return link.in_vain > 0 || link.state == CONNECTING_BACKHAUL_AP ||
           link.seconds[CONNECTING_BACKHAUL_AP] > 0;
}

/// How often the stations have searched all their time and found nobody.
struct search_count {
    uint32_t stations = 0;
    uint32_t in_vain = 0;   ///< stations that did at least once
    uint32_t searches = 0;  ///< of all stations
};

search_count searches_count(const status_view& view) {
    search_count count;
    for (const story_link& link : view.told->links()) {
        count.stations += is_station(view, link) ? 1 : 0;
        count.in_vain += link.in_vain > 0 ? 1 : 0;
        count.searches += link.in_vain;
    }
    return count;
}

/// Of one station alone, a single search is not yet the root's fault.
bool root_is_gone(const search_count& count) {
    return count.stations > 0 && count.in_vain >= count.stations && count.searches >= 2;
}

/// "ath0 2 times, ath1 once 180 s in vain".
void searches_add(const status_view& view, std::span<char> out) {
    const char* comma = "";
    for (const story_link& link : view.told->links()) {
        if (link.in_vain == 1) {
            add(out, "%s%s once", comma, link.name.data());
        } else if (link.in_vain > 1) {
            add(out, "%s%s %u times", comma, link.name.data(), link.in_vain);
        }
        comma = link.in_vain > 0 ? ", " : comma;
    }
    add(out, " %d s in vain", timeout_limit_get(CONNECTING_BACKHAUL_AP, 0).seconds);
}

bool hangs_below_another(const status_view& view) {
    return view.distance[0] == '\0' ? view.told->node().hops >= 2
                                    : std::strtol(view.distance.data(), nullptr, 10) >= 2;
}

void root_gone_add(const status_view& view, std::span<char> out) {
    add(out, "; no station finds an AP on any band (");
    searches_add(view, out);
    add(out, "): the root%s%s, or every way to it, is gone%s", view.root_ip[0] != '\0' ? " " : "",
        view.root_ip.data(),
        hangs_below_another(view) ? ", or the node above has lost its own way to it" : "");
}

/// What the stations have searched so far, and who has not.
void searches_so_far_add(const status_view& view, std::span<char> out) {
    add(out, "; so far ");
    searches_add(view, out);
    const char* comma = ", not yet ";
    for (const story_link& link : view.told->links()) {
        if (is_station(view, link) && link.in_vain == 0) {
            add(out, "%s%s", comma, link.name.data());
            comma = ", ";
        }
    }
}

/// What keeps the stations from finding an AP, as far as that is known.
void hindrance_add(const status_view& view, std::span<char> out) {
    const search_count count = searches_count(view);
    if (root_is_gone(count)) {
        root_gone_add(view, out);
    } else if (count.searches > 0) {
        searches_so_far_add(view, out);
    }
}

/// An outage without its searches: the headline counts them for each station.
void outage_add(const outage& one, const char* before, std::span<char> out) {
    std::array<char, 300> words{};
    outage told = one;
    told.timeouts = 0;
    outage_words(told, words);
    add(out, "%s%s", before, words.data());
}

/// Stations that wait to be released, and what to do about them. False without one.
bool parked_add(const status_view& view, std::span<char> out) {
    bool any = false;
    for (const story_link& link : view.told->links()) {
        if (link.state != CONNECT_PENDING) {
            continue;
        }
        any = true;
        add(out, "; %s is parked since %s%s", link.name.data(), clock_of(log_time_text(link.since)),
            link.loop ? ": the AP that it joined hangs below this node, a loop. "
                      : " after too many losses; `backhaulctl send uplink_scan` releases it");
        if (link.loop && link.lost_at != LOG_TIME_NONE) {
            add(out,
                "The AP that it had before, %s, was lost at %s: look there first; then "
                "`backhaulctl send uplink_scan`, which ends in the same loop while that AP is not "
                "heard",
                link.lost_ap.data(), clock_of(log_time_text(link.lost_at)));
        } else if (link.loop) {
            add(out, "Mend the placement, then `backhaulctl send uplink_scan`");
        }
    }
    return any;
}

/// What to do where the outage was of this cause.
void cause_advice_add(outage_cause cause, std::span<char> out) {
    switch (cause) {
        case outage_cause::ap_lost:
        case outage_cause::unseen:
            return add(out, "; look at that AP: its power, radar on its channel, its distance");
        case outage_cause::cable_lost:
            return add(out, "; look at the cable and at what it leads to");
        case outage_cause::better_ap:
            return add(out, "; look at the AP that it moved to: its distance, radar");
        case outage_cause::crash:
            return add(out, "; keep /var/log/backhaul_flow_log.crash for who mends the daemon");
        case outage_cause::ended:
        case outage_cause::restarted:
        case outage_cause::unknown:
        case outage_cause::loop:
            return add(out, "; `backhaulctl explain` tells what came before it");
    }
}

bool error_add(const status_view& view, std::span<char> out) {
    if (!view.has_error || view.now - view.told->error(view.error).last > ERROR_FRESH_SECONDS) {
        return false;
    }
    const log_text& row = LOG_TEXTS[view.error];
    const error_run& run = view.told->error(view.error);
    add(out, "; \"%.*s\" %u times in %s: %.*s", text_size(row.pattern), row.pattern.data(),
        run.burst, log_length_text(run.last - run.burst_first).data(), text_size(row.rule),
        row.rule.data());
    return true;
}

void ready_headline(const status_view& view, const story_link& uplink, std::span<char> out) {
    add(out, "READY over %s since %s", uplink.name.data(),
        uplink.since == LOG_TIME_NONE ? "before the log begins"
                                      : log_time_text(uplink.since).data());
    if (view.now_is_log_end) {
        add(out, " (as of %s, the log's end)", clock_of(log_time_text(view.now)));
    }
    const outage* const last = view.told->outage_last();
    const bool is_fresh = last != nullptr && view.now - last->last <= OUTAGE_FRESH_SECONDS;
    if (is_fresh) {
        std::array<char, 300> words{};
        outage_words(*last, words);
        add(out, "; was out for %s from %s: %s", log_length_text(outage_seconds(*last)).data(),
            clock_of(log_time_text(last->begin)), words.data());
    }
    if (!parked_add(view, out) && is_fresh) {
        cause_advice_add(last->cause, out);
    }
}

void searching_add(const status_view& view, std::span<char> out) {
    for (const story_link& link : view.told->links()) {
        if (link.state == CONNECTING_BACKHAUL_AP || link.state == CONNECT_WITH_BACKHAUL_AP ||
            link.state == CONNECTING_TARGET_BACKHAUL_AP || link.state == ETH_BACKHAUL_CONNECTED) {
            std::array<char, 200> waits{};
            status_waits(link, view.now, waits);
            add(out, "; %s waits for %s", link.name.data(), waits.data());
        }
    }
}

/// What to do where the log does not tell what the node was before.
void waits_advice_add(const story& told, std::span<char> out) {
    const story_link* const uplink = status_uplink(told);
    if (uplink != nullptr && uplink->state != CONNECTING_TARGET_BACKHAUL_AP) {
        add(out, "; look at the agent, vl1905App, and at whether the root answers it");
    } else {
        add(out,
            "; look at the APs above this node: their power, radar on their channels, their "
            "distance");
    }
}

/// The end of an incident's headline: what to do.
void advice_add(const status_view& view, const outage* out_now, std::span<char> out) {
    const bool is_parked = parked_add(view, out);
    if (error_add(view, out)) {
        return;
    }
    if (root_is_gone(searches_count(view))) {
        add(out,
            "; look at the root's power and its channel%s; where other nodes are ready, at "
            "this one's SSID and key",
            hangs_below_another(view) ? ", then at the nodes on the way to it" : "");
    } else if (is_parked) {
        return;
    } else if (out_now != nullptr) {
        cause_advice_add(out_now->cause, out);
    } else {
        waits_advice_add(*view.told, out);
    }
}

void out_headline(const status_view& view, const outage& out_now, std::span<char> out) {
    add(out, "OUT since %s (%s", log_time_text(out_now.begin).data(),
        log_length_text(std::max<int64_t>(view.now - out_now.begin, 0)).data());
    if (view.now_is_log_end) {
        add(out, " as of %s, the log's end", clock_of(log_time_text(view.now)));
    }
    add(out, ")");
    hindrance_add(view, out);
    outage_add(out_now, out_now.cause == outage_cause::unknown ? "; " : "; it began when ", out);
    searching_add(view, out);
    advice_add(view, &out_now, out);
}

/// Of a node that was never ready in all of the log, or ready before it and ever since.
void unready_headline(const status_view& view, std::span<char> out) {
    const story_node& node = view.told->node();
    if (node.worker_since == LOG_TIME_NONE && std::strcmp(view.status.data(), "ready") == 0) {
        add(out,
            "READY, as the status file says; over which interface is not in the log, which "
            "begins later");
        return;
    }
    if (node.worker_since != LOG_TIME_NONE) {
        add(out, "NOT READY since the worker's start at %s",
            log_time_text(node.worker_since).data());
    } else {
        add(out, "NOT READY since before the log begins at %s", log_time_text(node.first).data());
    }
    hindrance_add(view, out);
    searching_add(view, out);
    advice_add(view, nullptr, out);
}

}  // namespace

const story_link* status_uplink(const story& told) {
    const story_link* best = nullptr;
    const auto rank = [](link_state state) {
        return state_is_ready(state)                                                  ? 3
               : state == CONNECTING_TARGET_BACKHAUL_AP                               ? 2
               : state == CONNECT_WITH_BACKHAUL_AP || state == ETH_BACKHAUL_CONNECTED ? 1
                                                                                      : 0;
    };
    for (const story_link& link : told.links()) {
        if (rank(link.state) > (best == nullptr ? 0 : rank(best->state))) {
            best = &link;
        }
    }
    return best;
}

void status_headline(const status_view& view, std::span<char> out) {
    out[0] = '\0';
    if (view.daemons.known && view.daemons.supervisors == 0) {
        add(out, "NO DAEMON RUNS on this node; what the last one left: ");
    }
    const story_link* const uplink = status_uplink(*view.told);
    if (view.told->node().first == LOG_TIME_NONE) {
        add(out, "UNKNOWN: the log is empty");
    } else if (uplink != nullptr && state_is_ready(uplink->state)) {
        ready_headline(view, *uplink, out);
    } else if (view.told->outage_now() != nullptr) {
        out_headline(view, *view.told->outage_now(), out);
    } else if (view.told->links().empty()) {
        add(out, "%s: no link state in the log%s", view.extenders >= 0 ? "ROOT" : "UNKNOWN",
            view.extenders >= 0 ? "" : ", which begins later than the last change");
        error_add(view, out);
    } else {
        unready_headline(view, out);
    }
}

void status_waits(const story_link& link, int64_t now, std::span<char> out) {
    const timeout_limit limit = timeout_limit_get(link.state, 0);
    std::array<char, 64> until{};
    if (link.armed_at != LOG_TIME_NONE && limit.checked) {
        const int64_t due = link.armed_at + limit.seconds + 1;
        std::snprintf(until.data(), until.size(), due >= now ? " until %s" : " (due since %s)",
                      clock_of(log_time_text(due)));
    }
    const char* what = "";
    switch (link.state) {
        case INIT:
            what = until[0] == '\0' ? "nothing: idle, free as a backup" : "its configuration";
            break;
        case CONNECTING_BACKHAUL_AP:
            what = "an AP";
            break;
        case CONNECT_WITH_BACKHAUL_AP:
        case ETH_BACKHAUL_CONNECTED:
        case LINK_STATE_8:
        case LINK_STATE_9:
            what = "the auto-configuration agent";
            break;
        case CONNECTING_TARGET_BACKHAUL_AP:
            what = "the better AP";
            break;
        case CONNECT_PENDING:
            what = "a scan request or the backup search";
            break;
        case BACKHAUL_READY:
        case ETH_BACKHAUL_READY:
            what = "nothing";
            until = {};
            break;
        case DFS_MONITORING:
        case DFS_BLOCKING:
            what = "a look at the channels under radar";
            break;
        case AP_TIMER_WAIT:
            what = "the check for vanished interfaces";
            break;
        case ETH_BACKHAUL_DOWN:
            what = "a cable";
            break;
        case ETH_BACKHAUL_STANDBY:
            what = "the uplink elsewhere to go away";
            break;
    }
    std::snprintf(out.data(), out.size(), "%s%s", what, until.data());
}
