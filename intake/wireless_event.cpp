#include "intake/wireless_event.h"

#include "intake/native_read.h"

#include <algorithm>

namespace {

constexpr size_t HEADER_SIZE = 4;

// Commands of the Wireless Extensions that are acted on.
constexpr uint16_t COMMAND_AP_ADDRESS = 0x8B15;  // SIOCGIWAP
constexpr uint16_t COMMAND_CUSTOM = 0x8C02;      // IWEVCUSTOM
constexpr uint16_t COMMAND_REGISTERED = 0x8C03;  // IWEVREGISTERED
constexpr uint16_t COMMAND_EXPIRED = 0x8C04;     // IWEVEXPIRED

// Event numbers of the driver in a custom event's flags.
constexpr uint16_t CUSTOM_ASSOC = 21;
constexpr uint16_t CUSTOM_REASSOC = 22;
constexpr uint16_t CUSTOM_CHANNEL_CHANGE = 28;

/// Offset of the reason code in the payload of a disassociation.
constexpr size_t REASON_OFFSET = 12;

struct disassoc_row {
    uint16_t flags;
    const char* format;
};

constexpr std::array<disassoc_row, 4> DISASSOC_ROWS = {{
    {20,
     "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_IND_AP), reason code "
     "%d\n"},
    {19,
     "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DEAUTH_IND_AP), reason code "
     "%d\n"},
    {33,
     "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_COMPLETE_AP), reason "
     "code %d\n"},
    {14,
     "STA %.2x:%.2x:%.2x:%.2x:%.2x:%.2x disassociated(IEEE80211_EV_DISASSOC_COMPLETE_STA), reason "
     "code %d\n"},
}};

// Places of a record's parts, packed and with the header padded to 8 bytes.
constexpr size_t ADDRESS_OFFSET = 6;
constexpr size_t POINT_LENGTH_OFFSET = 4;
constexpr size_t POINT_FLAGS_OFFSET = 6;
constexpr size_t POINT_PAYLOAD_OFFSET = 8;
constexpr size_t PADDED_ADDRESS_RECORD_SIZE = 24;
constexpr size_t PADDED_FAMILY_OFFSET = 8;
constexpr size_t PADDED_ADDRESS_OFFSET = 10;
constexpr size_t PADDED_POINT_LENGTH_OFFSET = 8;
constexpr size_t PADDED_POINT_FLAGS_OFFSET = 10;
constexpr size_t PADDED_POINT_PAYLOAD_OFFSET = 16;
constexpr uint16_t FAMILY_ETHER = 1;

bool padding_is_zero(std::span<const uint8_t> record) {
    return native_read<uint32_t>(record, HEADER_SIZE) == 0;
}

mac_address record_address(std::span<const uint8_t> record) {
    const bool padded = record.size() == PADDED_ADDRESS_RECORD_SIZE && padding_is_zero(record) &&
                        native_read<uint16_t>(record, PADDED_FAMILY_OFFSET) == FAMILY_ETHER;
    return native_read<mac_address>(record, padded ? PADDED_ADDRESS_OFFSET : ADDRESS_OFFSET);
}

struct point {
    uint16_t flags = 0;
    std::span<const uint8_t> payload;
};

point point_at(std::span<const uint8_t> record, size_t length_at, size_t flags_at,
               size_t payload_at) {
    point out;
    out.flags = native_read<uint16_t>(record, flags_at);
    if (record.size() > payload_at) {
        const auto rest = record.subspan(payload_at);
        const size_t length = native_read<uint16_t>(record, length_at);
        out.payload = rest.first(std::min(length, rest.size()));
    }
    return out;
}

point record_point(std::span<const uint8_t> record) {
    const bool padded = record.size() >= PADDED_POINT_PAYLOAD_OFFSET && padding_is_zero(record) &&
                        native_read<uint16_t>(record, PADDED_POINT_LENGTH_OFFSET) ==
                            record.size() - PADDED_POINT_PAYLOAD_OFFSET;
    if (padded) {
        return point_at(record, PADDED_POINT_LENGTH_OFFSET, PADDED_POINT_FLAGS_OFFSET,
                        PADDED_POINT_PAYLOAD_OFFSET);
    }
    return point_at(record, POINT_LENGTH_OFFSET, POINT_FLAGS_OFFSET, POINT_PAYLOAD_OFFSET);
}

void data_copy(wireless_event& event, std::span<const uint8_t> bytes) {
    const size_t size = std::min(bytes.size(), event.data.size());
    std::copy_n(bytes.begin(), size, event.data.begin());
}

wireless_event address_event(std::span<const uint8_t> record, wireless_event_code code) {
    wireless_event event;
    event.code = code;
    data_copy(event, record_address(record));
    return event;
}

wireless_event custom_event(std::span<const uint8_t> record) {
    const point custom = record_point(record);
    wireless_event event;
    if (custom.flags == CUSTOM_ASSOC || custom.flags == CUSTOM_REASSOC) {
        event.code = STA_ASSOC_WITH_AP;
        data_copy(event, custom.payload);
        return event;
    }
    if (custom.flags == CUSTOM_CHANNEL_CHANGE) {
        event.code = CHANNEL_CHANGE;
        data_copy(event, custom.payload);
        return event;
    }
    for (const auto& row : DISASSOC_ROWS) {
        if (row.flags == custom.flags) {
            data_copy(event, custom.payload);
            event.disassoc_format = row.format;
            event.reason = native_read<int32_t>(event.data, REASON_OFFSET);
        }
    }
    return event;
}

wireless_event record_decode(std::span<const uint8_t> record) {
    switch (native_read<uint16_t>(record, 2)) {
        case COMMAND_AP_ADDRESS:
            if (bssid_is_zero(record_address(record))) {
                return address_event(record, STA_CONNECTION_DOWN);
            }
            return address_event(record, STA_CONNECTION_UP);
        case COMMAND_REGISTERED:
            return address_event(record, STA_ASSOC_WITH_AP);
        case COMMAND_EXPIRED:
            return address_event(record, STA_DISASSOC_WITH_AP);
        case COMMAND_CUSTOM:
            return custom_event(record);
        default:
            return {};
    }
}

}  // namespace

mac_address wireless_event::mac() const {
    mac_address out{};
    std::copy_n(data.begin(), out.size(), out.begin());
    return out;
}

wireless_record wireless_event_decode(std::span<const uint8_t> stream) {
    wireless_record out;
    const size_t length = native_read<uint16_t>(stream, 0);
    if (length <= HEADER_SIZE || length > stream.size()) {
        return out;
    }
    out.event = record_decode(stream.first(length));
    out.length = length;
    return out;
}
