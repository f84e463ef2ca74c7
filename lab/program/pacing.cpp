#include "lab/program/pacing.h"

#include <algorithm>
#include <array>

namespace lab {
namespace {

constexpr std::int64_t REAL_SECOND = 1000;
constexpr std::array<double, 11> STEPS = {0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000};

bool is_fastest(const Pace& pace) {
    return pace.speed <= SPEED_FASTEST;
}

bool hurries(const Pace& pace) {
    return is_fastest(pace) && (pace.request_waits || (pace.steps_wait && !pace.paused));
}

std::int64_t interval(const Pace& pace) {
    if (is_fastest(pace)) {
        return REAL_SECOND;
    }
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(REAL_SECOND / pace.speed));
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

void pace_passed(Pace* pace, std::int64_t now) {
    const std::int64_t last = pace->due < 0 ? now : std::max(pace->due, now - REAL_SECOND);
    pace->due = (hurries(*pace) ? now : last) + interval(*pace);
}

void pace_changed(Pace* pace, std::int64_t now) {
    if (pace->due > now + interval(*pace)) {
        pace->due = now + interval(*pace);
    }
    // What did not pass during a pause is not made good.
    pace->due = pace->due < 0 ? pace->due : std::max(pace->due, now);
}

double speed_up(double speed) {
    if (speed <= SPEED_FASTEST) {
        return SPEED_FASTEST;
    }
    const auto* next = std::ranges::upper_bound(STEPS, speed);
    return next == STEPS.end() ? SPEED_FASTEST : *next;
}

double speed_down(double speed) {
    if (speed <= SPEED_FASTEST) {
        return STEPS.back();
    }
    const auto* at = std::ranges::lower_bound(STEPS, speed);
    return at == STEPS.begin() ? STEPS.front() : *(at - 1);
}

}  // namespace lab
