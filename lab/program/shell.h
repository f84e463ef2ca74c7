// A shell inside a node: its namespaces, its files, its tools.
//
// The server, which lives in a sandbox of its own, opens the node's namespaces; the descriptors go
// over the control socket, because process numbers mean something else outside. Programs of the
// shell see the machine's real time: the moved clock is for the daemon and its tools.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace lab {

// Opens what shell_run needs from the process with that number: root folder, then the pid, net, ipc
// and mount namespaces, and the user namespace last. False with a sentence; what was opened until
// then is closed.
bool shell_descriptors_open(pid_t init, std::vector<int>* descriptors, std::string* error);

// Runs a shell, or `command` with a shell, in the node those descriptors lead to, and waits for it.
// Returns its exit code, 128 + signal, or -1 with a sentence in `error`. Ignores the interrupt and
// quit keys from then on.
int shell_run(const std::string& node, const std::vector<int>& descriptors,
              const std::string& command, std::string* error);

}  // namespace lab
