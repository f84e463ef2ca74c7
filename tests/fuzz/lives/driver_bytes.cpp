#include "tests/fuzz/lives/driver_bytes.h"

#include <linux/rtnetlink.h>
#include <linux/wireless.h>

#include <array>
#include <cstdint>
#include <cstring>

#include "runtime/mac_text.h"

namespace lives {
namespace {

constexpr uint16_t CHANNEL_CHANGE = 28;

template <typename T>
void add(std::string& bytes, const T& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

std::string link_message(unsigned index, const std::string& records) {
    std::string bytes;
    const auto attribute = static_cast<uint16_t>(4 + records.size());
    const size_t length = sizeof(nlmsghdr) + sizeof(ifinfomsg) + attribute;
    add(bytes, nlmsghdr{.nlmsg_len = static_cast<uint32_t>(length),
                        .nlmsg_type = RTM_NEWLINK,
                        .nlmsg_flags = 0,
                        .nlmsg_seq = 0,
                        .nlmsg_pid = 0});
    ifinfomsg link{};
    link.ifi_index = static_cast<int>(index);
    add(bytes, link);
    add(bytes, attribute);
    add(bytes, uint16_t{IFLA_WIRELESS});
    return bytes + records;
}

std::string address_record(uint16_t command, const mac_address& mac) {
    std::string bytes;
    add(bytes, uint16_t{20});
    add(bytes, command);
    add(bytes, uint16_t{1});
    add(bytes, mac);
    bytes.resize(20);
    return bytes;
}

std::string custom_record(uint16_t flags, const std::string& payload) {
    std::string bytes;
    add(bytes, static_cast<uint16_t>(8 + payload.size()));
    add(bytes, uint16_t{IWEVCUSTOM});
    add(bytes, static_cast<uint16_t>(payload.size()));
    add(bytes, flags);
    return bytes + payload;
}

}  // namespace

std::string driver_ap_event(unsigned index, const std::string& mac) {
    mac_address address{};
    mac_scan(mac.c_str(), address);
    return link_message(index, address_record(SIOCGIWAP, address));
}

std::string driver_client_event(unsigned index, unsigned what) {
    constexpr std::array<uint16_t, 6> CUSTOM = {21, 22, 20, 19, 33, 14};
    const mac_address client{0x02, 0, 0, 0, 0x02, static_cast<uint8_t>(what)};
    if (what % 8 < 2) {
        return link_message(index,
                            address_record(what % 8 == 0 ? IWEVREGISTERED : IWEVEXPIRED, client));
    }
    std::string payload(reinterpret_cast<const char*>(client.data()), client.size());
    payload.resize(16, static_cast<char>(what));
    return link_message(index, custom_record(CUSTOM[what % 8 - 2], payload));
}

std::string driver_channel_event(unsigned index, unsigned channel) {
    return link_message(index, custom_record(CHANNEL_CHANGE, {static_cast<char>(channel)}));
}

}  // namespace lives
