// A mesh in which what flow logs show happens once more: a scenario of their nodes and of the verbs
// that bring about what came from outside. Functions of values.
//
// It is no copy of the life that was logged, as a log does not tell where its node stood. Who
// logged hears every other node, and a station that was lost for longer than it takes to come back
// hears nobody until it does.
#pragma once

#include <span>

#include "lab/replay/replay_log.h"
#include "lab/scenario/scenario.h"

namespace lab {

// Every verb stands at its moment; the scenario ends with the last line. A root is added where no
// log is one's.
Scenario replay_scenario(std::span<const ReplayLog> logs);

}  // namespace lab
