// Driver events in floods: none is lost while the buffer holds them, and what an overrun took is
// asked from the driver.

#include "intake/netlink_filter.h"
#include "intake/netlink_intake.h"
#include "intake/netlink_walk.h"
#include "lab/driver/netlink_sender.h"
#include "lab/tools/state_layout.h"
#include "link/backhaul_status.h"
#include "runtime/runtime_block.h"
#include "tests/harness/table_fixture.h"

#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <random>
#include <string>

namespace {

using harness::file_text;
using lab::EventLayout;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

constexpr mac_address AP = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x01};
constexpr mac_address OTHER_AP = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x02};
constexpr mac_address CLIENT = {0x02, 0xcc, 0x00, 0x00, 0x00, 0x07};
constexpr char LOST[] = "netlink_recv : driver events lost, check the stations";
/// What the daemon asks for, doubled by the kernel.
constexpr int WHOLE_BUFFER = 16 * 1024 * 1024;

class DriverSocket : public harness::TableTest {
protected:
    void SetUp() override {
        TableTest::SetUp();
        ASSERT_TRUE(netlink_open());
        ASSERT_TRUE(lab::driver_open(&driver_, 0, error_)) << error_;
    }
    void TearDown() override {
        // What an overrun left is read to its end: the next test starts anew.
        drain();
        close(runtime.netlink_fd);
        runtime.netlink_fd = -1;
        TableTest::TearDown();
    }

    void sent(bool worked) {
        ASSERT_TRUE(worked) << error_;
    }

    static bool is_readable(int fd) {
        pollfd entry{fd, POLLIN, 0};
        return poll(&entry, 1, 0) == 1;
    }

    /// Receives as the socket thread does, until nothing is readable.
    static void drain() {
        while (is_readable(runtime.netlink_fd)) {
            netlink_recv();
        }
    }

    static int buffer_size() {
        int size = 0;
        socklen_t length = sizeof size;
        getsockopt(runtime.netlink_fd, SOL_SOCKET, SO_RCVBUF, &size, &length);
        return size;
    }

    lab::DriverSender driver_;
    std::string error_;  // of the driver
};

class DriverFlood : public DriverSocket {
protected:
    void SetUp() override {
        DriverSocket::SetUp();
        record_ = intf_add("ath0", BACKHAUL_STA, BAND_5G);
        record_->state = BACKHAUL_READY;
        record_->bssid.set(AP);
        runtime.backhaul_sta_num = 1;
        backhaul_status_write(backhaul_status::ready);
        associated_with(AP);
    }

    void clients_leave(int count) {
        const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
        const auto message =
            lab::wireless_message(lab::driver_interface_index(driver_, "ath1"), "ath1", event);
        for (int i = 0; i < count; ++i) {
            sent(lab::driver_send(&driver_, message, error_));
        }
    }

    /// The buffer holds a handful of events from here on.
    static void buffer_shrink() {
        const int size = 1;
        setsockopt(runtime.netlink_fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    }

    static void associated_with(const mac_address& ap) {
        EXPECT_TRUE(lab::wifi_associated_set("", "ath0", mac_format(ap).data()));
    }
    static void not_associated() {
        EXPECT_TRUE(lab::wifi_not_associated_set("", "ath0"));
    }

    /// The journal without the clients, who are many and of whom the log keeps only the last.
    harness::Journal journal_of_the_station() {
        harness::Journal journal = journal_take();
        std::erase_if(journal, [](const std::string& entry) {
            return entry.rfind("STA_DISASSOC_WITH_AP", 0) == 0 || entry.rfind("STA mac", 0) == 0;
        });
        return journal;
    }

    static std::string status() {
        return file_text("/tmp/backhaul_status");
    }

    intf_record* record_ = nullptr;
};

class DriverFloodOf : public DriverFlood, public testing::WithParamInterface<int> {};

TEST_P(DriverFloodOf, does_not_hide_the_loss_behind_it) {
    // Without the right to force it the buffer is smaller; then the driver is asked.
    const bool holds_all = buffer_size() >= WHOLE_BUFFER;
    clients_leave(GetParam());
    sent(lab::driver_disassociated(&driver_, "ath0", error_));
    if (!holds_all) {
        not_associated();
    }
    ASSERT_EQ(status(), "ready\n");
    drain();
    EXPECT_EQ(status(), "not ready\n");
    EXPECT_EQ(record_->state, CONNECTING_BACKHAUL_AP);
}

INSTANTIATE_TEST_SUITE_P(Clients, DriverFloodOf, testing::Values(2000, 10000));

TEST_F(DriverSocket, has_the_room_that_it_may_have) {
    const int plain = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    const int wanted = WHOLE_BUFFER / 2;
    const bool may_force =
        setsockopt(plain, SOL_SOCKET, SO_RCVBUFFORCE, &wanted, sizeof wanted) == 0;
    setsockopt(plain, SOL_SOCKET, SO_RCVBUF, &wanted, sizeof wanted);
    int allowed = 0;
    socklen_t length = sizeof allowed;
    getsockopt(plain, SOL_SOCKET, SO_RCVBUF, &allowed, &length);
    close(plain);
    EXPECT_EQ(buffer_size(), may_force ? WHOLE_BUFFER : allowed);
}

TEST_F(DriverFlood, that_overruns_the_buffer_lets_the_driver_be_asked) {
    buffer_shrink();
    clients_leave(100);
    sent(lab::driver_disassociated(&driver_, "ath0", error_));
    not_associated();
    netlink_recv();
    const harness::Journal journal = journal_of_the_station();
    ASSERT_GE(journal.size(), 4U);
    EXPECT_THAT(harness::Journal(journal.begin(), journal.begin() + 4),
                ElementsAre(LOST, "STA_CONNECTION_DOWN", "Disconnect with : 02:00:00:00:0a:01",
                            "wifi_slave_event_process : ifname ath0 event 2"));
    EXPECT_EQ(status(), "not ready\n");
    EXPECT_EQ(record_->state, CONNECTING_BACKHAUL_AP);
    drain();
    EXPECT_THAT(journal_of_the_station(), IsEmpty()) << "nothing is said twice";
}

TEST_F(DriverFlood, that_took_nothing_of_a_station_changes_nothing) {
    buffer_shrink();
    clients_leave(100);
    drain();
    EXPECT_THAT(journal_of_the_station(), ElementsAre(LOST));
    EXPECT_EQ(status(), "ready\n");
    EXPECT_EQ(record_->state, BACKHAUL_READY);
}

TEST_F(DriverFlood, changes_nothing_where_the_driver_cannot_be_asked) {
    EXPECT_TRUE(lab::wifi_missing_set("", "ath0"));
    not_associated();
    buffer_shrink();
    clients_leave(100);
    drain();
    EXPECT_THAT(journal_of_the_station(), ElementsAre(LOST));
    EXPECT_EQ(status(), "ready\n");
}

TEST_F(DriverFlood, asks_about_stations_only) {
    record_->type = BACKHAUL_AP;
    not_associated();
    buffer_shrink();
    clients_leave(100);
    drain();
    EXPECT_THAT(journal_of_the_station(), ElementsAre(LOST));
}

TEST_F(DriverFlood, that_took_an_association_connects_the_station) {
    record_->state = CONNECTING_BACKHAUL_AP;
    runtime.backhaul_sta_num = 0;
    associated_with(OTHER_AP);
    buffer_shrink();
    clients_leave(100);
    sent(lab::driver_associated(&driver_, "ath0", OTHER_AP, error_));
    netlink_recv();
    EXPECT_EQ(record_->state, CONNECT_WITH_BACKHAUL_AP);
    EXPECT_EQ(record_->bssid.get(), OTHER_AP);
    EXPECT_THAT(journal_of_the_station(), Contains("Connect with : 02:00:00:00:0a:02"));
}

TEST_F(DriverFlood, that_took_the_end_of_a_switch_ends_the_switch) {
    record_->state = CONNECTING_TARGET_BACKHAUL_AP;
    associated_with(OTHER_AP);
    buffer_shrink();
    clients_leave(100);
    drain();
    EXPECT_EQ(record_->state, BACKHAUL_READY);
    EXPECT_EQ(record_->bssid.get(), OTHER_AP);
}

// After an overrun the kernel takes nothing more in until the queue is empty.
TEST_F(DriverFlood, is_asked_about_once_more_when_what_was_left_of_it_is_read) {
    buffer_shrink();
    clients_leave(100);
    netlink_recv();
    ASSERT_THAT(journal_of_the_station(), ElementsAre(LOST));
    ASSERT_TRUE(is_readable(runtime.netlink_fd));
    not_associated();
    sent(lab::driver_disassociated(&driver_, "ath0", error_));
    drain();
    EXPECT_THAT(journal_of_the_station(), Contains("STA_CONNECTION_DOWN"));
    EXPECT_EQ(status(), "not ready\n");
    // That is over now: nobody asks again.
    associated_with(AP);
    clients_leave(1);
    drain();
    EXPECT_THAT(journal_of_the_station(), IsEmpty());
}

/// Beside the daemon's socket a second one that everything reaches.
class DriverFilter : public DriverSocket {
protected:
    void SetUp() override {
        DriverSocket::SetUp();
        plain_ = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
        sockaddr_nl address{};
        address.nl_family = AF_NETLINK;
        address.nl_groups = 1;
        ASSERT_EQ(bind(plain_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    void TearDown() override {
        close(plain_);
        DriverSocket::TearDown();
    }

    static std::optional<lab::Bytes> received(int fd) {
        lab::Bytes bytes(8192);
        const ssize_t size = recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
        if (size < 0) {
            return std::nullopt;
        }
        bytes.resize(static_cast<size_t>(size));
        return bytes;
    }

    /// Whether the datagram reaches the daemon; it always reaches the second socket.
    bool passes(const lab::Bytes& datagram) {
        EXPECT_TRUE(lab::driver_send(&driver_, datagram, error_)) << error_;
        EXPECT_TRUE(received(plain_).has_value());
        return received(runtime.netlink_fd).has_value();
    }

    static lab::Bytes wireless() {
        return lab::wireless_message(
            1, "ath0", lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT));
    }
    static lab::Bytes plain_link() {
        const lab::Bytes name = {'a', 't', 'h', '0', 0};
        return lab::link_message(lab::MESSAGE_NEW_LINK, 1,
                                 lab::route_attribute(lab::ATTRIBUTE_NAME, name));
    }

    int plain_ = -1;
};

/// What the daemon finds in a datagram: the payloads of all wireless attributes.
size_t wireless_attributes(std::span<const uint8_t> batch) {
    size_t found = 0;
    netlink_message message;
    while (netlink_message_next(batch, message)) {
        link_attribute attribute;
        while (link_attribute_next(message.attributes, attribute)) {
            found += attribute.type == LINK_ATTRIBUTE_WIRELESS ? 1 : 0;
        }
    }
    return found;
}

TEST_F(DriverFilter, keeps_out_single_messages_without_wireless_data) {
    EXPECT_TRUE(passes(wireless()));
    EXPECT_FALSE(passes(plain_link()));
    lab::Bytes other = wireless();
    other[4] = 17;
    EXPECT_FALSE(passes(other)) << "a removed link";
    EXPECT_FALSE(passes(lab::cut_to(wireless(), 20)));
}

TEST_F(DriverFilter, lets_in_what_may_hold_several_messages) {
    EXPECT_TRUE(passes(lab::joined({plain_link(), wireless()})));
    EXPECT_TRUE(passes(lab::joined({wireless(), plain_link()})));
    lab::Bytes other = wireless();
    other[4] = 17;
    EXPECT_TRUE(passes(lab::joined({other, wireless()})));
    // 17 bytes and their padding before the one that counts.
    lab::Bytes odd = lab::cut_to(other, 20);
    odd[0] = 17;
    EXPECT_TRUE(passes(lab::joined({odd, wireless()})));
    // Longer than a length's lower half tells.
    lab::Bytes large = plain_link();
    large.resize(70000);
    const uint32_t length = 69000;
    std::memcpy(large.data(), &length, sizeof length);
    EXPECT_TRUE(passes(large));
}

// Sent to nobody but us: to the kernel some of these would be requests.
TEST_F(DriverFilter, never_keeps_out_what_the_walk_would_find) {
    std::array<int, 2> pair{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, pair.data()), 0);
    const auto steps = netlink_filter();
    const sock_fprog program{static_cast<uint16_t>(steps.size()),
                             const_cast<sock_filter*>(steps.data())};
    ASSERT_EQ(setsockopt(pair[0], SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program), 0);
    std::mt19937 random(4711);
    const auto below = [&random](size_t limit) {
        return random() % limit;
    };
    const lab::Bytes blocks[] = {wireless(), plain_link(), lab::cut_to(wireless(), 16),
                                 lab::cut_to(wireless(), 36), lab::Bytes(3, 0)};
    int with_events = 0;
    int kept_out = 0;
    for (int round = 0; round < 20000; ++round) {
        lab::Bytes datagram;
        for (size_t parts = 1 + below(3); parts > 0; --parts) {
            datagram = lab::joined({datagram, blocks[below(std::size(blocks))]});
        }
        for (size_t changes = below(4); changes > 0; --changes) {
            // Lengths and types of messages and attributes are small numbers.
            datagram[below(datagram.size())] = static_cast<uint8_t>(below(80));
        }
        const bool has_events = wireless_attributes(datagram) > 0;
        ASSERT_GT(send(pair[1], datagram.data(), datagram.size(), 0), 0);
        const bool passed = received(pair[0]).has_value();
        ASSERT_TRUE(passed || !has_events) << testing::PrintToString(datagram);
        with_events += has_events ? 1 : 0;
        kept_out += passed ? 0 : 1;
    }
    EXPECT_GT(with_events, 1000);
    EXPECT_GT(kept_out, 1000);
    close(pair[0]);
    close(pair[1]);
}

}  // namespace
