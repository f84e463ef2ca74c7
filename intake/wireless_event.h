#pragma once

// Wireless Extensions event records: bytes in, one daemon event out. Functions of values.
//
// The stream is packed: a 4-byte header (16-bit length, 16-bit command), then the command's data:
// an address record holds the family at 4 and the address at 6, a point record its length at 4,
// its flags at 6 and its payload at 8. A 64-bit kernel pads the header to 8; that layout is
// accepted where a record is unmistakably of that form. Numbers are in native byte order and read
// byte-wise; nothing is read past the record or past what remains of the stream.

#include "runtime/mac_text.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

/// Codes of decoded events; the names are those of the log.
enum wireless_event_code : int {
    WIRELESS_EVENT_NONE = 1,
    STA_CONNECTION_UP = 2,
    STA_CONNECTION_DOWN = 3,
    STA_ASSOC_WITH_AP = 4,
    STA_DISASSOC_WITH_AP = 5,
    CHANNEL_CHANGE = 6,
};

/// Bytes of a custom event's payload that are kept.
inline constexpr size_t WIRELESS_DATA_SIZE = 64;

struct wireless_event {
    wireless_event_code code = WIRELESS_EVENT_NONE;
    /// The first six bytes are the MAC address, or the first byte is the channel.
    std::array<uint8_t, WIRELESS_DATA_SIZE> data{};
    /// Text to log for a driver-reported disassociation (a format of six address bytes and the
    /// reason code), or null.
    const char* disassoc_format = nullptr;
    int32_t reason = 0;

    mac_address mac() const;
};

struct wireless_record {
    wireless_event event;
    /// Bytes to advance by; 0 ends the stream (a record of 4 bytes or less, or one that is longer
    /// than what remains).
    size_t length = 0;
};

/// Decodes the record at the start of `stream` (at least 4 bytes).
wireless_record wireless_event_decode(std::span<const uint8_t> stream);
