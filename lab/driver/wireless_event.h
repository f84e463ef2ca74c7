// Wireless driver events as bytes, well formed and not.
//
// Pure functions that build Wireless Extensions event records, the link message that carries them
// and the netlink message around it, in the machine's byte order. Nothing is sent from here (see
// netlink_sender.h). A stream is any number of records one behind the other.
//
// Two layouts exist. PACKED is the 32-bit stream: a 4-byte header (length, command), then the
// address (family at 4, address at 6) or the point (length at 4, flags at 6, payload at 8).
// PADDED is what a 64-bit kernel hands out: the header is padded to 8 bytes, address family at 8,
// address at 10, point length at 8, flags at 10, payload at 16.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

using Bytes = std::vector<std::uint8_t>;
using MacAddress = std::array<std::uint8_t, 6>;

enum class EventLayout {
    packed,
    padded,
};

// Commands of event records.
inline constexpr std::uint16_t EVENT_AP_ADDRESS = 0x8B15;
inline constexpr std::uint16_t EVENT_CUSTOM = 0x8C02;
inline constexpr std::uint16_t EVENT_REGISTERED = 0x8C03;
inline constexpr std::uint16_t EVENT_EXPIRED = 0x8C04;
inline constexpr std::uint16_t EVENT_GENERIC_IE = 0x8C05;
inline constexpr std::uint16_t EVENT_MIC_FAILURE = 0x8C06;
inline constexpr std::uint16_t EVENT_ASSOC_REQUEST_IE = 0x8C07;
inline constexpr std::uint16_t EVENT_ASSOC_RESPONSE_IE = 0x8C08;
inline constexpr std::uint16_t EVENT_PMKID_CANDIDATE = 0x8C09;

// Numbers in the flags field of a custom event.
inline constexpr std::uint16_t CUSTOM_DISASSOC_COMPLETE_STA = 14;
inline constexpr std::uint16_t CUSTOM_DEAUTH_IND_AP = 19;
inline constexpr std::uint16_t CUSTOM_DISASSOC_IND_AP = 20;
inline constexpr std::uint16_t CUSTOM_CLIENT_AUTHORISED = 21;
inline constexpr std::uint16_t CUSTOM_CLIENT_JOINED = 22;
inline constexpr std::uint16_t CUSTOM_CHANNEL_CHANGE = 28;
inline constexpr std::uint16_t CUSTOM_DISASSOC_COMPLETE_AP = 33;

// A record with an address: SIOCGIWAP, IWEVREGISTERED, IWEVEXPIRED. 20 bytes packed, 24 padded.
Bytes address_event(EventLayout layout, std::uint16_t command, const MacAddress& address);

// A record with a point: IWEVCUSTOM and its kind.
Bytes point_event(EventLayout layout, std::uint16_t command, std::uint16_t flags,
                  std::span<const std::uint8_t> payload);

// The records a test mostly needs.
Bytes associated_event(EventLayout layout, const MacAddress& ap);
Bytes disassociated_event(EventLayout layout);
Bytes custom_event(EventLayout layout, std::uint16_t flags, std::span<const std::uint8_t> payload);

// Payloads of custom events: the client's address and 10 bytes more; the same with the reason at
// byte 12; the channel and 3 bytes more.
Bytes client_payload(const MacAddress& client);
Bytes leave_payload(const MacAddress& client, std::uint32_t reason);
Bytes channel_payload(std::uint8_t channel);

// The same record for a machine of the other byte order: its length, its command, and the two
// numbers behind them (family, or the point's length and flags). Addresses and payloads are bytes.
Bytes with_other_byte_order(Bytes record, EventLayout layout);

// The same record saying another length, and one cut to its first `size` bytes.
Bytes with_length(Bytes record, std::uint16_t length);
Bytes cut_to(Bytes bytes, std::size_t size);

// Several streams one behind the other.
Bytes joined(std::initializer_list<Bytes> parts);

// A route attribute: 4-byte header, payload, padding to a multiple of 4. The second form says any
// length, true or not, and is padded by its true one.
Bytes route_attribute(std::uint16_t type, std::span<const std::uint8_t> payload);
Bytes route_attribute_saying(std::uint16_t length, std::uint16_t type,
                             std::span<const std::uint8_t> payload);

inline constexpr std::uint16_t ATTRIBUTE_NAME = 3;       // IFLA_IFNAME
inline constexpr std::uint16_t ATTRIBUTE_WIRELESS = 11;  // IFLA_WIRELESS

// A netlink message of any type with an ifinfomsg for `index` and the attributes behind it. No
// request flag is set: to the kernel it is not a request.
Bytes link_message(std::uint16_t type, int index, std::span<const std::uint8_t> attributes);

inline constexpr std::uint16_t MESSAGE_NEW_LINK = 16;  // RTM_NEWLINK
inline constexpr std::uint16_t MESSAGE_DEL_LINK = 17;  // RTM_DELLINK

// What a driver sends: RTM_NEWLINK with the interface's name and the event stream.
Bytes wireless_message(int index, std::string_view name, std::span<const std::uint8_t> stream);

// "02:00:00:00:00:01"; a text that is no address gives the all-zero address.
MacAddress mac_from_text(std::string_view text);

}  // namespace lab
