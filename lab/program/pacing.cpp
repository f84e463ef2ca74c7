#include "lab/program/pacing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace lab {
namespace {

constexpr std::int64_t REAL_SECOND = 1000;
constexpr double HIGHEST = 1000;
constexpr double LOWEST = 1 / HIGHEST;
constexpr std::array STEPS = {0.5,  1.0,   2.0,   5.0,   10.0,    20.0,
                              50.0, 100.0, 200.0, 500.0, HIGHEST, SPEED_FASTEST};

bool hurries(const Pace& pace) {
    return pace.speed == SPEED_AUTO && (pace.request_waits || (pace.steps_wait && !pace.paused));
}

double shown(double speed) {
    return speed == SPEED_AUTO ? 1 : speed;
}

std::int64_t interval(const Pace& pace) {
    return static_cast<std::int64_t>(REAL_SECOND / shown(pace.speed));
}

}  // namespace

std::int64_t pace_wait(const Pace& pace, std::int64_t now) {
    if (pace.paused && !pace.request_waits) {
        return -1;
    }
    if (hurries(pace)) {
        return 0;
    }
    return pace.due < 0 ? 0 : std::max<std::int64_t>(0, pace.due - now);
}

void pace_passed(Pace& pace, std::int64_t now) {
    const std::int64_t last = pace.due < 0 ? now : std::max(pace.due, now - REAL_SECOND);
    pace.due = (hurries(pace) ? now : last) + interval(pace);
}

void pace_changed(Pace& pace, std::int64_t now) {
    if (pace.due > now + interval(pace)) {
        pace.due = now + interval(pace);
    }
    // What did not pass during a pause is not made good.
    pace.due = pace.due < 0 ? pace.due : std::max(pace.due, now);
}

std::string speed_text(double speed) {
    if (speed == SPEED_AUTO) {
        return "auto";
    }
    if (speed == SPEED_FASTEST) {
        return "fastest";
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", speed);
    return text.data();
}

bool speed_parse(std::string_view word, double& speed, std::string& error) {
    double value = 0;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (word == "auto" || word == "fastest") {
        speed = word == "auto" ? SPEED_AUTO : SPEED_FASTEST;
    } else if (failure == std::errc{} && end == word.data() + word.size() && value >= LOWEST &&
               value <= HIGHEST) {
        speed = value;
    } else {
        error = "`" + std::string(word) + "` is no speed: say 0.001 to 1000, `auto` or `fastest`";
        return false;
    }
    return true;
}

double speed_up(double speed) {
    const auto* next = std::ranges::upper_bound(STEPS, shown(speed));
    return next == STEPS.end() ? SPEED_FASTEST : *next;
}

double speed_down(double speed) {
    const auto* at = std::ranges::lower_bound(STEPS, shown(speed));
    return at == STEPS.begin() ? STEPS.front() : *(at - 1);
}

}  // namespace lab
