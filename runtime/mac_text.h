#pragma once

// MAC addresses: six bytes, their text and the test for "none". Functions of values.

#include "runtime/relaxed.h"

#include <array>
#include <cstddef>
#include <cstdint>

using mac_address = std::array<uint8_t, 6>;
/// 17 characters and the terminator.
inline constexpr size_t MAC_TEXT_SIZE = 18;
using mac_text = std::array<char, MAC_TEXT_SIZE>;

/// Six two-digit lower-case hexadecimal bytes joined by colons.
mac_text mac_format(const mac_address& mac);

/// Whether all six bytes are 0: there is no AP.
bool bssid_is_zero(const mac_address& mac);

/// Parses "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx" into `mac`; bytes that do not scan keep their value.
/// Returns the number of bytes scanned.
int mac_scan(const char* text, mac_address& mac);
