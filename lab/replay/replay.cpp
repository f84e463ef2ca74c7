#include "lab/replay/replay.h"

#include <algorithm>
#include <chrono>

#include "lab/clock/clock_control.h"

namespace lab {
namespace {

constexpr std::chrono::milliseconds PATIENCE{60000};
constexpr std::string_view WORKER_START = "<-- backhaul_monitor start -->";
// Seconds between two announcements of a root, of those in which anything happens.
constexpr std::uint32_t ANNOUNCE_PERIOD = 10;

constexpr std::string_view NO_ROOT_YET = "backhaul_send_unicast_msg : sendto error ";

class Replay {
public:
    Replay(const ReplayLog& log, std::unique_ptr<ReplayBed> bed)
        : lines_(log.lines), bed_(std::move(bed)), match_(lines_), given_(lines_.size(), false) {}

    bool begin(std::string& error) {
        clock_.patience = PATIENCE;
        clock_.at_rest = [this] {
            return at_rest() ? std::vector{0} : std::vector<int>{};
        };
        return clock_.add_node(bed_->node().root(), error);
    }

    bool play(std::string& error) {
        while (!match_.difference() && match_.head() < lines_.size()) {
            const bool boots = lines_[match_.head()].input.kind == InputKind::power;
            if (!(boots ? boot(error) : second(error))) {
                return false;
            }
        }
        return true;
    }

    const ReplayMatch& match() const {
        return match_;
    }

private:
    std::uint32_t time_of(std::size_t at) const {
        return static_cast<std::uint32_t>(lines_[at].time);
    }

    // Whatever ran has lost its power with its last line.
    bool boot(std::string& error) {
        const std::size_t at = match_.head();
        bed_->power_off();
        now_ = time_of(at);
        clock_.set(CLOCK_HELD, now_);
        given_[at] = true;
        announced_at_ = 0;
        boot_ends_ = at + 1;
        while (boot_ends_ < lines_.size() && lines_[boot_ends_].input.kind != InputKind::power) {
            ++boot_ends_;
        }
        if (!bed_->power_on(!replay_is_extender(lines_, at), error) || !facts_set(error) ||
            !clock_.settle(error)) {
            return false;
        }
        match_.second_over(boot_second_ends() ? now_ - 1 : now_);
        return true;
    }

    // The next boot may come in the same second.
    bool boot_second_ends() const {
        return match_.head() == boot_ends_;
    }

    // Up to the second of the next line that is not there yet, and through it.
    bool second(std::string& error) {
        const std::uint32_t next = std::max(now_ + 1, time_of(match_.head()));
        if (next > now_ + 1) {
            if (!clock_.advance(next - now_ - 1, error)) {
                return false;
            }
            now_ = next - 1;
        }
        if (match_.difference()) {
            return true;
        }
        now_ = next;
        if (!facts_set(error) || !root_announce(error) || !inputs_first(error)) {
            return false;
        }
        if (!clock_.advance(1, error)) {
            return false;
        }
        match_.second_over(now_);
        return true;
    }

    // Inputs that the log has before anything that the second itself brings about.
    bool inputs_first(std::string& error) {
        clock_.set(CLOCK_HELD, now_);
        const bool good = clock_.settle(error);
        // All threads are at rest: those that wait for this second are called by its beginning.
        clock_.set(CLOCK_HELD, now_ - 1);
        return good;
    }

    bool facts_set(std::string& error) {
        return bed_->facts_set(second_facts(match_.pending(now_)), error);
    }

    // A root is heard from the moment on when sending to it fails no longer. As on a router it says
    // again and again who it is: a datagram may be lost.
    bool root_announce(std::string& error) {
        const std::size_t from = match_.head();
        const bool fails_still =
            std::any_of(lines_.begin() + static_cast<std::ptrdiff_t>(from),
                        lines_.begin() + static_cast<std::ptrdiff_t>(life_end(from)),
                        [](const ReplayLine& line) { return line.text.starts_with(NO_ROOT_YET); });
        if (fails_still || now_ - announced_at_ < ANNOUNCE_PERIOD) {
            return true;
        }
        announced_at_ = now_;
        return bed_->announce_root(error);
    }

    // Where the worker that writes line `at` starts no more lines.
    std::size_t life_end(std::size_t at) const {
        while (at < lines_.size() && lines_[at].text != WORKER_START) {
            ++at;
        }
        return at;
    }

    bool log_take() {
        for (const LogLine& line : bed_->log_new()) {
            match_.feed(line.time, line.text);
            announced_at_ = line.text == WORKER_START ? 0 : announced_at_;
        }
        return !match_.difference();
    }

    // Whether the line at the head is there when its input is given, and give it.
    bool input_give() {
        const std::size_t at = match_.head();
        if (at >= boot_ends_ || time_of(at) != clock_.now() || given_[at] ||
            lines_[at].input.kind == InputKind::none) {
            return false;
        }
        given_[at] = true;
        std::string unheard;  // then the daemon's line is missed
        bed_->give(lines_[at].input, unheard);
        return true;
    }

    bool at_rest() {
        if (!log_take() || match_.head() >= boot_ends_) {
            return false;
        }
        return input_give() || bed_->tool_serve(match_.pending(clock_.now()));
    }

    std::span<const ReplayLine> lines_;
    std::unique_ptr<ReplayBed> bed_;
    MovedClock clock_;
    ReplayMatch match_;
    std::vector<bool> given_;
    std::size_t boot_ends_ = 0;
    std::uint32_t now_ = 0;
    std::uint32_t announced_at_ = 0;  // 0: not since the worker started
};

}  // namespace

bool replay_run(const ReplayLog& log, const ReplayPrograms& programs, ReplayResult& result,
                std::string& error) {
    result = {};
    result.node = log.node;
    result.lines = log.lines.size();
    if (log.lines.empty()) {
        return true;
    }
    result.seconds = log.lines.back().time - log.lines.front().time;
    std::unique_ptr<ReplayBed> bed = ReplayBed::make(
        replay_setup(log), programs, static_cast<std::uint32_t>(log.lines.front().time), error);
    if (bed == nullptr) {
        return false;
    }
    Replay replay(log, std::move(bed));
    if (!replay.begin(error) || !replay.play(error)) {
        return false;
    }
    result.matched = replay.match().matched();
    result.reordered = replay.match().reordered();
    result.difference = replay.match().difference();
    if (result.difference && result.difference->line < log.lines.size()) {
        result.missing = replay_missing_find(log.lines[result.difference->line].text);
    }
    return true;
}

}  // namespace lab
