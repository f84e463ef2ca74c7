#pragma once

// Driver events: the routing-netlink socket and what each wireless event does.
//
// Opened by start-up on the main thread; read and handled on the socket thread only. Writes
// `bssid` and `channel` of interface records and posts link events to the dispatcher.

#include <cstdint>
#include <span>

/// Opens and binds `runtime.netlink_fd` (group 1), with room for 10,000 events if the kernel grants
/// it and without link messages that bring no wireless data. False after printing why; the
/// descriptor is then -1 and the daemon runs without driver events.
bool netlink_open();

/// Reads one batch (at most 8192 bytes, without blocking) and handles its messages. When events
/// were lost, asks the driver about every station and handles what it missed as the lost event:
/// at once, and again when the queue that was left has been read to its end.
void netlink_recv();

/// Handles the attributes of one RTM_NEWLINK message of interface `intf_index`.
void netlink_msg_process(int32_t intf_index, std::span<const uint8_t> attributes);

/// Handles every wireless event record of one attribute's payload for interface `intf_name`.
/// An unknown interface ends the payload for connect and channel events, not for disconnects.
void wireless_event_process(std::span<const uint8_t> payload, const char* intf_name);
