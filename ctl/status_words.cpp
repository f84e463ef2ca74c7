// The sentences of `backhaulctl status`.

#include "ctl/status.h"
#include "ctl/text.h"
#include "link/timeout_limit.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

/// An error that repeated so lately is what the node suffers from now.
constexpr int64_t ERROR_FRESH_SECONDS = 120;
/// An outage that ended so lately is still told first.
constexpr int64_t OUTAGE_FRESH_SECONDS = 3600;

const char* clock_of(const time_text& text) {
    return text.data() + 11;
}

uint32_t stations_seen(const status_view& view) {
    const auto links = view.told->links();
    const auto seen = std::ranges::count_if(links, [](const story_link& link) {
        return link.seconds[CONNECTING_BACKHAUL_AP] > 0 || link.state == CONNECTING_BACKHAUL_AP;
    });
    return std::max(view.stations, static_cast<uint32_t>(seen));
}

/// Appends to a sentence in a buffer.
__attribute__((format(printf, 2, 3))) void add(std::span<char> out, const char* format, ...) {
    const size_t used = std::strlen(out.data());
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(out.data() + used, out.size() - used, format, arguments);
    va_end(arguments);
}

void parked_add(const status_view& view, std::span<char> out) {
    for (const story_link& link : view.told->links()) {
        if (link.state != CONNECT_PENDING) {
            continue;
        }
        add(out, "; %s is parked since %s%s", link.name.data(), clock_of(log_time_text(link.since)),
            link.loop ? ": its AP hangs below this node, a loop. Mend the placement, then send "
                        "uplink_scan"
                      : " after too many losses; send uplink_scan releases it");
    }
}

void ready_headline(const status_view& view, const story_link& uplink, std::span<char> out) {
    add(out, "READY over %s since %s", uplink.name.data(),
        uplink.since == LOG_TIME_NONE ? "before the log begins"
                                      : log_time_text(uplink.since).data());
    parked_add(view, out);
    const outage* const last = view.told->outage_last();
    if (last != nullptr && view.now - last->last <= OUTAGE_FRESH_SECONDS) {
        std::array<char, 300> words{};
        outage_words(*last, words);
        add(out, "; was out for %s from %s: %s", log_length_text(outage_seconds(*last)).data(),
            clock_of(log_time_text(last->begin)), words.data());
    }
}

bool error_headline(const status_view& view, std::span<char> out) {
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

/// Whether every station has searched all its time and found nobody.
bool root_is_gone(const status_view& view) {
    return view.told->searches_in_vain() >= std::max(stations_seen(view), 2U);
}

void root_gone_headline(const status_view& view, std::span<char> out) {
    add(out, "; no station finds an AP on any band (%u times 180 s in vain)",
        view.told->searches_in_vain());
    const int64_t heard = view.told->node().root_heard;
    if (heard != LOG_TIME_NONE) {
        add(out, ", and the root's last sign in the log is of %s", clock_of(log_time_text(heard)));
    }
    add(out, ": the root%s%s, or every way to it, is gone", view.root_ip[0] != '\0' ? " " : "",
        view.root_ip.data());
}

/// What keeps the node from being ready, as far as that is known.
void hindrance_headline(const status_view& view, std::span<char> out) {
    if (!error_headline(view, out) && root_is_gone(view)) {
        root_gone_headline(view, out);
    }
}

void searching_headline(const status_view& view, std::span<char> out) {
    for (const story_link& link : view.told->links()) {
        if (link.state == CONNECTING_BACKHAUL_AP || link.state == CONNECT_WITH_BACKHAUL_AP ||
            link.state == CONNECTING_TARGET_BACKHAUL_AP || link.state == ETH_BACKHAUL_CONNECTED) {
            std::array<char, 200> waits{};
            status_waits(link, view.now, waits);
            add(out, "; %s waits for %s", link.name.data(), waits.data());
        }
    }
}

void out_headline(const status_view& view, const outage& out_now, std::span<char> out) {
    add(out, "OUT since %s (%s)", log_time_text(out_now.begin).data(),
        log_length_text(std::max<int64_t>(view.now - out_now.begin, 0)).data());
    hindrance_headline(view, out);
    std::array<char, 300> words{};
    outage_words(out_now, words);
    add(out, "; %s%s", out_now.cause == outage_cause::unknown ? "" : "it began when ",
        words.data());
    searching_headline(view, out);
    parked_add(view, out);
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
    hindrance_headline(view, out);
    searching_headline(view, out);
    parked_add(view, out);
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
        error_headline(view, out);
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
