// Wireless event records: both layouts, every command, and lengths that lie.

#include "intake/wireless_event.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

namespace {

using bytes = std::vector<uint8_t>;
using numbers = std::initializer_list<uint16_t>;

constexpr uint16_t AP_ADDRESS = 0x8B15;
constexpr uint16_t CUSTOM = 0x8C02;
constexpr uint16_t REGISTERED = 0x8C03;
constexpr uint16_t EXPIRED = 0x8C04;
constexpr mac_address MAC = {0x02, 0x11, 0x22, 0x33, 0x44, 0x55};

template <typename T>
void put(bytes& out, T value) {
    const size_t at = out.size();
    out.resize(at + sizeof value);
    std::memcpy(out.data() + at, &value, sizeof value);
}

/// A number of a record, in this processor's byte order.
void put_at(bytes& out, size_t at, uint16_t value) {
    std::memcpy(out.data() + at, &value, sizeof value);
}

void append(bytes& out, const mac_address& mac) {
    out.insert(out.end(), mac.begin(), mac.end());
}

/// The 20 bytes of a packed address record.
bytes address_record(uint16_t command, const mac_address& mac) {
    bytes out;
    put<uint16_t>(out, 20);
    put<uint16_t>(out, command);
    put<uint16_t>(out, 1);
    append(out, mac);
    out.resize(20, 0);
    return out;
}

/// The 24 bytes of the same record with its header padded to 8.
bytes padded_address_record(uint16_t command, const mac_address& mac) {
    bytes out;
    put<uint16_t>(out, 24);
    put<uint16_t>(out, command);
    put<uint32_t>(out, 0);
    put<uint16_t>(out, 1);
    append(out, mac);
    out.resize(24, 0);
    return out;
}

bytes custom_record(uint16_t flags, const bytes& payload) {
    bytes out;
    put<uint16_t>(out, static_cast<uint16_t>(8 + payload.size()));
    put<uint16_t>(out, CUSTOM);
    put<uint16_t>(out, static_cast<uint16_t>(payload.size()));
    put<uint16_t>(out, flags);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

bytes padded_custom_record(uint16_t flags, const bytes& payload) {
    bytes out;
    put<uint16_t>(out, static_cast<uint16_t>(16 + payload.size()));
    put<uint16_t>(out, CUSTOM);
    put<uint32_t>(out, 0);
    put<uint16_t>(out, static_cast<uint16_t>(payload.size()));
    put<uint16_t>(out, flags);
    put<uint32_t>(out, 0);
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

/// A client's address, six bytes of something else and a reason code.
bytes disassoc_payload(const mac_address& mac, int32_t reason) {
    bytes out;
    append(out, mac);
    out.resize(12, 0xee);
    put<int32_t>(out, reason);
    return out;
}

wireless_record decoded(const bytes& data) {
    return wireless_event_decode(data);
}

TEST(WirelessEvent, is_connection_up_when_the_ap_address_is_set) {
    const auto record = decoded(address_record(AP_ADDRESS, MAC));
    EXPECT_EQ(record.event.code, 2);
    EXPECT_EQ(record.event.mac(), MAC);
    EXPECT_EQ(record.length, 20U);
}

TEST(WirelessEvent, is_connection_down_when_the_ap_address_is_zero) {
    const auto record = decoded(address_record(AP_ADDRESS, {}));
    EXPECT_EQ(record.event.code, 3);
    EXPECT_EQ(record.length, 20U);
}

TEST(WirelessEvent, is_connection_up_for_any_address_that_is_not_zero) {
    for (size_t i = 0; i < 6; ++i) {
        mac_address mac{};
        mac[i] = 0x80;
        const auto record = decoded(address_record(AP_ADDRESS, mac));
        EXPECT_EQ(record.event.code, 2) << i;
        EXPECT_EQ(record.event.mac(), mac) << i;
    }
}

TEST(WirelessEvent, is_a_client_coming_or_going_for_registered_and_expired) {
    EXPECT_EQ(decoded(address_record(REGISTERED, MAC)).event.code, 4);
    EXPECT_EQ(decoded(address_record(REGISTERED, MAC)).event.mac(), MAC);
    EXPECT_EQ(decoded(address_record(EXPIRED, MAC)).event.code, 5);
    EXPECT_EQ(decoded(address_record(EXPIRED, MAC)).event.mac(), MAC);
}

TEST(WirelessEvent, is_a_client_coming_for_custom_events_21_and_22) {
    for (const uint16_t flags : numbers{21, 22}) {
        const auto record = decoded(custom_record(flags, disassoc_payload(MAC, 0)));
        EXPECT_EQ(record.event.code, 4) << flags;
        EXPECT_EQ(record.event.mac(), MAC) << flags;
        EXPECT_EQ(record.event.disassoc_format, nullptr) << flags;
    }
}

TEST(WirelessEvent, is_a_channel_change_for_custom_event_28) {
    const auto record = decoded(custom_record(28, {149}));
    EXPECT_EQ(record.event.code, 6);
    EXPECT_EQ(record.event.data[0], 149);
    EXPECT_EQ(record.length, 9U);
}

struct disassoc_case {
    uint16_t flags;
    const char* format;
};

TEST(WirelessEvent, is_a_line_to_log_for_the_four_disassociations) {
    const disassoc_case cases[] = {
        {20,
         "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_IND_AP), reason "
         "code %d\n"},
        {19,
         "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DEAUTH_IND_AP), reason "
         "code %d\n"},
        {33,
         "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_COMPLETE_AP), "
         "reason code %d\n"},
        {14,
         "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_COMPLETE_STA), "
         "reason code %d\n"},
    };
    for (const auto& expected : cases) {
        const auto record = decoded(custom_record(expected.flags, disassoc_payload(MAC, -8)));
        EXPECT_EQ(record.event.code, 1) << expected.flags;
        EXPECT_STREQ(record.event.disassoc_format, expected.format);
        EXPECT_EQ(record.event.mac(), MAC) << expected.flags;
        EXPECT_EQ(record.event.reason, -8) << expected.flags;
    }
}

TEST(WirelessEvent, has_reason_0_when_the_payload_ends_before_it) {
    bytes payload;
    append(payload, MAC);
    const auto record = decoded(custom_record(20, payload));
    EXPECT_EQ(record.event.mac(), MAC);
    EXPECT_EQ(record.event.reason, 0);
}

TEST(WirelessEvent, is_nothing_for_other_custom_events_and_commands) {
    for (const uint16_t flags : numbers{0, 1, 13, 15, 18, 23, 27, 29, 32, 34, 65535}) {
        const auto record = decoded(custom_record(flags, disassoc_payload(MAC, 3)));
        EXPECT_EQ(record.event.code, 1) << flags;
        EXPECT_EQ(record.event.disassoc_format, nullptr) << flags;
        EXPECT_EQ(record.length, 24U) << flags;
    }
    for (const uint16_t command : numbers{0x8B14, 0x8B19, 0x8C01, 0x8C05, 0x8C07, 0x0000}) {
        const auto record = decoded(address_record(command, MAC));
        EXPECT_EQ(record.event.code, 1) << command;
        EXPECT_EQ(record.length, 20U) << command;
    }
}

TEST(WirelessEvent, ends_the_stream_when_its_length_is_4_or_less) {
    for (uint8_t length = 0; length <= 4; ++length) {
        bytes data = address_record(AP_ADDRESS, MAC);
        put_at(data, 0, length);
        const auto record = decoded(data);
        EXPECT_EQ(record.event.code, 1) << int{length};
        EXPECT_EQ(record.length, 0U) << int{length};
    }
}

TEST(WirelessEvent, ends_the_stream_when_it_is_longer_than_what_remains) {
    bytes data = address_record(AP_ADDRESS, MAC);
    data.pop_back();
    const auto record = decoded(data);
    EXPECT_EQ(record.event.code, 1);
    EXPECT_EQ(record.length, 0U);
}

TEST(WirelessEvent, takes_bytes_that_a_short_record_lacks_as_zero) {
    bytes data = address_record(AP_ADDRESS, MAC);
    put_at(data, 0, 8);
    const auto two_bytes = decoded(data);
    EXPECT_EQ(two_bytes.event.code, 2);
    EXPECT_EQ(two_bytes.event.mac(), (mac_address{0x02, 0x11, 0, 0, 0, 0}));
    EXPECT_EQ(two_bytes.length, 8U);
    put_at(data, 0, 5);
    EXPECT_EQ(decoded(data).event.code, 3);

    bytes custom = custom_record(28, {149});
    put_at(custom, 0, 6);
    EXPECT_EQ(decoded(custom).event.code, 1);
}

TEST(WirelessEvent, never_copies_more_than_the_record_has) {
    bytes data = custom_record(28, {149, 1, 2});
    put_at(data, 4, 200);
    const auto record = decoded(data);
    EXPECT_EQ(record.event.code, 6);
    EXPECT_EQ(record.event.data[0], 149);
    EXPECT_EQ(record.event.data[2], 2);
    EXPECT_EQ(record.event.data[3], 0);
}

TEST(WirelessEvent, never_copies_more_than_the_point_says) {
    bytes data = custom_record(21, disassoc_payload(MAC, 0));
    put_at(data, 4, 3);
    EXPECT_EQ(decoded(data).event.mac(), (mac_address{0x02, 0x11, 0x22, 0, 0, 0}));
}

TEST(WirelessEvent, keeps_64_bytes_of_a_longer_payload) {
    bytes payload(300, 0xab);
    append(payload, MAC);
    const auto record = decoded(custom_record(21, payload));
    EXPECT_EQ(record.event.code, 4);
    EXPECT_EQ(record.event.data.size(), 64U);
    EXPECT_EQ(record.event.data.back(), 0xab);
    EXPECT_EQ(record.length, 314U);
}

TEST(PaddedWirelessEvent, is_read_as_the_packed_one_would_be) {
    EXPECT_EQ(decoded(padded_address_record(AP_ADDRESS, MAC)).event.code, 2);
    EXPECT_EQ(decoded(padded_address_record(AP_ADDRESS, MAC)).event.mac(), MAC);
    EXPECT_EQ(decoded(padded_address_record(AP_ADDRESS, MAC)).length, 24U);
    EXPECT_EQ(decoded(padded_address_record(AP_ADDRESS, {})).event.code, 3);
    EXPECT_EQ(decoded(padded_address_record(REGISTERED, MAC)).event.mac(), MAC);
    EXPECT_EQ(decoded(padded_address_record(EXPIRED, MAC)).event.code, 5);

    const auto channel = decoded(padded_custom_record(28, {36, 0, 0, 0}));
    EXPECT_EQ(channel.event.code, 6);
    EXPECT_EQ(channel.event.data[0], 36);
    const auto disassoc = decoded(padded_custom_record(20, disassoc_payload(MAC, 15)));
    EXPECT_EQ(disassoc.event.mac(), MAC);
    EXPECT_EQ(disassoc.event.reason, 15);
    EXPECT_NE(disassoc.event.disassoc_format, nullptr);
}

TEST(PaddedWirelessEvent, needs_the_padding_the_family_and_the_exact_length) {
    bytes data = padded_address_record(AP_ADDRESS, MAC);
    data[8] = 2;
    EXPECT_NE(decoded(data).event.mac(), MAC) << "another family";

    data = padded_address_record(AP_ADDRESS, MAC);
    data[5] = 1;
    EXPECT_NE(decoded(data).event.mac(), MAC) << "padding that is not zero";

    data = padded_address_record(AP_ADDRESS, MAC);
    put_at(data, 0, 25);
    data.push_back(0);
    EXPECT_NE(decoded(data).event.mac(), MAC) << "another length";

    data = padded_custom_record(28, {36, 0, 0, 0});
    data[8] = 3;
    EXPECT_EQ(decoded(data).event.code, 1) << "a point that does not fill its record";
}

TEST(PackedWirelessEvent, of_24_bytes_is_not_mistaken_for_a_padded_one) {
    bytes data = address_record(AP_ADDRESS, MAC);
    put_at(data, 0, 24);
    data.resize(24, 0);
    EXPECT_EQ(decoded(data).event.mac(), MAC);
}

}  // namespace
