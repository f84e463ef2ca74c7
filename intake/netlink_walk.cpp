#include "intake/netlink_walk.h"

#include "intake/native_read.h"

namespace {

constexpr size_t ALIGNMENT = 4;
/// Offset of the interface index in the link message's own header.
constexpr size_t LINK_INDEX_OFFSET = 4;
constexpr size_t ATTRIBUTE_HEADER_SIZE = 4;

/// Drops `length` bytes and the padding after them; the last element may lack its padding.
std::span<const uint8_t> aligned_rest(std::span<const uint8_t> bytes, size_t length) {
    const size_t advance = (length + ALIGNMENT - 1) & ~(ALIGNMENT - 1);
    return advance < bytes.size() ? bytes.subspan(advance) : std::span<const uint8_t>{};
}

}  // namespace

bool netlink_message_next(std::span<const uint8_t>& batch, netlink_message& message) {
    if (batch.size() < NETLINK_HEADER_SIZE) {
        return false;
    }
    const size_t length = native_read<uint32_t>(batch, 0);
    if (length < NETLINK_HEADER_SIZE || length > batch.size()) {
        return false;
    }
    message = {};
    message.type = native_read<uint16_t>(batch, 4);
    if (message.type == NETLINK_TYPE_NEWLINK && length >= NETLINK_HEADER_SIZE + LINK_INFO_SIZE) {
        message.has_link = true;
        message.intf_index = native_read<int32_t>(batch, NETLINK_HEADER_SIZE + LINK_INDEX_OFFSET);
        message.attributes = batch.first(length).subspan(NETLINK_HEADER_SIZE + LINK_INFO_SIZE);
    }
    batch = aligned_rest(batch, length);
    return true;
}

bool link_attribute_next(std::span<const uint8_t>& attributes, link_attribute& attribute) {
    if (attributes.size() < ATTRIBUTE_HEADER_SIZE) {
        return false;
    }
    const size_t length = native_read<uint16_t>(attributes, 0);
    if (length < ATTRIBUTE_HEADER_SIZE || length > attributes.size()) {
        return false;
    }
    attribute.type = native_read<uint16_t>(attributes, 2);
    attribute.payload = attributes.first(length).subspan(ATTRIBUTE_HEADER_SIZE);
    attributes = aligned_rest(attributes, length);
    return true;
}
