// Rules about files, traffic and processes.
#include <algorithm>

#include "lab/rules/link_table.h"
#include "lab/rules/rule_checks.h"

namespace lab {
namespace {

constexpr std::int64_t UPLINK_PATIENCE = 5;
constexpr std::int64_t SERVICE_PATIENCE = 10;
constexpr std::int64_t START_SECONDS = 30;  // in which a new worker turns service APs off

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

// The cause for which one of the uplinks carries traffic beside another: its association was left
// as it was, it was freed beside a cable, the running worker has never asked anything of it, or it
// is a cable of which that worker does not know.
Cause uplinks_cause(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    for (const std::string& uplink : look.node.uplinks) {
        const TrackedLink* const link = link_tracker_find(tracker, uplink);
        if (link != nullptr && link->is_unplaced) {
            return Cause::unplaced;
        }
        if (link != nullptr && link->is_freed_on_cable) {
            return Cause::freed_on_cable;
        }
        if (link != nullptr && link->is_known && link->type == "BACKHAUL_STA" &&
            link->state == STATE_INIT && !link->was_asked) {
            return Cause::left_over;
        }
        if (link != nullptr && link->type == "ETHERNET" && tracker.wire_forgotten) {
            return Cause::cable_forgotten;
        }
    }
    return supplicant_is_failing(tracker, look.time) ? Cause::supplicant_fails : Cause::none;
}

Cause service_cause(const Look& look) {
    const LinkTracker& tracker = look.memory.tracker;
    if (link_tracker_has(tracker, STATE_SWITCHING)) {
        return Cause::loss_in_switch;
    }
    if (tracker.count_is_off || tracker.unknown_status) {
        return Cause::unplaced;
    }
    return supplicant_is_failing(tracker, look.time) ? Cause::supplicant_fails : Cause::none;
}

std::string quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '\n') {
            quoted += "\\n";
        } else {
            quoted.push_back(letter);
        }
    }
    return quoted + "\"";
}

}  // namespace

void rule_status_text(const Look& look) {
    const std::string& text = look.node.status_text;
    look.memory.status_seen = look.memory.status_seen || look.node.status_exists;
    if (episode_is_due(look, "gone", look.memory.status_seen && !look.node.status_exists, 0)) {
        violation_add(look, RULE_STATUS_TEXT, "the status file is gone", Cause::none);
    }
    const bool wrong = look.node.status_exists && text != "ready\n" && text != "connected\n" &&
                       text != "not ready\n";
    if (wrong && episode_is_due(look, "status " + text, true, -1)) {
        violation_add(look, RULE_STATUS_TEXT, "the status file holds " + quoted(text),
                      text.empty() ? Cause::status_emptied : Cause::none);
    }
    if (!wrong) {
        std::erase_if(look.memory.episodes,
                      [](const auto& entry) { return entry.first.starts_with("status "); });
    }
}

void rule_one_uplink(const Look& look) {
    if (episode_is_due(look, "uplinks", look.node.uplinks.size() > 1, UPLINK_PATIENCE)) {
        violation_add(look, RULE_ONE_UPLINK, joined(look.node.uplinks) + " carry traffic at once",
                      uplinks_cause(look));
    }
}

void rule_service_aps(const Look& look) {
    const bool starts =
        look.node.worker_pid == 0 || look.time - look.memory.tracker.worker_since <= START_SECONDS;
    const bool open = !starts && look.node.uplinks.empty() && !look.node.service_aps_up.empty();
    if (episode_is_due(look, "service", open, SERVICE_PATIENCE)) {
        violation_add(look, RULE_SERVICE_APS,
                      joined(look.node.service_aps_up) + " up without a backhaul",
                      service_cause(look));
    }
}

Blame loop_blame(const Look& look) {
    const bool is_part = std::any_of(look.node.broadcasts.begin(), look.node.broadcasts.end(),
                                     [](const ObservedBroadcast& one) { return one.seen > 1; });
    if (is_part && look.node.uplinks.size() > 1) {
        return {uplinks_cause(look), look.node.name};
    }
    const bool is_circle =
        is_part && !look.node.reaches_root && rootless_cause(look) == Cause::met_below;
    return {is_circle ? Cause::met_below : Cause::none, look.node.name};
}

void rule_no_loop(const Look& look, const Blame& blame) {
    for (const ObservedBroadcast& broadcast : look.node.broadcasts) {
        if (episode_is_due(look, "seen " + broadcast.mark, broadcast.seen > 1, -1)) {
            violation_add(look, RULE_NO_LOOP,
                          "broadcast " + broadcast.mark + " came " +
                              std::to_string(broadcast.seen) + " times",
                          blame);
        }
    }
}

void rule_worker(const Look& look) {
    const int before = look.memory.worker_pid;
    const int now = look.node.worker_pid;
    look.memory.worker_pid = now;
    if (before == 0 || before == now || look.node.worker_end_expected) {
        return;
    }
    const bool no_wire =
        std::any_of(look.node.log.begin(), look.node.log.end(), [](const LogEntry& entry) {
            return entry.text == "loop_slave_handle : Can not get ethernet interface";
        });
    violation_add(look, RULE_WORKER,
                  "worker " + std::to_string(before) + " ended and nothing had ended it",
                  no_wire ? Cause::no_eth_record : Cause::none);
}

}  // namespace lab
