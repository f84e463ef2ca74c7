#pragma once

// Hearing the root: the extender's listener on UDP port 36002, a detached thread of its own and
// the only writer of `runtime.rootap_ip`.

inline constexpr char ROOTAP_IP_PATH[] = "/tmp/rootap_ip";

/// Thread body; ignores its argument, never returns. Ends the worker with status 1 when the port
/// cannot be bound or the profile has no record "eth".
void* loop_slave_handle(void* argument);

/// Rewrites "/tmp/rootap_ip" with the dotted address and a line end.
void rootap_ip_file_write(const char* ip);
