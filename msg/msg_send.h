#pragma once

// Sending one-word messages to other nodes, by broadcast on the LAN bridge or to one address.
//
// Called on the socket thread, the timer thread and the root loop; sends are not serialised. A
// send to a network that is not there yet blocks its caller, with a new try every 2 seconds and
// no limit.

#include "msg/msg_word.h"

#include <cstdint>

/// Seconds between two tries.
inline constexpr unsigned SEND_RETRY_PAUSE = 2;

/// Whether a send that failed with `error` is tried again (the network is not there yet).
bool msg_send_error_is_transient(int error);

/// Broadcasts `message` to `port`. While this node is not admitted, asks the root for admission
/// instead (`check_valid` to port 36003) and drops the message.
void backhaul_send_msg(msg_word message, uint16_t port);

/// Sends `message` to `ip` (dotted text) and `port`. An empty text is the address
/// 255.255.255.255, which reaches nobody.
void backhaul_send_unicast_msg(msg_word message, uint16_t port, const char* ip);

/// As above with the root's address, read anew at each try, so that a waiting sender ends once
/// the root has been heard.
void backhaul_send_root_msg(msg_word message, uint16_t port);
