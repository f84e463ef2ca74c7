// When the next second of a mesh may pass.
//
// Functions of values: whoever holds the mesh asks before each second and waits that long. Times
// are milliseconds of a clock that never goes back.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

namespace lab {

// A speed is a number of seconds of the mesh in a real one, or one of these two. "auto": as fast as
// it can go while a step of the scenario or somebody waits, else real pace, which leaves the
// machine to others. "fastest": as fast as it can go, always.
inline constexpr double SPEED_AUTO = 0;
inline constexpr double SPEED_FASTEST = std::numeric_limits<double>::infinity();

struct Pace {
    double speed = SPEED_AUTO;
    bool paused = false;
    bool steps_wait = false;     // for time to pass: those of the scenario
    bool request_waits = false;  // and what somebody asked for
    std::int64_t due = -1;       // when the next second is due; -1: not yet decided
};

// Milliseconds until the next second may pass: 0 now, -1 not before something changes. A pause
// holds everything but what somebody asked for.
std::int64_t pace_wait(const Pace& pace, std::int64_t now);

// A second has passed. A mesh that cannot keep up makes good what is less than a real second.
void pace_passed(Pace& pace, std::int64_t now);

// Speed or pause changed: the next second is due one interval from now at the latest.
void pace_changed(Pace& pace, std::int64_t now);

// The word for a speed, "auto", "fastest" or "20", and back. False with a sentence for what is no
// speed, among it 0.
std::string speed_text(double speed);
bool speed_parse(std::string_view word, double& speed, std::string& error);

// The speed after one press of "+" or "-": 0.5, 1, 2, 5, 10, 20, ... 1000, then the fastest. "auto"
// counts as the real pace that it shows while nobody waits.
double speed_up(double speed);
double speed_down(double speed);

}  // namespace lab
