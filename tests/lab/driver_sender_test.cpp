// Events on a real netlink socket, in a network namespace of their own.
#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <optional>
#include <string>

#include "lab/driver/netlink_sender.h"
#include "lab/sandbox/sandbox.h"
#include "tests/harness/child.h"

namespace {

using lab::Bytes;
using testing::HasSubstr;

constexpr lab::MacAddress AP = {0x02, 0x00, 0x00, 0x00, 0x0A, 0x01};
constexpr int PATIENCE_MS = 10000;

// Enters a network namespace, an ordinary user as root of a user namespace too: `ip` has its
// rights from being root, and loses them otherwise.
bool network_enter() {
    if (unshare(CLONE_NEWNET) == 0) {
        return true;
    }
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    std::string error;
    return unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && lab::user_namespace_root(uid, gid, error);
}

// The child's part: own namespaces, an interface, a listening socket; every datagram that comes
// from another process is handed to the test.
[[noreturn]] void router(int to_test) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const bool entered = network_enter();
    const int listener = socket(AF_NETLINK, SOCK_RAW, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = 1;
    if (!entered || std::system("ip link add ath0 type bridge") != 0 ||
        bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        _exit(1);
    }
    (void)!write(to_test, "up", 2);
    for (;;) {
        std::array<char, 8192> datagram;
        sockaddr_nl sender{};
        socklen_t size = sizeof sender;
        const ssize_t count = recvfrom(listener, datagram.data(), datagram.size(), 0,
                                       reinterpret_cast<sockaddr*>(&sender), &size);
        if (count >= 0 && sender.nl_pid != 0) {
            (void)!write(to_test, datagram.data(), static_cast<std::size_t>(count));
        }
    }
}

class DriverSenderTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> channel{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, channel.data()), 0);
        node.emplace([&channel] { router(channel[1]); });
        close(channel[1]);
        from_node = channel[0];
        ASSERT_EQ(received(), (Bytes{'u', 'p'}))
            << "no network namespace with an interface: needs root or user namespaces, and ip";
        ASSERT_TRUE(lab::driver_open(&sender, node->pid(), error)) << error;
    }

    void TearDown() override {
        close(from_node);
        node.reset();
    }

    // The next datagram that the node's listener got, empty when none came in time.
    Bytes received() const {
        pollfd readable{from_node, POLLIN, 0};
        Bytes datagram(8192, 0);
        if (poll(&readable, 1, PATIENCE_MS) != 1) {
            return {};
        }
        const ssize_t count = recv(from_node, datagram.data(), datagram.size(), 0);
        datagram.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return datagram;
    }

    Bytes stream_for_ath0(const Bytes& stream) const {
        return lab::wireless_message(lab::driver_interface_index(sender, "ath0"), "ath0", stream);
    }

    std::optional<harness::Child> node;
    std::string error;
    int from_node = -1;
    lab::DriverSender sender;
};

TEST_F(DriverSenderTest, reaches_a_socket_of_the_link_group_in_the_nodes_namespace) {
    ASSERT_TRUE(lab::driver_associated(&sender, "ath0", AP, error)) << error;
    EXPECT_EQ(received(), stream_for_ath0(lab::associated_event(lab::EventLayout::packed, AP)));
}

TEST_F(DriverSenderTest, uses_the_index_that_the_interface_has_in_that_namespace) {
    const int index = lab::driver_interface_index(sender, "ath0");
    EXPECT_GT(index, 1) << "behind lo";
    EXPECT_EQ(lab::driver_interface_index(sender, "ath9"), 0);
    lab::driver_disassociated(&sender, "ath0", error);
    const Bytes message = received();
    ASSERT_GE(message.size(), 32U);
    EXPECT_EQ(message[20], index);
}

TEST_F(DriverSenderTest, sends_every_kind_of_event_in_the_order_of_the_calls) {
    const auto layout = lab::EventLayout::padded;
    sender.layout = layout;
    lab::driver_associated(&sender, "ath0", AP, error);
    lab::driver_disassociated(&sender, "ath0", error);
    lab::driver_client_joined(&sender, "ath0", AP, error);
    lab::driver_client_left(&sender, "ath0", AP, error);
    lab::driver_channel_changed(&sender, "ath0", 52, error);
    lab::driver_leave_reason(&sender, "ath0", lab::CUSTOM_DEAUTH_IND_AP, AP, 3, error);
    EXPECT_EQ(received(), stream_for_ath0(lab::associated_event(layout, AP)));
    EXPECT_EQ(received(), stream_for_ath0(lab::disassociated_event(layout)));
    EXPECT_EQ(received(), stream_for_ath0(lab::address_event(layout, lab::EVENT_REGISTERED, AP)));
    EXPECT_EQ(received(), stream_for_ath0(lab::address_event(layout, lab::EVENT_EXPIRED, AP)));
    EXPECT_EQ(received(), stream_for_ath0(lab::custom_event(layout, 28, lab::channel_payload(52))));
    EXPECT_EQ(received(),
              stream_for_ath0(lab::custom_event(layout, 19, lab::leave_payload(AP, 3))));
}

TEST_F(DriverSenderTest, sends_a_broken_datagram_as_it_is) {
    const Bytes broken = {1, 2, 3};
    ASSERT_TRUE(lab::driver_send(&sender, broken, error)) << error;
    EXPECT_EQ(received(), broken);
}

TEST_F(DriverSenderTest, refuses_an_interface_that_the_namespace_lacks) {
    EXPECT_FALSE(lab::driver_associated(&sender, "ath9", AP, error));
    EXPECT_THAT(error, HasSubstr("no interface ath9"));
}

TEST_F(DriverSenderTest, leaves_the_caller_in_its_own_namespace) {
    std::array<char, 64> before{};
    std::array<char, 64> after{};
    ASSERT_GT(readlink("/proc/self/ns/net", before.data(), before.size() - 1), 0);
    lab::DriverSender again;
    ASSERT_TRUE(lab::driver_open(&again, node->pid(), error)) << error;
    ASSERT_GT(readlink("/proc/self/ns/net", after.data(), after.size() - 1), 0);
    EXPECT_STREQ(before.data(), after.data());
}

TEST_F(DriverSenderTest, tells_why_it_cannot_open_a_socket_of_no_process) {
    lab::DriverSender nowhere;
    EXPECT_FALSE(lab::driver_open(&nowhere, 4194303, error));
    EXPECT_EQ(error, "no netlink socket in /proc/4194303/ns/net: No such file or directory");
}

}  // namespace
