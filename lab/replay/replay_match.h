// Holds the lines that a daemon writes against those of a log.
//
// Lines have to be the same, in the same second and in the same order, with one exception: the
// daemon's threads write at once, so within a second a line of one thread may come before one of
// another that the log has first. That is counted, never hidden. Values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/replay/replay_log.h"

namespace lab {

// Which thread's text it is, as far as the text tells: that of the sockets before it asks for the
// machine's lock, that of the timeouts before it does, that which hears the root's announcements,
// or a reaction under the lock.
enum class LineThread { sockets, timeouts, announcements, reaction };
LineThread line_thread(std::string_view text);

// Where the log and the daemon part.
struct ReplayDifference {
    std::size_t line = 0;  // index in the log
    std::int64_t time = 0;
    std::string expected;  // empty: the log has no such line
    std::string seen;      // empty: the daemon did not write it
};

class ReplayMatch {
public:
    explicit ReplayMatch(std::span<const ReplayLine> lines)
        : lines_(lines), matched_(lines.size(), false) {}

    // The daemon wrote this.
    void feed(std::int64_t time, const std::string& text);

    // Everything before `second` should be there by now, or up to and with line `end`.
    void second_over(std::int64_t second);

    // The first line that is not there yet; the number of lines when all are.
    std::size_t head() const {
        return head_;
    }
    // Lines of that second that are not there yet, in order.
    std::vector<const ReplayLine*> pending(std::int64_t second) const;

    const std::optional<ReplayDifference>& difference() const {
        return difference_;
    }
    std::size_t matched() const {
        return count_;
    }
    std::size_t reordered() const {
        return reordered_;
    }

private:
    bool may_pass(const std::string& text, std::size_t at) const;

    std::span<const ReplayLine> lines_;
    std::vector<bool> matched_;
    std::size_t head_ = 0;
    std::size_t count_ = 0;
    std::size_t reordered_ = 0;
    std::optional<ReplayDifference> difference_;
};

}  // namespace lab
