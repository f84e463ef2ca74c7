// Addresses and presence of interfaces.

#include "device/association.h"
#include "device/first_mac.h"
#include "device/intf_existence.h"
#include "runtime/runtime_block.h"

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

constexpr char FIRST_MAC[] = "/tmp/FirstMAC";
constexpr mac_address OLD = {1, 2, 3, 4, 5, 6};

class StationInfo : public DeviceTest {};

std::string first_mac() {
    return device_first_mac_get().data();
}

TEST_F(StationInfo, writes_the_first_mac_with_two_lower_case_digits_a_byte) {
    harness::put_file(FIRST_MAC, "2:1A:FF:0:07:B0\n");
    EXPECT_EQ(first_mac(), "02:1a:ff:00:07:b0");
}

TEST_F(StationInfo, has_no_first_mac_without_the_file) {
    EXPECT_EQ(first_mac(), "");
}

TEST_F(StationInfo, writes_zeros_for_what_does_not_scan_as_a_first_mac) {
    harness::put_file(FIRST_MAC, "02:1a\n");
    EXPECT_EQ(first_mac(), "02:1a:00:00:00:00");
    harness::put_file(FIRST_MAC, "");
    EXPECT_EQ(first_mac(), "00:00:00:00:00:00");
}

TEST_F(StationInfo, looks_only_at_the_first_31_characters_of_a_first_mac) {
    harness::put_file(FIRST_MAC, "02:1a:ff:00:07:b0" + std::string(3000, 'z'));
    EXPECT_EQ(first_mac(), "02:1a:ff:00:07:b0");
    // The last digit is the 31st character, then the 32nd.
    harness::put_file(FIRST_MAC, std::string(14, '0') + "02:1a:ff:00:07:b0\n");
    EXPECT_EQ(first_mac(), "02:1a:ff:00:07:b0");
    harness::put_file(FIRST_MAC, std::string(15, '0') + "02:1a:ff:00:07:b0\n");
    EXPECT_EQ(first_mac(), "02:1a:ff:00:07:0b");
}

TEST_F(StationInfo, reads_the_ap_of_an_associated_station_and_removes_the_file) {
    lab::wifi_mode_set("", "ath0", "Managed");
    lab::wifi_associated_set("", "ath0", "02:1a:ff:00:07:b0");
    mac_address bssid = OLD;
    device_sta_ap_bssid_get("ath0", bssid);
    EXPECT_EQ(bssid, (mac_address{0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0}));
    EXPECT_THAT(journal(), ElementsAre("$ iwconfig ath0 > /tmp/iwconfig.tmp"));
    EXPECT_FALSE(harness::file_is_there("/tmp/iwconfig.tmp"));
}

TEST_F(StationInfo, keeps_the_ap_of_a_station_that_is_not_associated) {
    lab::wifi_mode_set("", "ath0", "Managed");
    mac_address bssid = OLD;
    device_sta_ap_bssid_get("ath0", bssid);
    EXPECT_EQ(bssid, OLD);
    EXPECT_FALSE(harness::file_is_there("/tmp/iwconfig.tmp"));
}

TEST_F(StationInfo, keeps_the_ap_of_a_station_that_has_vanished) {
    lab::wifi_missing_set("", "ath0");
    mac_address bssid = OLD;
    device_sta_ap_bssid_get("ath0", bssid);
    EXPECT_EQ(bssid, OLD);
    EXPECT_FALSE(harness::file_is_there("/tmp/iwconfig.tmp"));
}

TEST_F(StationInfo, keeps_the_ap_when_the_answer_cannot_be_read) {
    harness::put_file("/tmp/iwconfig.tmp/kept", "");
    mac_address bssid = OLD;
    device_sta_ap_bssid_get("ath0", bssid);
    EXPECT_EQ(bssid, OLD);
}

TEST_F(StationInfo, stops_reading_at_the_first_access_point_line) {
    lab::answer_push("", "iwconfig",
                     "x\na b c d Point: 02:00:00:00:00:01\na b c d Point: 02:00:00:00:00:02\n");
    mac_address bssid = OLD;
    device_sta_ap_bssid_get("ath0", bssid);
    EXPECT_EQ(bssid, (mac_address{2, 0, 0, 0, 0, 1}));
}

TEST_F(StationInfo, asks_with_the_whole_line_for_an_interface_name_of_15_characters) {
    const intf_record* const record = intf_add("a-name-of-15-ch", BACKHAUL_STA, BAND_5G);
    EXPECT_EQ(backhaul_sta_is_associated(record), 0) << "there is no such device";
    EXPECT_THAT(harness::recorded_lines(),
                ElementsAre("iwconfig a-name-of-15-ch | grep Not-Associated > /tmp/iw_result"));
}

TEST_F(StationInfo, sees_an_interface_that_iwconfig_knows) {
    EXPECT_EQ(wifi_intf_present(intf_add("ath10", MAIN_SERVICE_AP, BAND_5G)), 1);
    EXPECT_THAT(journal(), ElementsAre("$ iwconfig ath10 > /tmp/wifi_intf.tmp"));
}

TEST_F(StationInfo, misses_an_interface_of_which_iwconfig_prints_nothing) {
    lab::wifi_missing_set("", "ath10");
    EXPECT_EQ(wifi_intf_present(intf_add("ath10", MAIN_SERVICE_AP, BAND_5G)), 0);
    lab::answer_push("", "iwconfig", "\n");
    EXPECT_EQ(wifi_intf_present(intf_add("ath10", MAIN_SERVICE_AP, BAND_5G)), 0);
}

TEST_F(StationInfo, sees_an_interface_of_which_iwconfig_prints_a_word_of_any_length) {
    lab::answer_push("", "iwconfig", std::string(3000, 'a') + "\n");
    EXPECT_EQ(wifi_intf_present(intf_add("ath10", MAIN_SERVICE_AP, BAND_5G)), 1);
}

TEST_F(StationInfo, takes_an_interface_for_present_when_the_answer_cannot_be_read) {
    lab::wifi_missing_set("", "ath10");
    harness::put_file("/tmp/wifi_intf.tmp/kept", "");
    EXPECT_EQ(wifi_intf_present(intf_add("ath10", MAIN_SERVICE_AP, BAND_5G)), 1);
}

constexpr char FEATURE_ASK[] = "$ wifisys_tool -g 1 -f 2";
constexpr char CHECK[] = "device_wifi_intf_existence_chk : ";

std::string probe(const char* name) {
    return std::string("$ iwconfig ") + name + " > /tmp/wifi_intf.tmp";
}
std::string recover(const char* what) {
    return std::string(CHECK) + "recover WiFi " + what;
}

class IntfExistence : public DeviceTest {
protected:
    static void feature_set(int value) {
        lab::wifisys_feature_set("", 1, 2, value);
    }
    void missing_add(const char* name, int32_t type, uint8_t band) {
        intf_add(name, type, band);
        lab::wifi_missing_set("", name);
    }
};

TEST_F(IntfExistence, asks_for_the_visitor_feature_once_and_probes_in_table_order) {
    feature_set(2);
    intf_add("ath20", BACKHAUL_AP, BAND_5G);
    intf_add("ath7", PRE_DEF_AP, BAND_5G);
    intf_add("ath14", VISITOR_SERVICE_AP, BAND_5G);
    intf_add("eth", ETHERNET, BAND_NONE);
    intf_add("ath0", BACKHAUL_STA, BAND_5G);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    intf_add("ath11", GUEST_SERVICE_AP, BAND_5G);
    device_wifi_intf_existence_chk();
    const std::vector<std::string> probes = {probe("ath20"), probe("ath14"), probe("ath0"),
                                             probe("ath10"), probe("ath11")};
    std::vector<std::string> expected = {FEATURE_ASK,
                                         std::string(CHECK) + "visitor_network_feature 2"};
    expected.insert(expected.end(), probes.begin(), probes.end());
    EXPECT_THAT(journal(), ElementsAreArray(expected));
    device_wifi_intf_existence_chk();
    expected.insert(expected.end(), probes.begin(), probes.end());
    EXPECT_THAT(journal(), ElementsAreArray(expected));
}

TEST_F(IntfExistence, leaves_a_missing_visitor_interface_alone_without_a_visitor_network) {
    feature_set(1);
    missing_add("ath4", VISITOR_SERVICE_AP, BAND_24G);
    device_wifi_intf_existence_chk();
    EXPECT_THAT(journal(),
                ElementsAre(FEATURE_ASK, std::string(CHECK) + "visitor_network_feature 1"));
}

TEST_F(IntfExistence, brings_a_radio_up_for_a_missing_visitor_interface_in_use) {
    feature_set(2);
    missing_add("ath4", VISITOR_SERVICE_AP, BAND_24G);
    device_wifi_intf_existence_chk();
    EXPECT_THAT(journal(),
                ElementsAre(FEATURE_ASK, std::string(CHECK) + "visitor_network_feature 2",
                            probe("ath4"), recover("ath4"), recover("2.4G"), "$ wifi up wifi0"));
}

TEST_F(IntfExistence, asks_again_while_the_tool_tells_no_feature) {
    lab::answer_push("", "wifisys_tool", "busy\n");
    feature_set(0);
    device_wifi_intf_existence_chk();
    device_wifi_intf_existence_chk();
    device_wifi_intf_existence_chk();
    EXPECT_THAT(journal(),
                ElementsAre(FEATURE_ASK, std::string(CHECK) + "visitor_network_feature -1",
                            FEATURE_ASK, std::string(CHECK) + "visitor_network_feature 0"));
}

TEST_F(IntfExistence, logs_no_feature_when_there_is_no_pipe) {
    {
        const harness::DescriptorsRefused refused;
        device_wifi_intf_existence_chk();
    }
    EXPECT_EQ(runtime.visitor_network_feature.get(), -1);
    EXPECT_THAT(journal(), testing::IsEmpty());
}

TEST_F(IntfExistence, brings_each_radio_up_once_in_a_fixed_order) {
    feature_set(0);
    missing_add("ath24", BACKHAUL_AP, BAND_5G_HIGH);
    missing_add("ath10", MAIN_SERVICE_AP, BAND_5G_LOW);
    missing_add("ath11", GUEST_SERVICE_AP, BAND_5G_LOW);
    missing_add("ath0", MAIN_SERVICE_AP, BAND_24G);
    device_wifi_intf_existence_chk();
    const std::vector<std::string> seen = journal();
    EXPECT_THAT(std::vector<std::string>(seen.begin() + 2, seen.end()),
                ElementsAre(probe("ath24"), recover("ath24"), probe("ath10"), recover("ath10"),
                            probe("ath11"), recover("ath11"), probe("ath0"), recover("ath0"),
                            recover("2.4G"), "$ wifi up wifi0", recover("5G low"),
                            "$ wifi up wifi1", recover("5G high"), "$ wifi up wifi2"));
}

TEST_F(IntfExistence, brings_the_first_and_the_third_radio_up_for_their_missing_interfaces) {
    feature_set(0);
    missing_add("ath24", BACKHAUL_AP, BAND_5G_HIGH);
    missing_add("ath0", MAIN_SERVICE_AP, BAND_24G);
    intf_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    device_wifi_intf_existence_chk();
    std::vector<std::string> ups;
    for (const std::string& line : harness::recorded_lines()) {
        if (line.starts_with("wifi ")) {
            ups.push_back(line);
        }
    }
    EXPECT_THAT(ups, ElementsAre("wifi up wifi0", "wifi up wifi2"));
}

TEST_F(IntfExistence, only_logs_a_missing_interface_of_the_plain_5g_band) {
    feature_set(0);
    missing_add("ath10", MAIN_SERVICE_AP, BAND_5G);
    device_wifi_intf_existence_chk();
    EXPECT_THAT(journal(),
                ElementsAre(FEATURE_ASK, std::string(CHECK) + "visitor_network_feature 0",
                            probe("ath10"), recover("ath10")));
}

}  // namespace
