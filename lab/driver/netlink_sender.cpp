#include "lab/driver/netlink_sender.h"

#include <fcntl.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace lab {
namespace {

bool fail(const std::string& what, int number, std::string& error) {
    error = what + ": " + std::strerror(number);
    return false;
}

std::string namespace_path(int pid, const char* kind) {
    return "/proc/" + std::to_string(pid) + "/ns/" + kind;
}

// Room for one descriptor as ancillary data.
struct DescriptorMessage {
    char byte = 'd';
    iovec vector{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr header{};

    DescriptorMessage() {
        header.msg_iov = &vector;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
};

bool descriptor_send(int channel, int descriptor) {
    DescriptorMessage message;
    cmsghdr* control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &descriptor, sizeof descriptor);
    return sendmsg(channel, &message.header, MSG_NOSIGNAL) == 1;
}

int descriptor_receive(int channel) {
    DescriptorMessage message;
    int descriptor = -1;
    if (recvmsg(channel, &message.header, MSG_CMSG_CLOEXEC) == 1) {
        const cmsghdr* control = CMSG_FIRSTHDR(&message.header);
        if (control != nullptr && control->cmsg_type == SCM_RIGHTS) {
            std::memcpy(&descriptor, CMSG_DATA(control), sizeof descriptor);
        }
    }
    return descriptor;
}

int open_socket() {
    return socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
}

// The child's part: enters the namespaces, makes the socket and hands it over. Only plain system
// calls, because the parent may have other threads. The user namespace may be our own already.
int hand_over_socket(const char* user_path, const char* net_path, int channel) {
    const int user = open(user_path, O_RDONLY | O_CLOEXEC);
    const int net = open(net_path, O_RDONLY | O_CLOEXEC);
    if (net < 0) {
        return errno;
    }
    setns(user, CLONE_NEWUSER);
    if (setns(net, CLONE_NEWNET) != 0) {
        return errno;
    }
    const int made = open_socket();
    if (made < 0) {
        return errno;
    }
    return descriptor_send(channel, made) ? 0 : EIO;
}

// Opens the socket over there through a short-lived child; a socket stays in the namespace that it
// was made in, and no thread of ours ever leaves its own.
bool open_socket_of(DriverSender* sender, std::string& error) {
    const std::string user_path = namespace_path(sender->pid, "user");
    const std::string net_path = namespace_path(sender->pid, "net");
    std::array<int, 2> channel{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel.data()) != 0) {
        return fail("socketpair", errno, error);
    }
    const pid_t child = fork();
    if (child == 0) {
        _exit(hand_over_socket(user_path.c_str(), net_path.c_str(), channel[1]));
    }
    close(channel[1]);
    sender->fd = child > 0 ? descriptor_receive(channel[0]) : -1;
    close(channel[0]);
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (sender->fd < 0) {
        return fail("no netlink socket in " + net_path,
                    child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : EIO, error);
    }
    return true;
}

bool send_record(DriverSender* sender, std::string_view interface, const Bytes& record,
                 std::string& error) {
    return driver_send_stream(
        sender, interface,
        sender->other_byte_order ? with_other_byte_order(record, sender->layout) : record, error);
}

bool send_address(DriverSender* sender, std::string_view interface, std::uint16_t command,
                  const MacAddress& address, std::string& error) {
    return send_record(sender, interface, address_event(sender->layout, command, address), error);
}

bool send_custom(DriverSender* sender, std::string_view interface, std::uint16_t flags,
                 const Bytes& payload, std::string& error) {
    return send_record(sender, interface, custom_event(sender->layout, flags, payload), error);
}

}  // namespace

DriverSender::~DriverSender() {
    driver_close(this);
}

bool driver_open(DriverSender* sender, int pid, std::string& error) {
    driver_close(sender);
    sender->pid = pid;
    if (pid != 0) {
        return open_socket_of(sender, error);
    }
    sender->fd = open_socket();
    return sender->fd >= 0 || fail("netlink socket", errno, error);
}

void driver_close(DriverSender* sender) {
    if (sender->fd >= 0) {
        close(sender->fd);
        sender->fd = -1;
    }
}

int driver_interface_index(const DriverSender& sender, std::string_view interface) {
    ifreq request{};
    const std::size_t length = std::min(interface.size(), sizeof request.ifr_name - 1);
    std::memcpy(request.ifr_name, interface.data(), length);
    // The request goes to the namespace of the socket, not to that of the caller.
    return ioctl(sender.fd, SIOCGIFINDEX, &request) == 0 ? request.ifr_ifindex : 0;
}

bool driver_send(DriverSender* sender, std::span<const std::uint8_t> datagram, std::string& error) {
    sockaddr_nl group{};
    group.nl_family = AF_NETLINK;
    group.nl_groups = RTMGRP_LINK;
    const ssize_t count = sendto(sender->fd, datagram.data(), datagram.size(), 0,
                                 reinterpret_cast<const sockaddr*>(&group), sizeof group);
    return count >= 0 || fail("cannot send to the link group", errno, error);
}

bool driver_send_stream(DriverSender* sender, std::string_view interface,
                        std::span<const std::uint8_t> stream, std::string& error) {
    const int index = driver_interface_index(*sender, interface);
    if (index == 0) {
        return fail("no interface " + std::string(interface), ENODEV, error);
    }
    return driver_send(sender, wireless_message(index, interface, stream), error);
}

bool driver_associated(DriverSender* sender, std::string_view interface, const MacAddress& ap,
                       std::string& error) {
    return send_address(sender, interface, EVENT_AP_ADDRESS, ap, error);
}

bool driver_disassociated(DriverSender* sender, std::string_view interface, std::string& error) {
    return send_address(sender, interface, EVENT_AP_ADDRESS, MacAddress{}, error);
}

bool driver_client_joined(DriverSender* sender, std::string_view interface,
                          const MacAddress& client, std::string& error) {
    return send_address(sender, interface, EVENT_REGISTERED, client, error);
}

bool driver_client_left(DriverSender* sender, std::string_view interface, const MacAddress& client,
                        std::string& error) {
    return send_address(sender, interface, EVENT_EXPIRED, client, error);
}

bool driver_channel_changed(DriverSender* sender, std::string_view interface, std::uint8_t channel,
                            std::string& error) {
    return send_custom(sender, interface, CUSTOM_CHANNEL_CHANGE, channel_payload(channel), error);
}

bool driver_leave_reason(DriverSender* sender, std::string_view interface, std::uint16_t flags,
                         const MacAddress& client, std::uint32_t reason, std::string& error) {
    return send_custom(sender, interface, flags, leave_payload(client, reason), error);
}

}  // namespace lab
