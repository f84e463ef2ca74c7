#pragma once

// The socket on which node messages come in. Main thread, at start-up.

/// Creates `runtime.msg_fd` and binds it to port 36003 on every address; on a root node first
/// sets `backhaul_valid`. Ends the worker with status 1 on failure (perror "socket" or "bind").
void msg_socket_open();
