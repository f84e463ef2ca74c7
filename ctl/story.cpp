#include "ctl/story.h"

#include "ctl/text.h"
#include "intf/intf_record.h"

#include <algorithm>
#include <cstring>

namespace {

/// Of a sign and the loss of readiness that it explains.
constexpr int64_t SIGN_SECONDS = 30;

int64_t length(int64_t begin, int64_t end) {
    return begin == LOG_TIME_NONE || end <= begin ? 0 : end - begin;
}

}  // namespace

const story_link* story::link_find(std::string_view name) const {
    const auto found = std::ranges::find_if(
        links(), [&](const story_link& link) { return text_of(link.name) == name; });
    return found == links().end() ? nullptr : &*found;
}

story_link* story::link_get(std::string_view name) {
    const story_link* const found = link_find(name);
    if (found != nullptr) {
        return &links_[static_cast<size_t>(found - links_.data())];
    }
    if (link_count_ == links_.size() || name.empty()) {
        return nullptr;
    }
    story_link& link = links_[link_count_++];
    text_copy(link.name, name);
    if (life_known_) {
        // Since the start nothing has been asked of it. Only the extender start moves the cable's
        // record on from 0.
        link.known = true;
        link.since = node_.worker_since;
        link.losses_known = true;
        if (name == ETH_INTF_NAME) {
            link.state = ETH_BACKHAUL_DOWN;
            link.also = INIT;
        }
    }
    return &link;
}

story_link* story::dispatched_link() {
    return dispatched_[0] == '\0' ? nullptr : link_get(text_of(dispatched_));
}

void story::sign_set(outage_cause cause, std::string_view interface) {
    sign_ = sign{};
    sign_.cause = cause;
    sign_.time = now_;
    text_copy(sign_.interface, interface);
}

void story::feed(const log_entry& entry, const log_event& event) {
    now_ = entry.time;
    node_.first = node_.first == LOG_TIME_NONE ? now_ : node_.first;
    node_.last = now_;
    ++counts_.entries;
    if (in_gap_) {
        in_gap_ = false;
        // What was in the gap is nobody's.
        for (story_link& link : links_) {
            link.told_until = now_;
        }
    }
    if (event.row == nullptr) {
        ++counts_.unknown;
        return;
    }
    const log_kind kind = event.kind;
    if (kind == log_kind::state_change) {
        return state_changed(entry, event);
    }
    if (kind == log_kind::dispatched) {
        return dispatched(event);
    }
    if (kind == log_kind::error || kind == log_kind::not_configured ||
        kind == log_kind::configured_late) {
        return error_feed(event);
    }
    if (kind == log_kind::detail) {
        return;
    }
    life_feed(event);
    driver_feed(event);
    backup_feed(event);
    radar_feed(event);
    losses_feed(event);
    message_feed(event);
    count_feed(event);
}

void story::gap() {
    ++counts_.gaps;
    in_gap_ = true;
    life_known_ = false;
    for (story_link& link : links_) {
        span_end(link);
        link.known = false;
        link.losses_known = false;
    }
}

void story::garbage() {
    ++counts_.garbage;
    // However many lines of it stand together.
    if (!in_gap_) {
        gap();
    }
}

void story::finish() {
    for (story_link& link : links_) {
        const bool begins_here = link.known && link.since == now_;
        span_end(link);
        if (begins_here) {
            listener_.span_ended(link, link.state, now_, now_);
        }
        link.since = now_;
    }
    if (out_) {
        out_ = false;
        outage_.last = now_;
        if (length(outage_.begin, now_) > 0) {
            ++counts_.outages;
            counts_.outage_seconds += outage_seconds(outage_);
            counts_.outage_longest = std::max(counts_.outage_longest, outage_seconds(outage_));
            outage_before_ = outage_;
            listener_.outage_ended(outage_);
        }
    }
}

void story::tell(finding_kind kind, const log_entry& entry, const log_event& event,
                 const story_link& link) {
    counts_.dropped += kind == finding_kind::dropped ? 1 : 0;
    counts_.impossible += kind == finding_kind::dropped ? 0 : 1;
    listener_.found(
        {kind, entry.time, entry.line, &link, link.state, event.numbers[0], event.numbers[1]});
}

void story::state_changed(const log_entry& entry, const log_event& event) {
    ++counts_.changes;
    const int32_t from = event.numbers[0];
    const int32_t to = event.numbers[1];
    story_link* const link = link_get(event.interface);
    if (link == nullptr) {
        return;
    }
    if (!state_exists(from) || !state_exists(to)) {
        return tell(finding_kind::no_such_state, entry, event, *link);
    }
    const bool fits = from == link->state || from == link->also;
    if (link->known && !fits) {
        tell(finding_kind::cannot_follow, entry, event, *link);
    }
    if (from != link->state || !link->known) {
        const bool was_known = link->known;
        state_set(*link, static_cast<link_state>(from));
        link->since = was_known ? link->since : LOG_TIME_NONE;
        link->known = true;
    }
    if (!was_ready_ && !out_ && !ever_ready_ && state_is_ready(link->state)) {
        // The log begins while the node is ready.
        was_ready_ = true;
        ever_ready_ = true;
    }
    if (now_ > link->also_until) {
        link->also = -1;
    }
    const link_transition* const row =
        link_transition_find(static_cast<link_state>(from), static_cast<link_state>(to));
    if (row == nullptr) {
        return tell(finding_kind::dropped, entry, event, *link);
    }
    state_set(*link, row->requested);
    link->armed_at = row->timer == TIMER_ON ? now_ : LOG_TIME_NONE;
    if (row->requested == CONNECT_PENDING && from != to) {
        ++counts_.parkings;
        outage_.parkings += out_ ? 1 : 0;
    }
    ready_check();
}

void story::state_store(story_link& link, link_state state) {
    if (link.state != state) {
        link.also = link.state;
        link.also_until = LOG_TIME_NONE;
        state_set(link, state);
    }
    ready_check();
}

void story::state_set(story_link& link, link_state state) {
    if (link.state == state && link.since != LOG_TIME_NONE) {
        return;
    }
    span_end(link);
    if (link.state != state && link.known) {
        ++link.entered[static_cast<size_t>(state)];
    }
    link.state = state;
    link.since = now_;
}

void story::span_end(story_link& link) {
    if (!link.known) {
        return;
    }
    const int64_t begin =
        std::max(link.since == LOG_TIME_NONE ? node_.first : link.since, link.told_until);
    if (length(begin, now_) > 0) {
        link.seconds[static_cast<size_t>(link.state)] += length(begin, now_);
        listener_.span_ended(link, link.state, begin, now_);
    }
    link.told_until = now_;
}

void story::ready_check() {
    const story_link* ready = nullptr;
    for (const story_link& link : links()) {
        if (state_is_ready(link.state) && (link.known || link.since != LOG_TIME_NONE)) {
            ready = &link;
        }
    }
    if (ready == nullptr && was_ready_) {
        outage_begin();
    } else if (ready != nullptr && !was_ready_) {
        if (!ever_ready_ && node_.worker_since != LOG_TIME_NONE) {
            node_.ready_after = length(node_.worker_since, now_);
        }
        outage_end(ready);
        ever_ready_ = true;
    }
    was_ready_ = ready != nullptr;
}

void story::outage_begin() {
    out_ = true;
    for (story_link& link : links_) {
        link.in_vain = 0;
    }
    outage_ = outage{};
    outage_.begin = now_;
    if (sign_.time != LOG_TIME_NONE && now_ - sign_.time <= SIGN_SECONDS) {
        outage_.cause = sign_.cause;
        outage_.signal = sign_.signal;
        outage_.interface = sign_.interface;
        outage_.ap = sign_.ap;
        outage_.crashes = sign_.cause == outage_cause::crash ? 1 : 0;
    }
}

void story::outage_end(const story_link* link) {
    if (!out_) {
        return;
    }
    out_ = false;
    outage_.end = now_;
    outage_.last = now_;
    outage_.end_interface = link->name;
    // One station takes over from another at once: nobody was out.
    if (length(outage_.begin, outage_.end) == 0) {
        return;
    }
    ++counts_.outages;
    counts_.outage_seconds += outage_seconds(outage_);
    counts_.outage_longest = std::max(counts_.outage_longest, outage_seconds(outage_));
    outage_before_ = outage_;
    listener_.outage_ended(outage_);
}
