// A mesh that only remembers what it was asked for.
#pragma once

#include <string>
#include <vector>

#include "lab/program/control.h"

namespace lab {

struct FakeMesh {
    int seconds = 0;
    std::int64_t started = 0;
    bool steps_left = false;
    int holds_at = -1;  // second from which on every condition holds; -1: never
    std::string fails;  // why the next second does not pass
    std::vector<std::string> verbs;
    std::vector<LogEntry> log;        // lines that the next look at e1's log brings
    std::vector<StatusEvent> events;  // what the next look at the mesh brings

    // The handlers refer to this object. The scenario has the nodes root and e1; only e1 can be
    // entered.
    Control control();
};

}  // namespace lab
