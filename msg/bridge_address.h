#pragma once

// IPv4 addresses of the LAN bridge: its broadcast address and its own. Any thread.

#include <netinet/in.h>
#include <array>

inline constexpr char LAN_BRIDGE[] = "br-lan";

/// Fills `addr` with the broadcast address of `ifname`. While the bridge has no address yet, waits
/// 10 seconds and asks once more. Returns the last request's result, negative on failure.
int get_intf_bcast_address(const char* ifname, sockaddr_in* addr);

/// Writes the dotted address of "br-lan" into `text` (16 bytes); unchanged when there is none.
void get_intf_ip_address(char* text);

/// Dotted text of an address.
std::array<char, 16> ip_text_get(const in_addr& address);
