#pragma once

// Numbers in native byte order out of a span of bytes. A function of values, for the decoders of
// netlink messages and of wireless events: nothing is cast and nothing is read past the end.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>

/// The value that starts `offset` bytes into `bytes`; bytes past the end count as 0.
template <typename T>
T native_read(std::span<const uint8_t> bytes, size_t offset) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    if (offset < bytes.size()) {
        std::memcpy(&value, bytes.data() + offset, std::min(sizeof value, bytes.size() - offset));
    }
    return value;
}
