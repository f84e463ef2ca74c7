#include "lab/replay/replay_match.h"

#include <algorithm>
#include <array>

namespace lab {
namespace {

constexpr std::array<std::string_view, 14> OF_SOCKETS = {
    "STA_CONNECTION_",
    "STA_ASSOC_WITH_AP(",
    "STA_DISASSOC_WITH_AP(",
    "STA mac : ",
    "STA ",
    "Connect with : ",
    "Disconnect with : ",
    "CHANNEL_CHANGE(",
    "backhaul_dfs_check : ",
    "device_kick_wifi_client : ",
    "backhaul_notification_recv : ",
    "backhaul_slave_backhaul_restore : ",
    "backhaul_eth_event_handle : ",
    "wireless_event_process : ",
};
constexpr std::array<std::string_view, 3> OF_TIMEOUTS = {
    "interface_timeout_chk", "ap_alive_chk(not alive)", "device_wifi_intf_existence_chk"};

constexpr std::string_view OF_ANNOUNCEMENTS = "loop_slave_handle : Enter";

bool begins_with_any(std::string_view text, std::span<const std::string_view> beginnings) {
    return std::ranges::any_of(beginnings,
                               [text](std::string_view begin) { return text.starts_with(begin); });
}

}  // namespace

LineThread line_thread(std::string_view text) {
    if (begins_with_any(text, OF_SOCKETS)) {
        return LineThread::sockets;
    }
    if (text == OF_ANNOUNCEMENTS) {
        return LineThread::announcements;
    }
    return begins_with_any(text, OF_TIMEOUTS) ? LineThread::timeouts : LineThread::reaction;
}

// Whether the line at `at` may come before those that the log has between the head and it.
bool ReplayMatch::may_pass(const std::string& text, std::size_t at) const {
    for (std::size_t before = head_; before < at; ++before) {
        if (!matched_[before] && line_thread(lines_[before].text) == line_thread(text)) {
            return false;
        }
    }
    return true;
}

void ReplayMatch::feed(std::int64_t time, const std::string& text) {
    if (difference_) {
        return;
    }
    for (std::size_t at = head_; at < lines_.size() && lines_[at].time <= time; ++at) {
        if (matched_[at] || lines_[at].time != time || lines_[at].text != text) {
            continue;
        }
        if (at != head_ && !may_pass(text, at)) {
            break;
        }
        reordered_ += at == head_ ? 0 : 1;
        matched_[at] = true;
        ++count_;
        while (head_ < lines_.size() && matched_[head_]) {
            ++head_;
        }
        return;
    }
    const bool is_due = head_ < lines_.size() && lines_[head_].time <= time;
    difference_ = ReplayDifference{head_, time, is_due ? lines_[head_].text : "", text};
}

void ReplayMatch::second_over(std::int64_t second) {
    if (!difference_ && head_ < lines_.size() && lines_[head_].time <= second) {
        difference_ = ReplayDifference{head_, lines_[head_].time, lines_[head_].text, ""};
    }
}

std::vector<const ReplayLine*> ReplayMatch::pending(std::int64_t second) const {
    std::vector<const ReplayLine*> lines;
    for (std::size_t at = head_; at < lines_.size() && lines_[at].time <= second; ++at) {
        if (!matched_[at] && lines_[at].time == second) {
            lines.push_back(&lines_[at]);
        }
    }
    return lines;
}

}  // namespace lab
