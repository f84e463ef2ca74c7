#include "lab/driver/wireless_event.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>

namespace lab {
namespace {

constexpr std::size_t MESSAGE_HEADER_SIZE = 16;
constexpr std::size_t LINK_HEADER_SIZE = 16;
constexpr std::size_t SOCKET_ADDRESS_SIZE = 16;
constexpr std::size_t CLIENT_PAYLOAD_SIZE = 16;
constexpr std::size_t REASON_OFFSET = 12;
constexpr std::uint16_t FAMILY_ETHER = 1;

template <typename Number>
void put(Bytes* bytes, std::size_t offset, Number number) {
    std::memcpy(bytes->data() + offset, &number, sizeof number);
}

std::size_t header_size(EventLayout layout) {
    return layout == EventLayout::packed ? 4 : 8;
}

// The record's header and room for the rest.
Bytes record_of(std::size_t size, std::uint16_t command) {
    Bytes record(size, 0);
    put(&record, 0, static_cast<std::uint16_t>(size));
    put(&record, 2, command);
    return record;
}

void append_padded(Bytes* bytes, std::span<const std::uint8_t> more) {
    bytes->insert(bytes->end(), more.begin(), more.end());
    bytes->resize((bytes->size() + 3) / 4 * 4, 0);
}

}  // namespace

Bytes address_event(EventLayout layout, std::uint16_t command, const MacAddress& address) {
    const std::size_t data = header_size(layout);
    Bytes record = record_of(data + SOCKET_ADDRESS_SIZE, command);
    put(&record, data, FAMILY_ETHER);
    std::copy(address.begin(), address.end(), record.begin() + static_cast<long>(data) + 2);
    return record;
}

Bytes point_event(EventLayout layout, std::uint16_t command, std::uint16_t flags,
                  std::span<const std::uint8_t> payload) {
    const std::size_t point = header_size(layout);
    const std::size_t data = layout == EventLayout::packed ? point + 4 : point + 8;
    Bytes record = record_of(data + payload.size(), command);
    put(&record, point, static_cast<std::uint16_t>(payload.size()));
    put(&record, point + 2, flags);
    std::copy(payload.begin(), payload.end(), record.begin() + static_cast<long>(data));
    return record;
}

Bytes associated_event(EventLayout layout, const MacAddress& ap) {
    return address_event(layout, EVENT_AP_ADDRESS, ap);
}

Bytes disassociated_event(EventLayout layout) {
    return address_event(layout, EVENT_AP_ADDRESS, MacAddress{});
}

Bytes custom_event(EventLayout layout, std::uint16_t flags, std::span<const std::uint8_t> payload) {
    return point_event(layout, EVENT_CUSTOM, flags, payload);
}

Bytes with_other_byte_order(Bytes record, EventLayout layout) {
    std::uint16_t command = 0;
    std::memcpy(&command, record.data() + 2, sizeof command);
    const std::size_t body = header_size(layout);
    for (const std::size_t at : {std::size_t{0}, std::size_t{2}, body}) {
        std::swap(record[at], record[at + 1]);
    }
    if (command == EVENT_CUSTOM) {
        std::swap(record[body + 2], record[body + 3]);
    }
    return record;
}

Bytes client_payload(const MacAddress& client) {
    Bytes payload(CLIENT_PAYLOAD_SIZE, 0);
    std::copy(client.begin(), client.end(), payload.begin());
    return payload;
}

Bytes leave_payload(const MacAddress& client, std::uint32_t reason) {
    Bytes payload = client_payload(client);
    put(&payload, REASON_OFFSET, reason);
    return payload;
}

Bytes channel_payload(std::uint8_t channel) {
    return {channel, 0, 0, 0};
}

Bytes with_length(Bytes record, std::uint16_t length) {
    put(&record, 0, length);
    return record;
}

Bytes cut_to(Bytes bytes, std::size_t size) {
    bytes.resize(std::min(size, bytes.size()));
    return bytes;
}

Bytes joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes route_attribute(std::uint16_t type, std::span<const std::uint8_t> payload) {
    return route_attribute_saying(static_cast<std::uint16_t>(payload.size() + 4), type, payload);
}

Bytes route_attribute_saying(std::uint16_t length, std::uint16_t type,
                             std::span<const std::uint8_t> payload) {
    Bytes attribute(4, 0);
    put(&attribute, 0, length);
    put(&attribute, 2, type);
    append_padded(&attribute, payload);
    return attribute;
}

Bytes link_message(std::uint16_t type, int index, std::span<const std::uint8_t> attributes) {
    Bytes message(MESSAGE_HEADER_SIZE + LINK_HEADER_SIZE, 0);
    put(&message, 4, type);
    put(&message, MESSAGE_HEADER_SIZE + 4, static_cast<std::int32_t>(index));
    message.insert(message.end(), attributes.begin(), attributes.end());
    put(&message, 0, static_cast<std::uint32_t>(message.size()));
    return message;
}

Bytes wireless_message(int index, std::string_view name, std::span<const std::uint8_t> stream) {
    Bytes text(name.begin(), name.end());
    text.push_back(0);
    const Bytes attributes = joined(
        {route_attribute(ATTRIBUTE_NAME, text), route_attribute(ATTRIBUTE_WIRELESS, stream)});
    return link_message(MESSAGE_NEW_LINK, index, attributes);
}

MacAddress mac_from_text(std::string_view text) {
    std::array<unsigned, 6> digits{};
    const std::string terminated(text);
    char behind = '\0';
    MacAddress address{};
    if (std::sscanf(terminated.c_str(), "%2x:%2x:%2x:%2x:%2x:%2x%c", &digits[0], &digits[1],
                    &digits[2], &digits[3], &digits[4], &digits[5], &behind) == 6) {
        std::transform(digits.begin(), digits.end(), address.begin(),
                       [](unsigned digit) { return static_cast<std::uint8_t>(digit); });
    }
    return address;
}

}  // namespace lab
