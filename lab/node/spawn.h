// Starting a program inside a node's namespaces. Called by Node only, on the caller's thread, whose
// own namespaces are as before afterwards.
#pragma once

#include <sys/types.h>

#include <array>
#include <string>
#include <vector>

namespace lab {

// What to run inside a node.
struct SpawnPlan {
    std::vector<std::string> words;        // program (a path, or a name on PATH) and arguments
    std::vector<std::string> environment;  // "NAME=VALUE", beyond those of every node process
    std::string in = "/dev/null";          // files inside the node
    std::string out = "/dev/null";         // grown at its end
    std::string err;                       // empty: as `out`
    bool moved_clock = true;               // preload the clock
};

// `inside` holds open namespaces (pid, mnt, net, ipc) and the root folder, `own_pid` the caller's
// pid namespace. The new process is a child of the caller. Returns its pid, or -1 when it could not
// be started.
pid_t spawn_inside(const SpawnPlan& plan, const std::array<int, 5>& inside, int own_pid,
                   std::string& error);

}  // namespace lab
