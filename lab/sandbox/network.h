// The network side of a sandbox, made with iproute2. Called once, by process 1 of the new sandbox,
// inside its own network namespace.
#pragma once

#include <string>

#include "lab/sandbox/sandbox_options.h"

namespace lab {

// The commands for `ip -batch` that make the network of `plan`, one a line.
std::string network_commands(const NetworkPlan& plan);

// Runs them.
bool network_furnish(const NetworkPlan& plan, std::string& error);

}  // namespace lab
