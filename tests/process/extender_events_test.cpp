// Driver events as they come from the kernel: both layouts, broken
// lengths, and the events that are no links.

#include <cstring>

#include "lab/driver/netlink_sender.h"
#include "lab/driver/wireless_event.h"
#include "tests/process/extender_story.h"

namespace {

using lab::Bytes;
using lab::EventLayout;

constexpr EventLayout PACKED = EventLayout::packed;
constexpr EventLayout PADDED = EventLayout::padded;

constexpr char CLIENT_TEXT[] = "02:cc:00:00:00:07";
const lab::MacAddress CLIENT = lab::mac_from_text(CLIENT_TEXT);

class ExtenderEvents : public ExtenderStory {
protected:
    /// In the pause of the start: the dispatcher only takes note of events.
    void start_idle() {
        start_extender();
        skip();
    }

    void send_stream(const std::string& interface, const Bytes& stream,
                     Where where = Where::current()) {
        std::string error;
        if (!lab::driver_send_stream(&driver().sender(), interface, stream, error)) {
            harness::fail_at(where, error);
        }
    }

    void send(const Bytes& datagram, Where where = Where::current()) {
        std::string error;
        if (!lab::driver_send(&driver().sender(), datagram, error)) {
            harness::fail_at(where, error);
        }
    }

    int index_of(const std::string& interface) {
        return lab::driver_interface_index(driver().sender(), interface);
    }

    static Lines client_left(const std::string& interface) {
        return {"STA_DISASSOC_WITH_AP(" + interface + ")", std::string("STA mac : ") + CLIENT_TEXT};
    }

    static Lines client_joined(const std::string& interface) {
        return {"STA_ASSOC_WITH_AP(" + interface + ")", std::string("STA mac : ") + CLIENT_TEXT,
                std::string("device_kick_wifi_client : request to clear ") + CLIENT_TEXT +
                    " from wifi list",
                std::string("$ vl1905App 33 00:00:00:00:00:00 ") + CLIENT_TEXT};
    }

    static Bytes left_event(EventLayout layout = PACKED) {
        return lab::address_event(layout, lab::EVENT_EXPIRED, CLIENT);
    }

    static Lines ignored_loss(const std::string& station) {
        return joined({driver_down(station, "00:00:00:00:00:00"), state_line("INIT")});
    }
};

TEST_F(ExtenderEvents, understands_the_padded_layout_of_a_64_bit_kernel) {
    start_extender();
    advance(10);
    driver().sender().layout = PADDED;
    skip();
    driver().associated("ath0", ap(1));
    expect_journal(first_link("ath0", ap(1)));
    driver().channel("ath10", 149);
    expect_journal({"CHANNEL_CHANGE(ath10)", "$ wifi_channel_monitor once"});
    driver().leave_reason("ath10", lab::CUSTOM_DEAUTH_IND_AP, CLIENT_TEXT, 8);
    expect_journal(
        {"STA 02:cc:00:00:00:07 disassociated(IEEE80211_EV_DEAUTH_IND_AP), reason "
         "code 8"});
    send_stream("ath20", lab::joined({lab::address_event(PADDED, lab::EVENT_REGISTERED, CLIENT),
                                      lab::custom_event(PADDED, lab::CUSTOM_CLIENT_JOINED,
                                                        lab::client_payload(CLIENT)),
                                      left_event(PADDED)}));
    expect_journal(joined({client_joined("ath20"), client_joined("ath20"), client_left("ath20")}));
    driver().lost("ath0");
    expect_journal({"STA_CONNECTION_DOWN", "Disconnect with : " + ap(1), "..."});
}

TEST_F(ExtenderEvents, checks_for_radar_on_the_backhaul_ap_only) {
    start_idle();
    driver().channel("ath10", 36);
    driver().channel("ath10", 40);
    driver().channel("ath0", 44);
    expect_journal({"CHANNEL_CHANGE(ath10)", "$ wifi_channel_monitor once", "CHANNEL_CHANGE(ath10)",
                    "$ wifi_channel_monitor once", "CHANNEL_CHANGE(ath0)",
                    "$ wifi_channel_monitor once"});
    driver().channel("ath20", 100);
    driver().channel("ath20", 100);
    driver().channel("ath20", 116);
    expect_journal({"CHANNEL_CHANGE(ath20)", "$ wifi_channel_monitor once",
                    "backhaul_dfs_check : intf->channel 0 channel 100", "CHANNEL_CHANGE(ath20)",
                    "$ wifi_channel_monitor once",
                    "backhaul_dfs_check : intf->channel 100 channel 100", "CHANNEL_CHANGE(ath20)",
                    "$ wifi_channel_monitor once",
                    "backhaul_dfs_check : intf->channel 100 channel 116",
                    "backhaul_dfs_check : dfs_count 1 state 0"});
}

TEST_F(ExtenderEvents, neither_spins_nor_dies_on_broken_records) {
    start_idle();
    const pid_t worker = router().daemon().worker();
    const Bytes event = left_event();
    for (const int length : {0, 1, 3, 4, 5, 7, 8, 11, 19, 21, 24, 0x7FFF, 0xFFFF}) {
        send_stream("ath10",
                    lab::joined({lab::with_length(event, static_cast<std::uint16_t>(length)),
                                 left_event()}));
    }
    for (size_t size = 0; size < event.size(); ++size) {
        send_stream("ath10", lab::cut_to(event, size));
    }
    const Bytes custom = lab::custom_event(PACKED, lab::CUSTOM_DEAUTH_IND_AP, Bytes(3000, 0xEE));
    send_stream("ath10", custom);
    send_stream("ath10", lab::cut_to(custom, 100));
    skip();
    driver().client_left("ath10", CLIENT_TEXT);
    expect_journal(client_left("ath10"));
    EXPECT_EQ(router().daemon().worker(), worker);
}

TEST_F(ExtenderEvents, neither_spins_nor_dies_on_broken_messages_and_attributes) {
    start_idle();
    const pid_t worker = router().daemon().worker();
    const int index = index_of("ath10");
    const Bytes whole = lab::wireless_message(index, "ath10", left_event());
    const auto saying = [&whole](std::uint32_t length) {
        Bytes message = whole;
        std::memcpy(message.data(), &length, sizeof length);
        return message;
    };
    for (const std::uint32_t length :
         {0U, 1U, 15U, 16U, 20U, 31U, 32U, 33U, 36U, 1000U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        send(saying(length));
    }
    for (size_t size = 1; size < whole.size(); ++size) {
        send(lab::cut_to(whole, size));
    }
    for (const int length : {0, 1, 3, 4, 5, 23, 25, 28, 0x7FFF, 0xFFFF}) {
        send(lab::link_message(lab::MESSAGE_NEW_LINK, index,
                               lab::route_attribute_saying(static_cast<std::uint16_t>(length),
                                                           lab::ATTRIBUTE_WIRELESS, left_event())));
    }
    skip();
    driver().client_left("ath10", CLIENT_TEXT);
    expect_journal(client_left("ath10"));
    EXPECT_EQ(router().daemon().worker(), worker);
}

TEST_F(ExtenderEvents, takes_note_of_a_link_event_of_any_known_interface) {
    start_idle();
    driver().associated("ath10", ap(3));
    expect_journal(joined({driver_up("ath10", ap(3)), state_line("INIT")}));
    // The AP that it was on, as told last.
    driver().lost("ath10");
    expect_journal(joined({driver_down("ath10", ap(3)), state_line("INIT")}));
    driver().lost("ath1");
    expect_journal(ignored_loss("ath1"));
}

}  // namespace
