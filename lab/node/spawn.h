// Starting a program inside a node's namespaces. Called by Node only, on the caller's thread, whose
// own namespaces are as before afterwards.
#pragma once

#include <array>
#include <string>

#include "lab/node/node.h"

namespace lab {

// `inside` holds open namespaces (pid, mnt, net, ipc) and the root folder, `own_pid` the caller's
// pid namespace. The new process is a child of the caller. Returns its pid, or -1 when it could not
// be started.
pid_t spawn_inside(const SpawnPlan& plan, const std::array<int, 5>& inside, int own_pid,
                   std::string& error);

}  // namespace lab
