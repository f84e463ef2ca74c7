// A shell inside a node: its namespaces, its files, its tools.
//
// The server lives in a sandbox of its own, with a /proc of its own: there the caller, who sees the
// server as an ordinary process, opens what belongs to the node. Programs of the shell see the
// machine's real time: the moved clock is for the daemon and its tools.
#pragma once

#include <sys/types.h>

#include <string>

#include "lab/program/control.h"

namespace lab {

// Runs a shell, or `command` with a shell, in that node of the mesh that the process `server`
// holds, and waits for it. Returns its exit code, 128 + signal, or -1 with a sentence in `error`.
// Ignores the interrupt and quit keys from then on.
int shell_run(const std::string& node, pid_t server, const NodeEntrance& entrance,
              const std::string& command, std::string& error);

}  // namespace lab
