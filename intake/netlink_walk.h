#pragma once

// Walking a batch of routing-netlink messages and the attributes of one: bytes in, spans out.
// Functions of values; a length that does not fit ends the walk.

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr uint16_t NETLINK_TYPE_NEWLINK = 16;
inline constexpr uint16_t LINK_ATTRIBUTE_WIRELESS = 11;
inline constexpr size_t NETLINK_HEADER_SIZE = 16;
inline constexpr size_t LINK_INFO_SIZE = 16;

struct netlink_message {
    uint16_t type = 0;
    /// For RTM_NEWLINK: the interface index and the attributes; empty when the message is too
    /// short to hold them.
    bool has_link = false;
    int32_t intf_index = 0;
    std::span<const uint8_t> attributes;
};

/// Takes the next message off the front of `batch`. Returns false when the walk ends.
bool netlink_message_next(std::span<const uint8_t>& batch, netlink_message& message);

struct link_attribute {
    uint16_t type = 0;
    std::span<const uint8_t> payload;
};

/// Takes the next attribute off the front of `attributes`. Returns false when the walk ends.
bool link_attribute_next(std::span<const uint8_t>& attributes, link_attribute& attribute);
