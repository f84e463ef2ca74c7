// When the next second of a mesh may pass.
//
// Functions of values: whoever holds the mesh asks before each second and waits that long. Times
// are milliseconds of a clock that never goes back.
#pragma once

#include <cstdint>

namespace lab {

// Speed of a mesh that is as fast as it can be.
inline constexpr double SPEED_FASTEST = 0;

struct Pace {
    double speed = SPEED_FASTEST;  // seconds of the mesh in a real one
    bool paused = false;
    bool steps_wait = false;     // for time to pass: those of the scenario
    bool request_waits = false;  // and what somebody asked for
    std::int64_t due = -1;       // when the next second is due; -1: not yet decided
};

// Milliseconds until the next second may pass: 0 now, -1 not before something changes. The fastest
// speed hurries only while there is something to hurry for: an idle mesh keeps real pace and leaves
// the machine to others. A pause holds everything but what somebody asked for.
std::int64_t pace_wait(const Pace& pace, std::int64_t now);

// A second has passed. A mesh that cannot keep up makes good what is less than a real second.
void pace_passed(Pace* pace, std::int64_t now);

// Speed or pause changed: the next second is due one interval from now at the latest.
void pace_changed(Pace* pace, std::int64_t now);

// The speed after one press of "+" or "-": 1, 2, 5, 10, 20, ... 1000, then the fastest.
double speed_up(double speed);
double speed_down(double speed);

}  // namespace lab
