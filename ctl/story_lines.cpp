// What each line of a log means for the node that wrote it.
#include "ctl/story.h"

#include "ctl/text.h"
#include "intf/intf_record.h"

namespace {

/// The recovery from the cable turns APs off before it stores its states.
constexpr int64_t RECOVERY_SECONDS = 10;
constexpr int64_t BURST_PAUSE_SECONDS = 300;
constexpr int32_t RADAR_LIMIT = 3;
constexpr std::string_view RADAR_NAME = "ath20";

struct count_of_kind {
    log_kind kind;
    uint32_t story_counts::*count;
};

constexpr std::array COUNTS = {
    count_of_kind{log_kind::timeout, &story_counts::timeouts},
    count_of_kind{log_kind::link_up, &story_counts::associations},
    count_of_kind{log_kind::scan, &story_counts::scans},
    count_of_kind{log_kind::switch_begin, &story_counts::moves},
    count_of_kind{log_kind::switch_done, &story_counts::moves_done},
    count_of_kind{log_kind::switch_failed, &story_counts::moves_failed},
    count_of_kind{log_kind::client_joined, &story_counts::client_joins},
    count_of_kind{log_kind::client_left, &story_counts::client_leaves},
    count_of_kind{log_kind::wire_found, &story_counts::cable_in},
    count_of_kind{log_kind::wire_lost, &story_counts::cable_out},
    count_of_kind{log_kind::channel_change, &story_counts::channel_changes},
};

/// Reactions that begin with clearing the record's timeout.
bool event_clears(link_state state, slave_event event) {
    switch (event) {
        case START:
            return state == INIT;
        case ASSOC:
            return state == CONNECTING_BACKHAUL_AP || state == CONNECTING_TARGET_BACKHAUL_AP;
        case AP_DISASSOC:
            return state == CONNECT_WITH_BACKHAUL_AP || state == BACKHAUL_READY;
        case TIMEOUT:
            return state == CONNECTING_BACKHAUL_AP || state == CONNECT_WITH_BACKHAUL_AP ||
                   state == CONNECTING_TARGET_BACKHAUL_AP;
        case AUTO_CONFIG_SUCCESS:
            return state == CONNECT_WITH_BACKHAUL_AP || state == ETH_BACKHAUL_CONNECTED;
        case CONFIG_BEST_AP:
            break;
    }
    return false;
}

}  // namespace

void story::root_set(std::string_view ip) {
    text_copy(node_.root, ip);
}

void story::worker_started() {
    if (was_ready_ || out_) {
        const outage_cause cause = crashed_ ? outage_cause::crash
                                   : ended_ ? outage_cause::ended
                                            : outage_cause::restarted;
        const int32_t signal = node_.crash_signal;
        if (was_ready_) {
            sign_set(cause, "");
            sign_.signal = crashed_ ? signal : 0;
        }
        outage_.crashes += out_ && crashed_ ? 1 : 0;
    }
    node_.worker_since = now_;
    node_.is_extender = false;
    node_.backup = {};
    life_known_ = true;
    for (story_link& link : std::span(links_).first(link_count_)) {
        const bool is_wire = text_of(link.name) == ETH_INTF_NAME;
        span_end(link);
        state_set(link, is_wire ? ETH_BACKHAUL_DOWN : INIT);
        link.since = now_;
        link.known = true;
        link.also = is_wire ? int32_t{INIT} : -1;
        link.also_until = LOG_TIME_NONE;
        link.armed_at = LOG_TIME_NONE;
        link.losses = 0;
        link.losses_known = true;
        link.loop = false;
    }
    ready_check();
    crashed_ = false;
    ended_ = false;
    dispatched_ = {};
}

void story::life_feed(const log_event& event) {
    if (event.kind == log_kind::worker_start) {
        ++counts_.starts;
        worker_started();
    } else if (event.kind == log_kind::extender_start) {
        node_.is_extender = true;
    } else if (event.kind == log_kind::worker_end) {
        ++counts_.ends;
        ended_ = true;
    } else if (event.kind == log_kind::worker_crash) {
        ++counts_.crashes;
        crashed_ = true;
        node_.crash_signal = event.numbers[0];
    }
}

void story::dispatched(const log_event& event) {
    text_copy(dispatched_, event.interface);
    const auto what = static_cast<slave_event>(event.numbers[0]);
    if (story_link* const link = link_get(event.interface)) {
        link->armed_at = event_clears(link->state, what) ? LOG_TIME_NONE : link->armed_at;
    }
    if (what == AP_DISASSOC) {
        ap_lost(event.interface, text_of(mac_));
    }
    if (what == AP_DISASSOC && !(sign_.cause == outage_cause::unseen && sign_.time == now_)) {
        sign_set(outage_cause::ap_lost, event.interface);
        sign_.ap = mac_;
    } else if (what == CONFIG_BEST_AP) {
        sign_set(outage_cause::better_ap, event.interface);
    } else if (what == ASSOC) {
        if (story_link* const link = link_get(event.interface)) {
            link->ap = mac_;
            link->lost_at = mac_ == link->lost_ap ? LOG_TIME_NONE : link->lost_at;
        }
    }
    mac_ = {};
}

void story::driver_feed(const log_event& event) {
    const log_kind kind = event.kind;
    if (kind == log_kind::link_up_mac || kind == log_kind::associated_late ||
        kind == log_kind::link_down_mac) {
        text_copy(mac_, event.mac);
    } else if (kind == log_kind::link_gone_unseen) {
        const std::string_view name =
            event.interface.empty() ? text_of(dispatched_) : event.interface;
        sign_set(outage_cause::unseen, name);
        ap_lost(name, "");
    } else if (kind == log_kind::wire_lost) {
        wire_lost();
    } else if (kind == log_kind::switch_done) {
        if (story_link* const link = dispatched_link()) {
            text_copy(link->ap, event.mac);
        }
    }
}

/// Of a station that was ready; what it loses while it is parked was never its uplink.
void story::ap_lost(std::string_view interface, std::string_view ap) {
    story_link* const link = link_get(interface);
    if (link != nullptr && link->state == BACKHAUL_READY) {
        link->lost_at = now_;
        text_copy(link->lost_ap, ap.empty() ? text_of(link->ap) : ap);
    }
}

void story::wire_lost() {
    sign_set(outage_cause::cable_lost, ETH_INTF_NAME);
    for (story_link& link : std::span(links_).first(link_count_)) {
        if (text_of(link.name) != ETH_INTF_NAME && text_of(link.name) != RADAR_NAME) {
            state_store(link, INIT);
            link.also_until = now_ + RECOVERY_SECONDS;
        }
    }
}

void story::backup_feed(const log_event& event) {
    story_link* const link = dispatched_link();
    const log_kind kind = event.kind;
    if (kind == log_kind::backup_search) {
        // Stored past the table; a parked station stays parked.
        if (link != nullptr && link->state != CONNECT_PENDING) {
            state_store(*link, ETH_BACKHAUL_STANDBY);
        }
    } else if (kind == log_kind::backup_found) {
        ++counts_.backups;
        text_copy(node_.backup, event.interface);
        // The preferred station is asked to go on from standby, in the next line; any other goes
        // back to idle without one.
        if (link != nullptr && link->state == ETH_BACKHAUL_STANDBY) {
            state_store(*link, INIT);
        }
    } else if (kind == log_kind::backup_dropped || kind == log_kind::backup_dropped_connected ||
               kind == log_kind::wire_found) {
        node_.backup = {};
    } else if (kind == log_kind::loop_parked) {
        ++counts_.loops;
        outage_.loops += out_ ? 1 : 0;
        if (link != nullptr) {
            link->loop = true;
            link->losses_known = false;
        }
    } else if (kind == log_kind::restore) {
        parked_release();
    }
}

void story::parked_release() {
    for (story_link& one : std::span(links_).first(link_count_)) {
        one.losses = 0;
        one.losses_known = true;
        one.loop = false;
        if (one.state == CONNECT_PENDING) {
            state_store(one, INIT);
        }
    }
}

void story::radar_feed(const log_event& event) {
    if (event.kind == log_kind::radar_count) {
        story_link* const link = link_get(RADAR_NAME);
        const int32_t state = event.numbers[1];
        if (link == nullptr || !state_exists(state)) {
            return;
        }
        state_store(*link, static_cast<link_state>(state));
        if (event.numbers[0] >= RADAR_LIMIT && state != DFS_BLOCKING) {
            state_store(*link, DFS_MONITORING);
            link->armed_at = now_;
        }
    } else if (event.kind == log_kind::radar_off || event.kind == log_kind::radar_on) {
        story_link* const link = link_get(event.interface);
        counts_.radar_off += event.kind == log_kind::radar_off ? 1 : 0;
        if (link != nullptr) {
            state_store(*link, event.kind == log_kind::radar_off ? DFS_BLOCKING : DFS_MONITORING);
            link->armed_at = now_;
        }
    }
}

void story::losses_feed(const log_event& event) {
    if (event.kind != log_kind::losses && event.kind != log_kind::losses_left) {
        return;
    }
    counts_.losses += event.kind == log_kind::losses ? 1 : 0;
    if (story_link* const link = link_get(event.interface)) {
        link->losses = event.numbers[0];
        link->losses_known = true;
    }
}

void story::message_feed(const log_event& event) {
    if (event.kind != log_kind::message) {
        return;
    }
    ++counts_.messages;
    node_.message_heard = now_;
    // Only the root answers a request for admission.
    const bool admitted = event.row->pattern.find("CHECK_VALID_REPLY") != std::string_view::npos;
    if (admitted) {
        text_copy(node_.root, event.rest);
    }
    if (node_.root[0] != '\0' && event.rest == text_of(node_.root)) {
        node_.root_heard = now_;
        node_.root_admitted = admitted;
    }
}

void story::count_feed(const log_event& event) {
    for (const auto& [kind, count] : COUNTS) {
        counts_.*count += kind == event.kind ? 1 : 0;
    }
    if (event.kind == log_kind::timeout) {
        const bool no_ap =
            event.row->pattern.find("-> CONNECTING_BACKHAUL_AP") != std::string_view::npos;
        story_link* const link = link_get(event.interface);
        if (is_unready() && no_ap && link != nullptr) {
            ++outage_.timeouts;
            ++link->in_vain;
        }
    } else if (event.kind == log_kind::led) {
        text_copy(node_.led, event.rest);
    } else if (event.kind == log_kind::hops) {
        node_.hops = event.numbers[0];
    } else if (event.kind == log_kind::no_uplink) {
        node_.no_uplink_since = now_;
    }
}

void story::error_feed(const log_event& event) {
    // To be asked a second time is what the agent needs at every start.
    counts_.errors += event.kind == log_kind::configured_late ? 0 : 1;
    if (out_) {
        outage_.unconfigured += event.kind == log_kind::not_configured ? 1 : 0;
        outage_.agent_waits += event.kind == log_kind::configured_late ? 1 : 0;
        outage_.refusals +=
            event.row->pattern.find("wpa_cli fail") != std::string_view::npos ? 1 : 0;
    }
    error_run& run = errors_[static_cast<size_t>(event.row - LOG_TEXTS.data())];
    if (run.burst == 0 || now_ - run.last > BURST_PAUSE_SECONDS) {
        run.burst = 0;
        run.burst_first = now_;
    }
    ++run.total;
    ++run.burst;
    run.last = now_;
}
