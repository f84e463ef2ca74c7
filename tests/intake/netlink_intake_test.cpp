// The routing-netlink socket, and what each driver event does.

#include "intake/netlink_intake.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/netlink.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <initializer_list>
#include <string>

#include "lab/driver/netlink_sender.h"
#include "lab/driver/wireless_event.h"
#include "runtime/runtime_block.h"
#include "tests/harness/table_fixture.h"

namespace {

using lab::EventLayout;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr mac_address AP = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x01};
constexpr mac_address CLIENT = {0x02, 0xcc, 0x00, 0x00, 0x00, 0x07};

/// A state whose events the dispatcher takes note of and nothing more.
constexpr int32_t QUIET_STATE = 6;

class NetlinkSocket : public harness::TableTest {
protected:
    /// What netlink_open prints in a child after `prepare`, with its result and the descriptor.
    static std::string open_in_child(const std::function<void()>& prepare) {
        harness::exit_code(
            [&] {
                prepare();
                const bool result = netlink_open();
                // Not printed but written: what came before must be out already.
                dprintf(STDOUT_FILENO, "|%d|%d", result ? 1 : 0, runtime.netlink_fd);
            },
            harness::WHOLE_OUT);
        return harness::file_text("/tmp/out");
    }
};

TEST_F(NetlinkSocket, is_raw_in_the_link_group_and_closed_on_exec) {
    ASSERT_TRUE(netlink_open());
    sockaddr_nl address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(getsockname(runtime.netlink_fd, reinterpret_cast<sockaddr*>(&address), &length), 0);
    EXPECT_EQ(address.nl_family, AF_NETLINK);
    EXPECT_EQ(address.nl_groups, 1U);
    int value = 0;
    length = sizeof value;
    getsockopt(runtime.netlink_fd, SOL_SOCKET, SO_TYPE, &value, &length);
    EXPECT_EQ(value, SOCK_RAW);
    getsockopt(runtime.netlink_fd, SOL_SOCKET, SO_PROTOCOL, &value, &length);
    EXPECT_EQ(value, 0);
    EXPECT_NE(fcntl(runtime.netlink_fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(NetlinkSocket, says_without_a_line_end_that_it_cannot_be_made) {
    EXPECT_EQ(open_in_child([] { static const harness::DescriptorsRefused refused; }),
              "netlink: Failed to open netlink socket: Too many open files|0|-1");
}

TEST_F(NetlinkSocket, is_closed_again_when_it_cannot_be_bound) {
    EXPECT_EQ(open_in_child(harness::binds_refuse),
              "netlink: Failed to bind netlink socket: Permission denied|0|-1");
}

class DriverMessage : public NetlinkSocket {
protected:
    void SetUp() override {
        TableTest::SetUp();
        ASSERT_TRUE(netlink_open());
        ASSERT_TRUE(lab::driver_open(&driver_, 0, error_)) << error_;
        index_ = lab::driver_interface_index(driver_, "ath0");
        ASSERT_GT(index_, 0);
    }

    void sent(bool worked) {
        EXPECT_TRUE(worked) << error_;
    }

    lab::DriverSender driver_;
    std::string error_;  // of the driver
    int index_ = 0;
};

TEST_F(DriverMessage, reaches_the_record_of_its_interface) {
    intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    record->state = static_cast<link_state>(QUIET_STATE);
    sent(lab::driver_associated(&driver_, "ath0", AP, error_));
    netlink_recv();
    expect_journal({{"STA_CONNECTION_UP", "Connect with : 02:00:00:00:0a:01",
                     "wifi_slave_event_process : ifname ath0 event 1"}});
    EXPECT_EQ(record->bssid.get(), AP);
}

TEST_F(DriverMessage, is_understood_with_a_padded_header_too) {
    intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    record->state = static_cast<link_state>(QUIET_STATE);
    driver_.layout = EventLayout::padded;
    sent(lab::driver_associated(&driver_, "ath0", AP, error_));
    netlink_recv();
    EXPECT_EQ(record->bssid.get(), AP);
    sent(lab::driver_disassociated(&driver_, "ath0", error_));
    netlink_recv();
    expect_journal({{"STA_CONNECTION_UP", "Connect with : 02:00:00:00:0a:01",
                     "wifi_slave_event_process : ifname ath0 event 1", "STA_CONNECTION_DOWN",
                     "Disconnect with : 02:00:00:00:0a:01",
                     "wifi_slave_event_process : ifname ath0 event 2"}});
}

TEST_F(DriverMessage, is_read_one_datagram_at_a_time_without_blocking) {
    sent(lab::driver_client_left(&driver_, "ath0", CLIENT, error_));
    sent(lab::driver_client_left(&driver_, "ath1", CLIENT, error_));
    netlink_recv();
    expect_journal({{"STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07"}});
    netlink_recv();
    expect_journal({{"STA_DISASSOC_WITH_AP(ath1)", "STA mac : 02:cc:00:00:00:07"}});
    netlink_recv();
    expect_journal({});
}

TEST_F(DriverMessage, is_handled_with_all_others_of_its_batch_in_order) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    const int other = lab::driver_interface_index(driver_, "ath1");
    sent(lab::driver_send(&driver_,
                          lab::joined({lab::wireless_message(other, "ath1", event),
                                       lab::wireless_message(index_, "ath0", event)}),
                          error_));
    netlink_recv();
    expect_journal({{"STA_DISASSOC_WITH_AP(ath1)", "STA mac : 02:cc:00:00:00:07",
                     "STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(DriverMessage, is_handled_as_far_as_it_fits_8192_bytes) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    const lab::Bytes one = lab::wireless_message(index_, "ath0", event);
    lab::Bytes batch;
    while (batch.size() + one.size() <= 9000) {
        batch = lab::joined({batch, one});
    }
    sent(lab::driver_send(&driver_, batch, error_));
    netlink_recv();
    EXPECT_EQ(journal_take().size(), 8192 / one.size() * 2);
    netlink_recv();
    EXPECT_THAT(journal_take(), IsEmpty()) << "the rest of the datagram is gone";
}

TEST_F(DriverMessage, of_another_type_is_passed_over) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    const auto attribute = lab::route_attribute(lab::ATTRIBUTE_WIRELESS, event);
    sent(
        lab::driver_send(&driver_,
                         lab::joined({lab::link_message(lab::MESSAGE_DEL_LINK, index_, attribute),
                                      lab::link_message(lab::MESSAGE_NEW_LINK, index_, attribute)}),
                         error_));
    netlink_recv();
    expect_journal({{"STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(DriverMessage, of_an_index_without_a_name_is_logged_and_nothing_else) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    sent(lab::driver_send(&driver_, lab::wireless_message(99999, "ath0", event), error_));
    netlink_recv();
    expect_journal({{"netlink_msg_process : ifname is emplty, ignore this event"}});
}

TEST_F(DriverMessage, may_hold_several_wireless_attributes_among_others) {
    const auto wireless =
        lab::route_attribute(lab::ATTRIBUTE_WIRELESS,
                             lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT));
    const lab::Bytes text = {'x', 0, 0};
    const auto attributes = lab::joined({lab::route_attribute(lab::ATTRIBUTE_NAME, text), wireless,
                                         lab::route_attribute(12, text), wireless});
    netlink_msg_process(index_, attributes);
    expect_journal({{"STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07",
                     "STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(DriverMessage, ends_at_an_attribute_whose_length_does_not_fit) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    const auto wireless = lab::route_attribute(lab::ATTRIBUTE_WIRELESS, event);
    for (const uint16_t length : std::initializer_list<uint16_t>{0, 3, 200}) {
        netlink_msg_process(
            index_,
            lab::joined({wireless,
                         lab::route_attribute_saying(length, lab::ATTRIBUTE_WIRELESS, event),
                         wireless}));
        EXPECT_EQ(journal_take().size(), 2U) << length;
    }
}

TEST_F(DriverMessage, is_dropped_when_its_own_length_does_not_fit) {
    const auto event = lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    lab::Bytes message = lab::wireless_message(index_, "ath0", event);
    message[0] = 15;
    sent(lab::driver_send(&driver_, message, error_));
    netlink_recv();
    expect_journal({});
}

class WirelessEventProcess : public harness::TableTest {
protected:
    /// Handles records as one attribute's payload for the interface `name`.
    static void process(const lab::Bytes& stream, const char* name) {
        wireless_event_process(stream, name);
    }
    static lab::Bytes up() {
        return lab::associated_event(EventLayout::packed, AP);
    }
    static lab::Bytes down() {
        return lab::disassociated_event(EventLayout::packed);
    }
    static lab::Bytes left() {
        return lab::address_event(EventLayout::packed, lab::EVENT_EXPIRED, CLIENT);
    }
    static lab::Bytes channel(uint8_t number) {
        return lab::custom_event(EventLayout::packed, 28, lab::channel_payload(number));
    }
};

TEST_F(WirelessEventProcess, posts_the_loss_and_shows_the_ap_that_was_lost) {
    intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    record->state = static_cast<link_state>(QUIET_STATE);
    record->bssid.set(AP);
    process(down(), "ath0");
    expect_journal({{"STA_CONNECTION_DOWN", "Disconnect with : 02:00:00:00:0a:01",
                     "wifi_slave_event_process : ifname ath0 event 2"}});
    EXPECT_EQ(record->bssid.get(), AP) << "the address stays";
}

TEST_F(WirelessEventProcess, ignores_a_loss_while_it_moves_to_the_target_ap) {
    intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    record->state = CONNECTING_TARGET_BACKHAUL_AP;
    record->bssid.set(AP);
    process(down(), "ath0");
    expect_journal({{"STA_CONNECTION_DOWN", "Disconnect with : 02:00:00:00:0a:01",
                     "wireless_event_process : Under CONNECTING_TARGET_BACKHAUL_AP, ignore "
                     "AP_DISASSOC"}});
    EXPECT_EQ(record->state, 5);
}

TEST_F(WirelessEventProcess, posts_for_a_record_of_any_type) {
    intf_record* const record = intf_add("ath20", BACKHAUL_AP, BAND_5G);
    process(up(), "ath20");
    expect_journal(
        {{"STA_CONNECTION_UP", "Connect with : 02:00:00:00:0a:01",
          "wifi_slave_event_process : ifname ath20 event 1", "wifi_slave_event_process : INIT"}});
    EXPECT_EQ(record->bssid.get(), AP);
}

TEST_F(WirelessEventProcess, stops_at_a_connect_of_an_unknown_interface) {
    process(lab::joined({up(), left()}), "ath0");
    expect_journal({{"STA_CONNECTION_UP"}});
}

TEST_F(WirelessEventProcess, goes_on_after_a_loss_of_an_unknown_interface) {
    process(lab::joined({down(), left()}), "ath0");
    expect_journal(
        {{"STA_CONNECTION_DOWN", "STA_DISASSOC_WITH_AP(ath0)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(WirelessEventProcess, stops_at_a_channel_change_of_an_unknown_interface) {
    process(lab::joined({channel(36), left()}), "ath0");
    EXPECT_THAT(journal_take(), ElementsAre("CHANNEL_CHANGE(ath0)")) << "no monitor run either";
}

TEST_F(WirelessEventProcess, clears_a_new_client_from_the_list_of_every_node) {
    for (const lab::Bytes& event :
         {lab::address_event(EventLayout::packed, lab::EVENT_REGISTERED, CLIENT),
          lab::custom_event(EventLayout::packed, 21, lab::client_payload(CLIENT)),
          lab::custom_event(EventLayout::packed, 22, lab::client_payload(CLIENT))}) {
        process(event, "ath20");
        expect_journal({{"STA_ASSOC_WITH_AP(ath20)", "STA mac : 02:cc:00:00:00:07",
                         "device_kick_wifi_client : request to clear 02:cc:00:00:00:07 from wifi "
                         "list",
                         "$ vl1905App 33 00:00:00:00:00:00 02:cc:00:00:00:07"}});
    }
}

TEST_F(WirelessEventProcess, logs_a_leaving_client_and_nothing_else) {
    process(left(), "ath20");
    expect_journal({{"STA_DISASSOC_WITH_AP(ath20)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(WirelessEventProcess, logs_why_a_client_left) {
    process(lab::joined({
                lab::custom_event(EventLayout::packed, 20, lab::leave_payload(CLIENT, 8)),
                lab::custom_event(EventLayout::packed, 19, lab::leave_payload(CLIENT, 3)),
                lab::custom_event(EventLayout::packed, 33, lab::leave_payload(CLIENT, 0)),
                lab::custom_event(EventLayout::packed, 14, lab::leave_payload(AP, 0xffffffff)),
            }),
            "ath20");
    expect_journal(
        {{"STA 02:cc:00:00:00:07 disassociated(IEEE80211_EV_DISASSOC_IND_AP), reason "
          "code 8",
          "STA 02:cc:00:00:00:07 disassociated(IEEE80211_EV_DEAUTH_IND_AP), reason "
          "code 3",
          "STA 02:cc:00:00:00:07 disassociated(IEEE80211_EV_DISASSOC_COMPLETE_AP), "
          "reason code 0",
          "STA 02:00:00:00:0a:01 disassociated(IEEE80211_EV_DISASSOC_COMPLETE_STA), "
          "reason code -1"}});
}

TEST_F(WirelessEventProcess, checks_for_radar_on_a_backhaul_ap_before_the_channel_is_stored) {
    intf_record* const record = intf_add("ath20", BACKHAUL_AP, BAND_5G);
    record->channel = 36;
    process(channel(149), "ath20");
    expect_journal({{"CHANNEL_CHANGE(ath20)", "$ wifi_channel_monitor once",
                     "backhaul_dfs_check : intf->channel 36 channel 149",
                     "backhaul_dfs_check : dfs_count 1 state 0"}});
    EXPECT_EQ(record->channel, 149);
}

TEST_F(WirelessEventProcess, runs_only_the_monitor_for_another_type) {
    intf_record* const record = intf_add("ath20", BACKHAUL_STA, BAND_5G);
    record->channel = 36;
    process(channel(149), "ath20");
    expect_journal({{"CHANNEL_CHANGE(ath20)", "$ wifi_channel_monitor once"}});
    EXPECT_EQ(record->channel, 149);
    EXPECT_EQ(record->dfs_count, 0);
}

TEST_F(WirelessEventProcess, handles_the_events_of_one_attribute_in_order) {
    intf_record* const record = intf_add("ath0", BACKHAUL_STA, BAND_5G);
    record->state = static_cast<link_state>(QUIET_STATE);
    process(lab::joined({down(), channel(44), up(), left()}), "ath0");
    expect_journal(
        {{"STA_CONNECTION_DOWN", "Disconnect with : 00:00:00:00:00:00",
          "wifi_slave_event_process : ifname ath0 event 2", "CHANNEL_CHANGE(ath0)",
          "$ wifi_channel_monitor once", "STA_CONNECTION_UP", "Connect with : 02:00:00:00:0a:01",
          "wifi_slave_event_process : ifname ath0 event 1", "STA_DISASSOC_WITH_AP(ath0)",
          "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(WirelessEventProcess, passes_over_events_that_mean_nothing_here) {
    process(lab::joined({lab::point_event(EventLayout::packed, lab::EVENT_GENERIC_IE, 0,
                                          lab::client_payload(CLIENT)),
                         lab::custom_event(EventLayout::packed, 99, lab::client_payload(CLIENT)),
                         left()}),
            "ath20");
    expect_journal({{"STA_DISASSOC_WITH_AP(ath20)", "STA mac : 02:cc:00:00:00:07"}});
}

TEST_F(WirelessEventProcess, ends_at_a_record_that_does_not_advance_or_does_not_fit) {
    for (const uint16_t length : std::initializer_list<uint16_t>{0, 4, 41}) {
        process(lab::joined({left(), lab::with_length(left(), length), left()}), "ath20");
        EXPECT_EQ(journal_take().size(), 2U) << length;
    }
}

TEST_F(WirelessEventProcess, ignores_an_end_too_short_for_a_record) {
    for (size_t size = 0; size < 5; ++size) {
        process(lab::joined({left(), lab::cut_to(left(), size)}), "ath20");
        EXPECT_EQ(journal_take().size(), 2U) << size;
    }
}

}  // namespace
