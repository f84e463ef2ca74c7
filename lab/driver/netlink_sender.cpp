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

constexpr long LOOK_INTERVAL_NS = 2'000'000;

int fail(DriverSender* sender, const std::string& what, int number) {
    sender->error = what + ": " + std::strerror(number);
    return -1;
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
int open_socket_of(DriverSender* sender) {
    const std::string user_path = namespace_path(sender->pid, "user");
    const std::string net_path = namespace_path(sender->pid, "net");
    std::array<int, 2> channel{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, channel.data()) != 0) {
        return fail(sender, "socketpair", errno);
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
        return fail(sender, "no netlink socket in " + net_path,
                    child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : EIO);
    }
    return 0;
}

std::int64_t now_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

int send_record(DriverSender* sender, std::string_view interface, const Bytes& record) {
    return driver_send_stream(
        sender, interface,
        sender->other_byte_order ? with_other_byte_order(record, sender->layout) : record);
}

int send_address(DriverSender* sender, std::string_view interface, std::uint16_t command,
                 const MacAddress& address) {
    return send_record(sender, interface, address_event(sender->layout, command, address));
}

int send_custom(DriverSender* sender, std::string_view interface, std::uint16_t flags,
                const Bytes& payload) {
    return send_record(sender, interface, custom_event(sender->layout, flags, payload));
}

}  // namespace

DriverSender::~DriverSender() {
    driver_close(this);
}

int driver_open(DriverSender* sender, int pid) {
    driver_close(sender);
    sender->pid = pid;
    if (pid != 0) {
        return open_socket_of(sender);
    }
    sender->fd = open_socket();
    return sender->fd < 0 ? fail(sender, "netlink socket", errno) : 0;
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

int driver_send(DriverSender* sender, std::span<const std::uint8_t> datagram) {
    sockaddr_nl group{};
    group.nl_family = AF_NETLINK;
    group.nl_groups = RTMGRP_LINK;
    const ssize_t count = sendto(sender->fd, datagram.data(), datagram.size(), 0,
                                 reinterpret_cast<const sockaddr*>(&group), sizeof group);
    return count < 0 ? fail(sender, "cannot send to the link group", errno) : 0;
}

int driver_send_stream(DriverSender* sender, std::string_view interface,
                       std::span<const std::uint8_t> stream) {
    const int index = driver_interface_index(*sender, interface);
    if (index == 0) {
        return fail(sender, "no interface " + std::string(interface), ENODEV);
    }
    return driver_send(sender, wireless_message(index, interface, stream));
}

int driver_associated(DriverSender* sender, std::string_view interface, const MacAddress& ap) {
    return send_address(sender, interface, EVENT_AP_ADDRESS, ap);
}

int driver_disassociated(DriverSender* sender, std::string_view interface) {
    return send_address(sender, interface, EVENT_AP_ADDRESS, MacAddress{});
}

int driver_client_joined(DriverSender* sender, std::string_view interface,
                         const MacAddress& client) {
    return send_address(sender, interface, EVENT_REGISTERED, client);
}

int driver_client_left(DriverSender* sender, std::string_view interface, const MacAddress& client) {
    return send_address(sender, interface, EVENT_EXPIRED, client);
}

int driver_channel_changed(DriverSender* sender, std::string_view interface, std::uint8_t channel) {
    return send_custom(sender, interface, CUSTOM_CHANNEL_CHANGE, channel_payload(channel));
}

int driver_leave_reason(DriverSender* sender, std::string_view interface, std::uint16_t flags,
                        const MacAddress& client, std::uint32_t reason) {
    return send_custom(sender, interface, flags, leave_payload(client, reason));
}

int driver_listener_count(const DriverSender& sender) {
    const std::string owner = sender.pid == 0 ? "thread-self" : std::to_string(sender.pid);
    const std::unique_ptr<FILE, int (*)(FILE*)> table(
        std::fopen(("/proc/" + owner + "/net/netlink").c_str(), "re"), std::fclose);
    int count = 0;
    std::array<char, 256> line{};
    while (table && std::fgets(line.data(), line.size(), table.get()) != nullptr) {
        int protocol = -1;
        unsigned groups = 0;
        if (std::sscanf(line.data(), "%*s %d %*u %x", &protocol, &groups) == 2 &&
            protocol == NETLINK_ROUTE && (groups & RTMGRP_LINK) != 0) {
            ++count;
        }
    }
    return count;
}

int driver_wait_for_listener(DriverSender* sender, int count, int timeout_ms) {
    const std::int64_t deadline = now_ms() + timeout_ms;
    int found = driver_listener_count(*sender);
    while (found < count && now_ms() < deadline) {
        const timespec pause{0, LOOK_INTERVAL_NS};
        nanosleep(&pause, nullptr);
        found = driver_listener_count(*sender);
    }
    if (found < count) {
        sender->error = std::to_string(found) + " listeners in the link group after " +
                        std::to_string(timeout_ms) + " ms, wanted " + std::to_string(count);
        return -1;
    }
    return 0;
}

}  // namespace lab
