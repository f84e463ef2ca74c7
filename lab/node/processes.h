// The processes of a node, seen from outside. Read anew at each call; any thread.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "lab/node/node.h"

namespace lab {

struct ProcessInfo {
    pid_t pid = 0;     // as the caller sees it
    pid_t inner = 0;   // as the node sees it
    pid_t parent = 0;  // as the caller sees it; 0: outside
    char state = '?';  // R, S, D, Z, ...
    std::string name;  // what /proc/PID/comm says
    int threads = 0;
    long resident_kb = 0;  // memory in use
};

// All of them, in the order of their numbers.
std::vector<ProcessInfo> node_processes(const Node& node);

// Direct children of a process.
std::vector<ProcessInfo> children_of(const Node& node, pid_t parent);

// Their pids only, which takes much less time.
std::vector<pid_t> child_pids_of(const Node& node, pid_t parent);

// Open descriptors as "NUMBER=TARGET", in the order of their numbers. The folder into which a build
// that counts executed lines writes is left out: the program itself knows nothing of it.
std::vector<std::string> descriptors_of(pid_t pid);

// Names of a process's threads as "TID NAME" (numbers as the caller sees them).
std::vector<std::string> threads_of(pid_t pid);

}  // namespace lab
