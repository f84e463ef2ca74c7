// A sandbox: the private mount, network, ipc and pid namespaces in which a test program or one
// stand-in router lives. Inside, /tmp, /var/log and /run are empty, /proc and /sys are fresh, the
// firmware's tools are stand-ins that record their calls, /bin/sh records its lines, and "br-lan"
// has an address. All else of the machine is there to be read only (results leave through an
// OutsidePlace), and nothing outlives the process that started it.
//
// Called by the main() of test programs (sandbox_enter) and by Node (sandbox_start), on the main
// thread. As root it needs nothing else; as an ordinary user it also makes a user namespace, where
// the machine allows that. A function that answers false (or -1 for a pid) has put a sentence into
// `error` for the reader, who is expected to fail with it, never to skip.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "lab/sandbox/sandbox_options.h"

namespace lab {

// Starts process 1 of a new sandbox and returns when the sandbox is ready. Process 1 reaps what is
// orphaned and otherwise sleeps; killing it ends everything inside. It ends with its parent.
// Returns its pid as the caller sees it, or -1.
pid_t sandbox_start(const SandboxOptions& options, std::string& error);

// Moves the calling program into a new sandbox: true in a copy of the caller that runs as
// process 2 of the sandbox; the original waits for that copy and ends with its status. False
// in the original when the sandbox cannot be made. The caller must not have started threads. Its
// name and its open descriptors are the copy's too, but 0 to 2 alone reach programs that the copy
// runs.
bool sandbox_enter(const SandboxOptions& options, std::string& error);

// Makes the caller root of the user namespace that it has just entered: user `uid` and group `gid`
// are what it was before.
bool user_namespace_root(uid_t uid, gid_t gid, std::string& error);

}  // namespace lab
