#pragma once

// The socket thread: the intake of all outside events, one at a time, in both roles.

/// Thread body (argument unused, never returns): waits for the netlink socket, the control FIFO
/// and the message socket, and serves the ready ones in that order. The set is built once: a
/// descriptor that is -1 at thread start stays out, and so does one that a set cannot hold.
void* backhaul_sock_handle(void* argument);
