#pragma once

// Driver events: the routing-netlink socket and what each wireless event does.
//
// Opened by start-up on the main thread; read and handled on the socket thread only. Writes
// `bssid` and `channel` of interface records and posts link events to the dispatcher.

#include <cstdint>
#include <span>

/// Opens and binds `runtime.netlink_fd` (group 1). False after printing why; the descriptor is
/// then -1 and the daemon runs without driver events.
bool netlink_open();

/// Reads one batch (at most 8192 bytes, without blocking) and handles its messages.
void netlink_recv();

/// Handles the attributes of one RTM_NEWLINK message of interface `intf_index`.
void netlink_msg_process(int32_t intf_index, std::span<const uint8_t> attributes);

/// Handles every wireless event record of one attribute's payload for interface `intf_name`.
/// An unknown interface ends the payload for connect and channel events, not for disconnects.
void wireless_event_process(std::span<const uint8_t> payload, const char* intf_name);
