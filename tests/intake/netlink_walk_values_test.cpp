// Batches of routing-netlink messages and their attributes, taken apart.

#include "intake/netlink_walk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

namespace {

using bytes = std::vector<uint8_t>;

template <typename T>
void put(bytes& out, T value) {
    const size_t at = out.size();
    out.resize(at + sizeof value);
    std::memcpy(out.data() + at, &value, sizeof value);
}

/// A message with the given length field; `body` follows the 16-byte header.
bytes message(uint32_t length, uint16_t type, const bytes& body) {
    bytes out;
    put<uint32_t>(out, length);
    put<uint16_t>(out, type);
    put<uint16_t>(out, 0);
    put<uint32_t>(out, 0);
    put<uint32_t>(out, 0);
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

/// The link message's own 16 bytes.
bytes link_info(int32_t index) {
    bytes out(4, 0);
    put<int32_t>(out, index);
    out.resize(16, 0);
    return out;
}

bytes attribute(uint16_t length, uint16_t type, const bytes& payload) {
    bytes out;
    put<uint16_t>(out, length);
    put<uint16_t>(out, type);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

bytes joined(bytes first, const bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

bytes copy(std::span<const uint8_t> span) {
    return {span.begin(), span.end()};
}

TEST(NetlinkMessage, gives_index_and_attributes_of_a_link_message) {
    const bytes data = message(36, 16, joined(link_info(7), {1, 2, 3, 4}));
    std::span<const uint8_t> batch(data);
    netlink_message out;
    ASSERT_TRUE(netlink_message_next(batch, out));
    EXPECT_EQ(out.type, 16);
    EXPECT_TRUE(out.has_link);
    EXPECT_EQ(out.intf_index, 7);
    EXPECT_EQ(copy(out.attributes), (bytes{1, 2, 3, 4}));
    EXPECT_FALSE(netlink_message_next(batch, out));
}

TEST(NetlinkMessage, is_followed_by_the_next_at_a_multiple_of_4) {
    bytes data = message(33, 16, joined(link_info(1), {9}));
    data.resize(36, 0xee);
    data = joined(data, message(32, 16, link_info(2)));
    std::span<const uint8_t> batch(data);
    netlink_message out;
    ASSERT_TRUE(netlink_message_next(batch, out));
    EXPECT_EQ(out.intf_index, 1);
    EXPECT_EQ(copy(out.attributes), (bytes{9}));
    ASSERT_TRUE(netlink_message_next(batch, out));
    EXPECT_EQ(out.intf_index, 2);
    EXPECT_TRUE(out.attributes.empty());
    EXPECT_FALSE(netlink_message_next(batch, out));
}

TEST(NetlinkMessage, of_another_type_is_passed_over) {
    const bytes data =
        joined(message(36, 17, joined(link_info(1), bytes(4, 0))), message(32, 16, link_info(2)));
    std::span<const uint8_t> batch(data);
    netlink_message out;
    ASSERT_TRUE(netlink_message_next(batch, out));
    EXPECT_EQ(out.type, 17);
    EXPECT_FALSE(out.has_link);
    ASSERT_TRUE(netlink_message_next(batch, out));
    EXPECT_TRUE(out.has_link);
    EXPECT_EQ(out.intf_index, 2);
}

TEST(NetlinkMessage, has_no_link_when_it_is_too_short_for_one) {
    for (uint32_t length = 16; length < 32; ++length) {
        bytes data = message(length, 16, {});
        data.resize(length, 0xff);
        std::span<const uint8_t> batch(data);
        netlink_message out;
        ASSERT_TRUE(netlink_message_next(batch, out)) << length;
        EXPECT_FALSE(out.has_link) << length;
        EXPECT_TRUE(out.attributes.empty()) << length;
    }
}

TEST(NetlinkMessage, ends_the_walk_when_its_length_does_not_fit) {
    for (const uint32_t length : {0U, 15U, 37U, 0xffffffffU, 0xfffffffdU}) {
        const bytes data = message(length, 16, joined(link_info(1), bytes(4, 0)));
        std::span<const uint8_t> batch(data);
        netlink_message out;
        EXPECT_FALSE(netlink_message_next(batch, out)) << length;
    }
}

TEST(NetlinkMessage, ends_the_walk_when_less_than_a_header_remains) {
    const bytes data = message(16, 16, {});
    for (size_t size = 0; size < 16; ++size) {
        std::span<const uint8_t> batch(data.data(), size);
        netlink_message out;
        EXPECT_FALSE(netlink_message_next(batch, out)) << size;
    }
}

TEST(LinkAttribute, gives_type_and_payload_in_order) {
    bytes data = attribute(7, 11, {1, 2, 3});
    data.push_back(0xee);
    data = joined(data, attribute(4, 3, {}));
    data = joined(data, attribute(6, 11, {8, 9}));
    std::span<const uint8_t> rest(data);
    link_attribute out;
    ASSERT_TRUE(link_attribute_next(rest, out));
    EXPECT_EQ(out.type, 11);
    EXPECT_EQ(copy(out.payload), (bytes{1, 2, 3}));
    ASSERT_TRUE(link_attribute_next(rest, out));
    EXPECT_EQ(out.type, 3);
    EXPECT_TRUE(out.payload.empty());
    ASSERT_TRUE(link_attribute_next(rest, out));
    EXPECT_EQ(out.type, 11);
    EXPECT_EQ(copy(out.payload), (bytes{8, 9}));
    EXPECT_FALSE(link_attribute_next(rest, out));
}

TEST(LinkAttribute, ends_the_walk_when_its_length_does_not_fit) {
    for (const uint16_t length : std::initializer_list<uint16_t>{0, 3, 9, 65535}) {
        const bytes data = attribute(length, 11, bytes(4, 0));
        std::span<const uint8_t> rest(data);
        link_attribute out;
        EXPECT_FALSE(link_attribute_next(rest, out)) << length;
    }
    const bytes data = attribute(4, 11, {});
    std::span<const uint8_t> rest(data.data(), 3);
    link_attribute out;
    EXPECT_FALSE(link_attribute_next(rest, out));
}

}  // namespace
