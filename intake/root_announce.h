#pragma once

// Hearing the root: the extender's listener on UDP port 36002, a detached thread of its own and
// the only writer of `runtime.rootap_ip`.

#include <netinet/in.h>
#include <cstdint>
#include <span>

inline constexpr char ROOTAP_IP_PATH[] = "/tmp/rootap_ip";

/// Thread body; ignores its argument, never returns. Ends the worker with status 1 when the port
/// cannot be bound or the profile has no record "eth".
void* loop_slave_handle(void* argument);

/// Waits for one datagram on `sock` (at most its receive timeout) and handles it; a timeout, an
/// error and an empty datagram do nothing.
void root_announce_recv(int sock);

/// Takes `sender` as the root when `data` deciphers to "ImRootAP"; the address and its file are
/// written only when they change.
void root_announce_handle(std::span<const uint8_t> data, const in_addr& sender);

/// Rewrites "/tmp/rootap_ip" with the dotted address and a line end.
void rootap_ip_file_write(const char* ip);
