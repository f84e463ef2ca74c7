#include "intake/netlink_intake.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "device/channel_monitor.h"
#include "device/client_control.h"
#include "intake/missed_event.h"
#include "intake/netlink_filter.h"
#include "intake/netlink_walk.h"
#include "intake/wireless_event.h"
#include "intf/intf_table.h"
#include "link/slave_event.h"
#include "radar/dfs.h"
#include "runtime/descriptor.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

namespace {

constexpr size_t RECEIVE_SIZE = 8192;
constexpr size_t EVENT_HEADER_SIZE = 4;
/// Holds more than 10,000 small events, each of which counts with some 800 bytes; the kernel
/// doubles it. What is not used costs nothing.
constexpr int BUFFER_SIZE = 8 * 1024 * 1024;

/// Logs a text that holds one address.
void mac_log(const char* prefix, const mac_address& mac) {
    flow_log("%s%.2x:%.2x:%.2x:%.2x:%.2x:%.2x\n", prefix, mac[0], mac[1], mac[2], mac[3], mac[4],
             mac[5]);
}

void disassoc_log(const wireless_event& event) {
    if (event.disassoc_format != nullptr) {
        const mac_address mac = event.mac();
        flow_log(event.disassoc_format, mac[0], mac[1], mac[2], mac[3], mac[4], mac[5],
                 event.reason);
    }
}

// The handlers return whether the rest of the payload is to be handled.

bool connection_up(const wireless_event& event, const char* intf_name) {
    flow_log("STA_CONNECTION_UP\n");
    intf_record* const record = intf_find_by_name(intf_name);
    if (record == nullptr) {
        return false;
    }
    const mac_address mac = event.mac();
    record->bssid.set(mac);
    mac_log("Connect with : ", mac);
    wifi_slave_event_process(record, ASSOC);
    return true;
}

bool connection_down(const char* intf_name) {
    flow_log("STA_CONNECTION_DOWN\n");
    intf_record* const record = intf_find_by_name(intf_name);
    if (record == nullptr) {
        // Unlike the other two, a loss on an unknown interface does not end the payload.
        return true;
    }
    mac_log("Disconnect with : ", record->bssid.get());
    if (record->state == CONNECTING_TARGET_BACKHAUL_AP) {
        flow_log("%s : Under CONNECTING_TARGET_BACKHAUL_AP, ignore AP_DISASSOC\n",
                 "wireless_event_process");
        return true;
    }
    wifi_slave_event_process(record, AP_DISASSOC);
    return true;
}

bool client_associated(const wireless_event& event, const char* intf_name) {
    flow_log("STA_ASSOC_WITH_AP(%s)\n", intf_name);
    mac_log("STA mac : ", event.mac());
    device_kick_wifi_client(nullptr, mac_format(event.mac()).data());
    return true;
}

bool client_left(const wireless_event& event, const char* intf_name) {
    flow_log("STA_DISASSOC_WITH_AP(%s)\n", intf_name);
    mac_log("STA mac : ", event.mac());
    return true;
}

bool channel_changed(const wireless_event& event, const char* intf_name) {
    flow_log("CHANNEL_CHANGE(%s)\n", intf_name);
    intf_record* const record = intf_find_by_name(intf_name);
    if (record == nullptr) {
        return false;
    }
    const uint8_t channel = event.data[0];
    wifi_channel_monitor_once();
    if (record->type == BACKHAUL_AP) {
        backhaul_dfs_check(record, channel);
    }
    // Last: the check compares the new channel with the old one.
    record->channel = channel;
    return true;
}

bool event_handle(const wireless_event& event, const char* intf_name) {
    switch (event.code) {
        case STA_CONNECTION_UP:
            return connection_up(event, intf_name);
        case STA_CONNECTION_DOWN:
            return connection_down(intf_name);
        case STA_ASSOC_WITH_AP:
            return client_associated(event, intf_name);
        case STA_DISASSOC_WITH_AP:
            return client_left(event, intf_name);
        case CHANNEL_CHANGE:
            return channel_changed(event, intf_name);
        case WIRELESS_EVENT_NONE:
            break;
    }
    return true;
}

/// Makes losses rare; without either the socket works as well.
void losses_prevent(int sock) {
    if (setsockopt(sock, SOL_SOCKET, SO_RCVBUFFORCE, &BUFFER_SIZE, sizeof BUFFER_SIZE) < 0) {
        setsockopt(sock, SOL_SOCKET, SO_RCVBUF, &BUFFER_SIZE, sizeof BUFFER_SIZE);
    }
    const auto filter = netlink_filter();
    const sock_fprog program{static_cast<uint16_t>(filter.size()),
                             const_cast<sock_filter*>(filter.data())};
    setsockopt(sock, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program);
}

/// Asks the driver of every station what became of it, and handles what the record does not know.
void missed_events_handle() {
    for (const intf_record& record : intf_table_walk()) {
        mac_address ap{};
        if (record.type == BACKHAUL_STA && station_ap_ask(record.name.data(), ap)) {
            event_handle(missed_event_find(record.state, record.bssid.get(), ap),
                         record.name.data());
        }
    }
}

bool queue_is_empty() {
    pollfd queue{runtime.netlink_fd, POLLIN, 0};
    return poll(&queue, 1, 0) == 0;
}

}  // namespace

bool netlink_open() {
    Descriptor sock(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!sock) {
        std::printf("netlink: Failed to open netlink socket: %s", std::strerror(errno));
        std::fflush(stdout);
        return false;
    }
    losses_prevent(sock.get());
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK;
    if (bind(sock.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        std::printf("netlink: Failed to bind netlink socket: %s", std::strerror(errno));
        std::fflush(stdout);
        return false;
    }
    runtime.netlink_fd = sock.release();
    return true;
}

void netlink_recv() {
    /// After an overrun the kernel drops every event until the queue has been read to its end: only
    /// then is it known what was lost.
    static bool events_are_dropped = false;
    std::array<uint8_t, RECEIVE_SIZE> buffer{};
    const ssize_t count =
        recvfrom(runtime.netlink_fd, buffer.data(), buffer.size(), MSG_DONTWAIT, nullptr, nullptr);
    if (count < 0 && errno == ENOBUFS) {
        flow_log("%s : driver events lost, check the stations\n", __func__);
        events_are_dropped = true;
        // At once as well: what is still queued may take minutes.
        missed_events_handle();
    }
    if (count <= 0) {
        return;
    }
    std::span<const uint8_t> batch(buffer.data(), static_cast<size_t>(count));
    netlink_message message;
    while (netlink_message_next(batch, message)) {
        if (message.has_link) {
            netlink_msg_process(message.intf_index, message.attributes);
        }
    }
    if (events_are_dropped && queue_is_empty()) {
        events_are_dropped = false;
        missed_events_handle();
    }
}

void netlink_msg_process(int32_t intf_index, std::span<const uint8_t> attributes) {
    ifreq request{};
    auto& name = request.ifr_name;
    request.ifr_ifindex = intf_index;
    // Any socket will do; if_indextoname() makes one for each call.
    if (ioctl(runtime.msg_fd, SIOCGIFNAME, &request) < 0) {
        if_indextoname(static_cast<unsigned>(intf_index), name);
    }
    if (name[0] == '\0') {
        flow_log("%s : ifname is emplty, ignore this event\n", __func__);
        return;
    }
    link_attribute attribute;
    while (link_attribute_next(attributes, attribute)) {
        if (attribute.type == LINK_ATTRIBUTE_WIRELESS) {
            wireless_event_process(attribute.payload, name);
        }
    }
}

void wireless_event_process(std::span<const uint8_t> payload, const char* intf_name) {
    while (payload.size() >= EVENT_HEADER_SIZE) {
        const wireless_record record = wireless_event_decode(payload);
        if (record.length == 0) {
            return;
        }
        disassoc_log(record.event);
        if (!event_handle(record.event, intf_name)) {
            return;
        }
        payload = payload.subspan(record.length);
    }
}
