// Forwarding tables, the mesh's client list and the stations of the backhaul APs.

#include "device/client_control.h"

#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ClientControl : public DeviceTest {};

TEST_F(ClientControl, flushes_the_bridge_then_both_tables) {
    device_forward_table_flush();
    EXPECT_THAT(journal(), ElementsAre("device_forward_table_flush : Enter",
                                       "$ echo 1 > /sys/devices/virtual/net/br-lan/bridge/flush",
                                       "$ hyctl flushatbl br-lan", "$ hyctl flushdtbl br-lan"));
}

TEST_F(ClientControl, asks_the_agent_to_drop_a_station_of_one_node) {
    device_kick_wifi_client("02:00:00:00:00:0a", "02:00:00:00:00:01");
    EXPECT_THAT(
        journal(),
        ElementsAre("device_kick_wifi_client : request to clear 02:00:00:00:00:01 from wifi list",
                    "$ vl1905App 33 02:00:00:00:00:0a 02:00:00:00:00:01"));
}

TEST_F(ClientControl, asks_the_agent_to_drop_a_station_of_every_node_without_a_node) {
    device_kick_wifi_client(nullptr, "02:00:00:00:00:01");
    EXPECT_THAT(
        journal(),
        ElementsAre("device_kick_wifi_client : request to clear 02:00:00:00:00:01 from wifi list",
                    "$ vl1905App 33 00:00:00:00:00:00 02:00:00:00:00:01"));
}

TEST_F(ClientControl, asks_for_nothing_without_a_station) {
    device_kick_wifi_client("02:00:00:00:00:0a", nullptr);
    device_kick_wifi_client(nullptr, nullptr);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ClientControl, kicks_stations_off_the_backhaul_aps_only) {
    harness::put_file("/tmp/assoc_list.5g",
                      "02:00:00:00:00:01 1 36 ath20 866 30\n"
                      "02:00:00:00:00:02 1 36 ath10 866 30\n"
                      "02:00:00:00:00:03 1 36 ath12 866 30\n"
                      "02:00:00:00:00:04 1 36 ath2 866 30\n"
                      "02:00:00:00:00:05 1 36\n"
                      "\n"
                      "02:00:00:00:00:06 1 36 ath200 866 30\n");
    harness::put_file("/tmp/assoc_list.24g",
                      "02:00:00:00:00:07 1 6 ath20 300 30\n"
                      "02:00:00:00:00:08 1 6 ath2 300 30\n"
                      "02:00:00:00:00:09 1 6 ath0 300 30\n"
                      "02:00:00:00:00:0a 1 6 ath12 300 30\n");
    device_disassoc_all_backhaulap_sta();
    constexpr char LOG[] = "device_disassoc_all_backhaulap_sta : ";
    const std::string one = "iwpriv ath20 kickmac 02:00:00:00:00:01";
    const std::string three = "iwpriv ath12 kickmac 02:00:00:00:00:03";
    const std::string eight = "iwpriv ath2 kickmac 02:00:00:00:00:08";
    EXPECT_THAT(journal(), ElementsAre(LOG + one, "$ " + one, LOG + three, "$ " + three,
                                       LOG + eight, "$ " + eight));
}

TEST_F(ClientControl, kicks_the_stations_of_one_list_when_the_other_is_missing) {
    harness::put_file("/tmp/assoc_list.24g", "02:00:00:00:00:08 1 6 ath2 300 30\n");
    device_disassoc_all_backhaulap_sta();
    EXPECT_EQ(harness::recorded_lines(),
              std::vector<std::string>{"iwpriv ath2 kickmac 02:00:00:00:00:08"});
}

TEST_F(ClientControl, kicks_nobody_without_lists) {
    device_disassoc_all_backhaulap_sta();
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(ClientControl, does_not_take_the_interface_of_the_line_before_for_a_short_line) {
    harness::put_file("/tmp/assoc_list.5g",
                      "02:00:00:00:00:01 1 36 ath20 866 30\n02:00:00:00:00:02\n");
    device_disassoc_all_backhaulap_sta();
    EXPECT_EQ(harness::recorded_lines().size(), 1U);
}

}  // namespace
