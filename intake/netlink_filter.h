#pragma once

// Which datagrams of the link group reach the daemon: those that hold a link message with wireless
// data, so that a busy node's other link messages take no room in the receive buffer.
//
// A program for the kernel, which runs it for each datagram; bytes in, a decision out. In doubt it
// lets the datagram in: one that holds several messages always passes, whatever they are.

#include <linux/filter.h>

#include <span>

/// The program, for SO_ATTACH_FILTER.
std::span<const sock_filter> netlink_filter();
