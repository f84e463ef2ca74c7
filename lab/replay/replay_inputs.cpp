// The input behind each line of a log.
#include <algorithm>
#include <array>
#include <map>

#include "ctl/log_event.h"
#include "lab/driver/wireless_event.h"
#include "lab/replay/replay_log.h"

namespace lab {
namespace {

constexpr std::int64_t RESTART_SECONDS = 2;  // a supervisor's pause, and one for its rounding
constexpr int EVENT_ASSOC = 1;
constexpr int EVENT_DISASSOC = 2;
constexpr std::string_view LIST_LOOKED_AT = "device_ap_steering_workaround : Enter";
constexpr std::string_view LIST_NOT_READY = "device_approval_list_check : approval list not ready";
constexpr std::string_view IGNORED_LOSS =
    "wireless_event_process : Under CONNECTING_TARGET_BACKHAUL_AP, ignore AP_DISASSOC";

struct ReasonRow {
    std::string_view name;
    int flags;
};
constexpr std::array REASONS = {
    ReasonRow{"IEEE80211_EV_DISASSOC_IND_AP", CUSTOM_DISASSOC_IND_AP},
    ReasonRow{"IEEE80211_EV_DEAUTH_IND_AP", CUSTOM_DEAUTH_IND_AP},
    ReasonRow{"IEEE80211_EV_DISASSOC_COMPLETE_AP", CUSTOM_DISASSOC_COMPLETE_AP},
    ReasonRow{"IEEE80211_EV_DISASSOC_COMPLETE_STA", CUSTOM_DISASSOC_COMPLETE_STA},
};

class Inputs {
public:
    static ReplayInput input(InputKind kind, std::string_view interface = {}) {
        ReplayInput made;
        made.kind = kind;
        made.interface = interface;
        return made;
    }
    static ReplayInput word_input(InputKind kind, std::string_view word) {
        ReplayInput made = input(kind);
        made.word = word;
        return made;
    }

    explicit Inputs(ReplayLog& log) : lines_(log.lines) {}

    void find() {
        for (std::size_t at = 0; at < lines_.size(); ++at) {
            const log_event event = log_event_read(lines_[at].text);
            lines_[at].input = input_of(at, event);
        }
    }

private:
    using Finder = ReplayInput (Inputs::*)(std::size_t at, const log_event& event);
    struct FinderRow {
        log_kind kind;
        Finder find;
    };

    ReplayInput input_of(std::size_t at, const log_event& event) {
        static constexpr std::array FINDERS = {
            FinderRow{log_kind::worker_start, &Inputs::start},
            FinderRow{log_kind::worker_crash, &Inputs::killed},
            FinderRow{log_kind::worker_end, &Inputs::role_change},
            FinderRow{log_kind::link_up, &Inputs::joined},
            FinderRow{log_kind::link_down, &Inputs::lost},
            FinderRow{log_kind::client_joined, &Inputs::client},
            FinderRow{log_kind::client_left, &Inputs::client},
            FinderRow{log_kind::channel_change, &Inputs::channel},
            FinderRow{log_kind::message, &Inputs::message},
            FinderRow{log_kind::reload_message, &Inputs::reload},
            FinderRow{log_kind::restore, &Inputs::restore},
            FinderRow{log_kind::command, &Inputs::command},
            FinderRow{log_kind::detail, &Inputs::detail},
            FinderRow{log_kind::error, &Inputs::list_changed},
        };
        const auto* const row = std::ranges::find(FINDERS, event.kind, &FinderRow::kind);
        return row == FINDERS.end() ? ReplayInput() : (this->*row->find)(at, event);
    }

    ReplayInput start(std::size_t at, const log_event& /*event*/) {
        return input(is_restart(at) ? InputKind::none : InputKind::power);
    }

    ReplayInput killed(std::size_t /*at*/, const log_event& event) {
        ReplayInput found = input(InputKind::worker_killed);
        found.number = event.numbers[0];
        return found;
    }

    ReplayInput reload(std::size_t at, const log_event& /*event*/) {
        return lines_[at].text.ends_with(": Enter")
                   ? word_input(InputKind::message, "NETWORKRELOAD")
                   : ReplayInput();
    }

    ReplayInput command(std::size_t /*at*/, const log_event& event) {
        return word_input(InputKind::command, event.rest);
    }

    // After a worker ended its supervisor starts the next one.
    bool is_restart(std::size_t at) const {
        if (at == 0) {
            return false;
        }
        const ReplayLine& before = lines_[at - 1];
        const log_kind kind = log_event_read(before.text).kind;
        return (kind == log_kind::worker_crash || kind == log_kind::worker_end) &&
               lines_[at].time - before.time <= RESTART_SECONDS;
    }

    ReplayInput role_change(std::size_t at, const log_event& /*event*/) {
        if (at + 1 >= lines_.size() || !is_restart(at + 1)) {
            return {};
        }
        std::size_t start = at;
        while (start > 0 && log_event_read(lines_[start].text).kind != log_kind::worker_start) {
            --start;
        }
        const bool was = replay_is_extender(lines_, start);
        const bool is = replay_is_extender(lines_, at + 1);
        return was == is ? ReplayInput() : word_input(InputKind::command, is ? "slave" : "master");
    }

    // The line behind `at` in the same second that the kind fits, or null.
    const ReplayLine* follower(std::size_t at, log_kind kind, int number, log_event& event) const {
        for (std::size_t next = at + 1;
             next < lines_.size() && lines_[next].time <= lines_[at].time + 1; ++next) {
            event = log_event_read(lines_[next].text);
            if (event.kind == kind && (number < 0 || event.numbers[0] == number)) {
                return &lines_[next];
            }
        }
        return nullptr;
    }

    std::string mac_behind(std::size_t at, log_kind kind) const {
        log_event event;
        return follower(at, kind, -1, event) == nullptr ? "" : std::string(event.mac);
    }

    ReplayInput joined(std::size_t at, const log_event& /*event*/) {
        ReplayInput input = Inputs::input(InputKind::station_joined);
        input.text = mac_behind(at, log_kind::link_up_mac);
        log_event event;
        if (follower(at, log_kind::dispatched, EVENT_ASSOC, event) != nullptr) {
            input.interface = event.interface;
        }
        aps_[input.interface] = input.text;
        return input;
    }

    ReplayInput lost(std::size_t at, const log_event& /*event*/) {
        ReplayInput input = Inputs::input(InputKind::station_lost);
        input.text = mac_behind(at, log_kind::link_down_mac);
        log_event event;
        const bool ignored = std::any_of(
            lines_.begin() + static_cast<std::ptrdiff_t>(at),
            lines_.begin() + static_cast<std::ptrdiff_t>(std::min(at + 4, lines_.size())),
            [](const ReplayLine& line) { return line.text == IGNORED_LOSS; });
        if (!ignored && follower(at, log_kind::dispatched, EVENT_DISASSOC, event) != nullptr) {
            input.interface = event.interface;
            return input;
        }
        const auto found = std::ranges::find_if(
            aps_, [&input](const auto& one) { return one.second == input.text; });
        input.interface = found == aps_.end() ? "" : found->first;
        return input;
    }

    ReplayInput client(std::size_t at, const log_event& event) {
        ReplayInput input =
            Inputs::input(event.kind == log_kind::client_joined ? InputKind::client_joined
                                                                : InputKind::client_left,
                          event.interface);
        for (std::size_t next = at + 1; next < lines_.size(); ++next) {
            if (lines_[next].text.starts_with("STA mac : ")) {
                input.text = log_event_read(lines_[next].text).mac;
                break;
            }
        }
        return input;
    }

    // Only of one interface does the log hold the channel; of the others nothing depends on it.
    ReplayInput channel(std::size_t at, const log_event& event) {
        ReplayInput input = Inputs::input(InputKind::channel, event.interface);
        for (std::size_t next = at + 1;
             next < lines_.size() && lines_[next].time <= lines_[at].time + 1; ++next) {
            constexpr std::string_view CHECK = "backhaul_dfs_check : intf->channel ";
            if (lines_[next].text.starts_with(CHECK)) {
                input.number = log_event_read(lines_[next].text).numbers[1];
                break;
            }
        }
        return input;
    }

    ReplayInput message(std::size_t /*at*/, const log_event& event) {
        const std::string_view pattern = event.row->pattern;
        constexpr std::string_view BEFORE = " : recv ";
        const std::size_t from = pattern.find(BEFORE) + BEFORE.size();
        ReplayInput found =
            word_input(InputKind::message, pattern.substr(from, pattern.find(' ', from) - from));
        found.text = event.rest;
        return found;
    }

    // A scan request by the FIFO leaves no line of its own before this one.
    ReplayInput restore(std::size_t at, const log_event& /*event*/) {
        if (!lines_[at].text.ends_with(": Enter")) {
            return {};
        }
        for (std::size_t before = at; before > 0 && lines_[before - 1].time == lines_[at].time;
             --before) {
            const std::string& text = lines_[before - 1].text;
            if (text.find(" recv UPLINKSCAN from ") != std::string::npos) {
                return {};
            }
            if (text == lines_[at].text) {
                break;
            }
        }
        return word_input(InputKind::command, "uplink_scan");
    }

    ReplayInput detail(std::size_t at, const log_event& event) {
        return lines_[at].text == LIST_LOOKED_AT ? list_changed(at, event) : reason(at, event);
    }

    // The word that tells of another approval list leaves no line. A worker looks at the list once
    // by itself; whenever it does so again, the word came since.
    ReplayInput list_changed(std::size_t at, const log_event& /*event*/) {
        const std::string& text = lines_[at].text;
        for (std::size_t before = at;
             before > 0 && (text == LIST_LOOKED_AT || text == LIST_NOT_READY); --before) {
            const std::string& earlier = lines_[before - 1].text;
            if (earlier == LIST_LOOKED_AT) {
                return word_input(InputKind::command, "approval_list_changed");
            }
            if (earlier == LIST_NOT_READY ||
                log_event_read(earlier).kind == log_kind::worker_start) {
                break;
            }
        }
        return {};
    }

    ReplayInput reason(std::size_t at, const log_event& event) {
        for (const ReasonRow& row : REASONS) {
            if (lines_[at].text.starts_with("STA ") &&
                lines_[at].text.find(row.name) != std::string::npos) {
                ReplayInput found = input(InputKind::client_reason);
                found.text = event.mac;
                found.number = event.numbers[0];
                found.flags = row.flags;
                return found;
            }
        }
        return {};
    }

    std::vector<ReplayLine>& lines_;
    std::map<std::string, std::string> aps_;  // last known, by station
};

}  // namespace

bool replay_is_extender(std::span<const ReplayLine> lines, std::size_t start) {
    for (std::size_t at = start + 1; at < lines.size(); ++at) {
        const log_kind kind = log_event_read(lines[at].text).kind;
        if (kind == log_kind::worker_start) {
            return false;
        }
        if (kind == log_kind::extender_start) {
            return true;
        }
    }
    return false;
}

void replay_inputs_find(ReplayLog& log) {
    Inputs(log).find();
}

}  // namespace lab
