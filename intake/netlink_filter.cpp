#include "intake/netlink_filter.h"

#include "intake/netlink_walk.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace {

constexpr bool IS_LITTLE_ENDIAN = std::endian::native == std::endian::little;
constexpr uint32_t ATTRIBUTES_OFFSET = NETLINK_HEADER_SIZE + LINK_INFO_SIZE;
constexpr uint32_t ATTRIBUTE_HEADER_SIZE = 4;
constexpr uint32_t TYPE_OFFSET = 4;
/// Loads are of network order, netlink's numbers are of the machine's.
constexpr uint32_t TYPE_NEWLINK_LOADED =
    IS_LITTLE_ENDIAN ? uint32_t{NETLINK_TYPE_NEWLINK} << 8 : NETLINK_TYPE_NEWLINK;
/// Where the halves of a message's length are: the upper one, and the lower one's two bytes.
constexpr uint32_t LENGTH_UPPER_OFFSET = IS_LITTLE_ENDIAN ? 2 : 0;
constexpr uint32_t LENGTH_HIGH_OFFSET = IS_LITTLE_ENDIAN ? 1 : 2;
constexpr uint32_t LENGTH_LOW_OFFSET = IS_LITTLE_ENDIAN ? 0 : 3;

constexpr uint32_t EXTENSION_ATTRIBUTE_FIND =
    static_cast<uint32_t>(SKF_AD_OFF) + static_cast<uint32_t>(SKF_AD_NLATTR);

constexpr sock_filter step(uint32_t code, uint32_t value = 0) {
    return {static_cast<uint16_t>(code), 0, 0, value};
}

/// Goes on `if_true` or `if_false` steps further than the next.
constexpr sock_filter branch(uint32_t code, uint32_t value, uint8_t if_true, uint8_t if_false) {
    return {static_cast<uint16_t>(BPF_JMP | code), if_true, if_false, value};
}

constexpr std::array<sock_filter, 22> PROGRAM = {
    // Too short for one attribute: there is nothing in it.
    step(BPF_LD | BPF_W | BPF_LEN),
    branch(BPF_JGE | BPF_K, ATTRIBUTES_OFFSET + ATTRIBUTE_HEADER_SIZE, 0, 19),
    // The first message, up to the datagram's end and so no less than the walk sees.
    step(BPF_LD | BPF_H | BPF_ABS, TYPE_OFFSET),
    branch(BPF_JEQ | BPF_K, TYPE_NEWLINK_LOADED, 0, 4),
    step(BPF_LDX | BPF_IMM, LINK_ATTRIBUTE_WIRELESS),
    step(BPF_LD | BPF_W | BPF_IMM, ATTRIBUTES_OFFSET),
    step(BPF_LD | BPF_W | BPF_ABS, EXTENSION_ATTRIBUTE_FIND),
    branch(BPF_JEQ | BPF_K, 0, 0, 12),
    // Others may follow it: a length of 64 KiB or more is not looked at any further ...
    step(BPF_LD | BPF_H | BPF_ABS, LENGTH_UPPER_OFFSET),
    branch(BPF_JEQ | BPF_K, 0, 0, 10),
    // ... else the padded length and one more header are compared with the datagram.
    step(BPF_LD | BPF_B | BPF_ABS, LENGTH_HIGH_OFFSET),
    step(BPF_ALU | BPF_LSH | BPF_K, 8),
    step(BPF_MISC | BPF_TAX),
    step(BPF_LD | BPF_B | BPF_ABS, LENGTH_LOW_OFFSET),
    step(BPF_ALU | BPF_OR | BPF_X),
    step(BPF_ALU | BPF_ADD, NETLINK_HEADER_SIZE + 3),
    step(BPF_ALU | BPF_AND | BPF_K, ~uint32_t{3}),
    step(BPF_MISC | BPF_TAX),
    step(BPF_LD | BPF_W | BPF_LEN),
    branch(BPF_JGE | BPF_X, 0, 0, 1),
    step(BPF_RET | BPF_K, UINT32_MAX),
    step(BPF_RET | BPF_K, 0),
};

}  // namespace

std::span<const sock_filter> netlink_filter() {
    return PROGRAM;
}
