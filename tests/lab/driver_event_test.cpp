#include "lab/driver/wireless_event.h"

#include <gmock/gmock.h>

#include <bit>

namespace {

using lab::Bytes;
using lab::EventLayout;

constexpr lab::MacAddress AP = {0x02, 0x00, 0x00, 0x00, 0x0A, 0x01};

// The layouts are those of a little-endian machine; the builders use the machine's own order.
static_assert(std::endian::native == std::endian::little);

TEST(WirelessEventTest, puts_family_and_address_behind_a_packed_header) {
    EXPECT_EQ(lab::associated_event(EventLayout::packed, AP),
              (Bytes{20, 0, 0x15, 0x8B, 1, 0, 2, 0, 0, 0, 0x0A, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(WirelessEventTest, puts_family_and_address_behind_a_padded_header) {
    EXPECT_EQ(
        lab::associated_event(EventLayout::padded, AP),
        (Bytes{24, 0, 0x15, 0x8B, 0, 0, 0, 0, 1, 0, 2, 0, 0, 0, 0x0A, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(WirelessEventTest, tells_a_loss_by_the_all_zero_address) {
    EXPECT_EQ(lab::disassociated_event(EventLayout::packed),
              (Bytes{20, 0, 0x15, 0x8B, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(WirelessEventTest, names_the_client_events_by_their_commands) {
    const Bytes joined = lab::address_event(EventLayout::packed, lab::EVENT_REGISTERED, AP);
    const Bytes left = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, AP);
    EXPECT_EQ(Bytes(joined.begin(), joined.begin() + 4), (Bytes{20, 0, 0x03, 0x8C}));
    EXPECT_EQ(Bytes(left.begin(), left.begin() + 4), (Bytes{20, 0, 0x04, 0x8C}));
}

TEST(WirelessEventTest, puts_a_packed_point_at_four_and_its_payload_at_eight) {
    EXPECT_EQ(lab::custom_event(EventLayout::packed, 28, lab::channel_payload(100)),
              (Bytes{12, 0, 0x02, 0x8C, 4, 0, 28, 0, 100, 0, 0, 0}));
}

TEST(WirelessEventTest, puts_a_padded_point_at_eight_and_its_payload_at_sixteen) {
    EXPECT_EQ(lab::custom_event(EventLayout::padded, 28, lab::channel_payload(100)),
              (Bytes{20, 0, 0x02, 0x8C, 0, 0, 0, 0, 4, 0, 28, 0, 0, 0, 0, 0, 100, 0, 0, 0}));
}

TEST(WirelessEventTest, puts_the_reason_of_a_leave_at_byte_twelve) {
    EXPECT_EQ(lab::leave_payload(AP, 0x01020304),
              (Bytes{2, 0, 0, 0, 0x0A, 1, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1}));
    EXPECT_EQ(lab::client_payload(AP), (Bytes{2, 0, 0, 0, 0x0A, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(WirelessEventTest, turns_the_numbers_of_a_record_for_the_other_byte_order_and_nothing_else) {
    EXPECT_EQ(lab::with_other_byte_order(lab::associated_event(EventLayout::packed, AP),
                                         EventLayout::packed),
              (Bytes{0, 20, 0x8B, 0x15, 0, 1, 2, 0, 0, 0, 0x0A, 1, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(lab::with_other_byte_order(
                  lab::custom_event(EventLayout::padded, 28, lab::channel_payload(100)),
                  EventLayout::padded),
              (Bytes{0, 20, 0x8C, 0x02, 0, 0, 0, 0, 0, 4, 0, 28, 0, 0, 0, 0, 100, 0, 0, 0}));
}

TEST(WirelessEventTest, lets_a_record_say_a_false_length_and_cuts_one_short) {
    const Bytes record = lab::custom_event(EventLayout::packed, 28, lab::channel_payload(100));
    EXPECT_EQ(lab::with_length(record, 0x1234),
              (Bytes{0x34, 0x12, 0x02, 0x8C, 4, 0, 28, 0, 100, 0, 0, 0}));
    EXPECT_EQ(lab::cut_to(record, 5), (Bytes{12, 0, 0x02, 0x8C, 4}));
    EXPECT_EQ(lab::cut_to(record, 100), record);
}

TEST(WirelessEventTest, joins_streams_in_order) {
    EXPECT_EQ(lab::joined({{1, 2}, {}, {3}}), (Bytes{1, 2, 3}));
}

TEST(WirelessEventTest, pads_an_attribute_and_tells_its_length_without_the_padding) {
    EXPECT_EQ(lab::route_attribute(11, Bytes{7, 8, 9}), (Bytes{7, 0, 11, 0, 7, 8, 9, 0}));
    EXPECT_EQ(lab::route_attribute(11, Bytes{}), (Bytes{4, 0, 11, 0}));
    EXPECT_EQ(lab::route_attribute_saying(99, 11, Bytes{7}), (Bytes{99, 0, 11, 0, 7, 0, 0, 0}));
}

TEST(WirelessEventTest, wraps_a_stream_into_a_link_message_with_name_and_no_request_flag) {
    EXPECT_EQ(lab::wireless_message(5, "ath0", Bytes{1, 2, 3, 4}),
              (Bytes{52,  0,   0,   0,   16, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0, 0, 0, 0,
                     0,   0,   5,   0,   0,  0, 0, 0, 0, 0, 0,  0, 0, 0, 9, 0, 3, 0,
                     'a', 't', 'h', '0', 0,  0, 0, 0, 8, 0, 11, 0, 1, 2, 3, 4}));
    const Bytes deleted = lab::link_message(lab::MESSAGE_DEL_LINK, 1, {});
    EXPECT_EQ(deleted.size(), 32U);
    EXPECT_EQ(deleted[4], 17);
}

TEST(WirelessEventTest, reads_addresses_as_text) {
    EXPECT_EQ(lab::mac_from_text("02:00:00:00:0a:01"), AP);
    EXPECT_EQ(lab::mac_from_text("02:00:00:00:0A:01"), AP);
    EXPECT_EQ(lab::mac_from_text("Not-Associated"), lab::MacAddress{});
    EXPECT_EQ(lab::mac_from_text("02:00:00:00:0a:01:07"), lab::MacAddress{});
}

}  // namespace
