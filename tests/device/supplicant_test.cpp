// The station side: configuration file, state, and joining, leaving and coming back.

#include "device/supplicant.h"
#include "device/station_link.h"

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using harness::file_text;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char CONF[] = "/tmp/test.conf";

class Supplicant : public DeviceTest {
protected:
    intf_record* station() {
        return intf_add("ath0", BACKHAUL_STA, BAND_5G);
    }
    void credentials_put(const std::string& auth) {
        uci_put("ath0.ssid", "mesh");
        uci_put("ath0.auth", auth);
        uci_put("ath0.WPAPSKkey", "secret-key");
    }
    std::string conf_written(const std::string& auth) {
        credentials_put(auth);
        device_supplicant_conf_write(station(), CONF);
        return file_text(CONF);
    }
};

TEST_F(Supplicant, writes_a_closed_block_of_seven_lines_for_wpa2psk) {
    EXPECT_EQ(conf_written("WPA2PSK"),
              "network={\n\tscan_ssid=1\n\tssid=\"mesh\"\n\tproto=RSN\n\tkey_mgmt=WPA-PSK\n"
              "\tpsk=\"secret-key\"\n}\n");
    EXPECT_THAT(journal(),
                ElementsAre("$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.auth",
                            "$ uci get wireless.ath0.WPAPSKkey"));
}

TEST_F(Supplicant, writes_three_lines_and_no_brace_for_any_other_auth) {
    for (const char* const auth : {"OPEN", "WPA2PSK2", "wpa2psk", "WPA2PS"}) {
        EXPECT_EQ(conf_written(auth), "network={\n\tscan_ssid=1\n\tssid=\"mesh\"\n") << auth;
    }
}

TEST_F(Supplicant, writes_three_lines_and_no_brace_without_an_auth) {
    uci_put("ath0.ssid", "mesh");
    uci_put("ath0.WPAPSKkey", "secret-key");
    device_supplicant_conf_write(station(), CONF);
    EXPECT_EQ(file_text(CONF), "network={\n\tscan_ssid=1\n\tssid=\"mesh\"\n");
}

TEST_F(Supplicant, writes_an_empty_ssid_and_key_when_none_is_stored) {
    uci_put("ath0.auth", "WPA2PSK");
    device_supplicant_conf_write(station(), CONF);
    EXPECT_EQ(file_text(CONF),
              "network={\n\tscan_ssid=1\n\tssid=\"\"\n\tproto=RSN\n\tkey_mgmt=WPA-PSK\n"
              "\tpsk=\"\"\n}\n");
}

TEST_F(Supplicant, cuts_a_long_ssid_and_keeps_a_key_of_64_characters) {
    uci_put("ath0.ssid", "12345678901234567890123456789012345");
    uci_put("ath0.auth", "WPA2PSK");
    uci_put("ath0.WPAPSKkey", std::string(64, 'k'));
    device_supplicant_conf_write(station(), CONF);
    EXPECT_EQ(file_text(CONF),
              "network={\n\tscan_ssid=1\n\tssid=\"12345678901234567890123456789012\"\n\tproto=RSN\n"
              "\tkey_mgmt=WPA-PSK\n\tpsk=\"" +
                  std::string(64, 'k') + "\"\n}\n");
}

TEST_F(Supplicant, asks_for_nothing_when_the_file_cannot_be_opened) {
    device_supplicant_conf_write(station(), "/tmp/no/such/folder/file");
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Supplicant, is_disabled_when_the_status_says_so) {
    lab::wpa_state_set("", "ath0", "INTERFACE_DISABLED");
    EXPECT_EQ(wpa_state(station()), 1);
    EXPECT_THAT(journal(), ElementsAre("$ wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 status > "
                                       "/tmp/wpa_cli_status"));
}

TEST_F(Supplicant, is_not_disabled_in_any_other_state) {
    lab::wpa_state_set("", "ath0", "COMPLETED");
    EXPECT_EQ(wpa_state(station()), 0);
}

TEST_F(Supplicant, is_not_disabled_when_the_status_lacks_a_state) {
    lab::answer_push("", "wpa_cli.status", "bssid=INTERFACE_DISABLED\n");
    EXPECT_EQ(wpa_state(station()), 0);
    lab::answer_push("", "wpa_cli.status", "");
    EXPECT_EQ(wpa_state(station()), 0);
}

TEST_F(Supplicant, decides_by_the_first_line_with_a_state) {
    lab::answer_push("", "wpa_cli.status",
                     "ssid=x\nwpa_state=COMPLETED\nwpa_state=INTERFACE_DISABLED\n");
    EXPECT_EQ(wpa_state(station()), 0);
    lab::answer_push("", "wpa_cli.status",
                     "ssid=x\nwpa_state=INTERFACE_DISABLED\nwpa_state=COMPLETED\n");
    EXPECT_EQ(wpa_state(station()), 1);
}

TEST_F(Supplicant, looks_at_the_first_256_characters_of_a_status_line) {
    const std::string key = "wpa_state=";
    const std::string value = "INTERFACE_DISABLED";
    const std::string blanks(256 - key.size() - value.size(), ' ');
    lab::answer_push("", "wpa_cli.status", key + blanks + value + "\n");
    EXPECT_EQ(wpa_state(station()), 1);
    lab::answer_push("", "wpa_cli.status", key + blanks + " " + value + "\n");
    EXPECT_EQ(wpa_state(station()), 0);
}

TEST_F(Supplicant, is_not_disabled_when_the_status_cannot_be_read) {
    lab::wpa_state_set("", "ath0", "INTERFACE_DISABLED");
    harness::put_file("/tmp/wpa_cli_status/kept", "");
    EXPECT_EQ(wpa_state(station()), 0);
}

TEST_F(Supplicant, asks_no_status_of_an_interface_that_is_no_station) {
    for (const int32_t type : {0, 1, 2, 4, 5, 6, 7, 8}) {
        EXPECT_EQ(wpa_state(intf_add("ath0", type, BAND_5G)), 0) << type;
    }
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Supplicant, switches_the_essid_on_then_logs_and_sets_it) {
    uci_put("ath0.ssid", "mesh");
    device_sta_intf_ssid_set(station());
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath0.ssid", "$ iwconfig ath0 essid on",
                                       "device_sta_intf_ssid_set : iwconfig ath0 essid mesh",
                                       "$ iwconfig ath0 essid mesh"));
}

TEST_F(Supplicant, sets_the_longest_ssid_of_the_longest_name_whole) {
    uci_put("ath012345678901.ssid", "12345678901234567890123456789012345");
    device_sta_intf_ssid_set(intf_add("ath012345678901", BACKHAUL_STA, BAND_5G));
    const auto lines = journal();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "$ iwconfig ath012345678901 essid 12345678901234567890123456789012");
}

TEST_F(Supplicant, tells_the_supplicant_of_the_interface_to_disconnect) {
    device_sta_disconnect(station());
    EXPECT_THAT(journal(),
                ElementsAre("$ wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 disconnect"));
}

TEST_F(Supplicant, reconnects_with_the_interface_taken_down_and_up) {
    harness::put_file(SUPPLICANT_PID_PATH, std::to_string(pid_alive()) + "\n");
    device_sta_reconnect(station());
    EXPECT_THAT(journal(),
                ElementsAre("$ ifconfig ath0 down", "$ ifconfig ath0 up",
                            "$ wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 reconnect"));
}

TEST_F(Supplicant, enables_the_station_instead_when_no_supplicant_runs) {
    harness::put_file(SUPPLICANT_PID_PATH, std::to_string(pid_gone()) + "\n");
    device_sta_reconnect(station());
    const std::vector<std::string> seen = journal();
    ASSERT_GE(seen.size(), 2U);
    EXPECT_EQ(seen[0], "dev_intf_enable_set : enable ath0");
    EXPECT_EQ(seen[1], "$ uci set wireless.ath0.disabled=0");
    EXPECT_THAT(seen, testing::Not(testing::Contains("$ ifconfig ath0 down")));
}

TEST_F(Supplicant, reconnects_when_the_pid_file_cannot_be_opened) {
    // A pid file that exists and cannot be opened counts as a supplicant that runs.
    ASSERT_EQ(mknod(SUPPLICANT_PID_PATH, S_IFSOCK | 0600, 0), 0);
    device_sta_reconnect(station());
    EXPECT_EQ(journal().at(0), "$ ifconfig ath0 down");
    unlink(SUPPLICANT_PID_PATH);
}

TEST_F(Supplicant, knows_a_configuration_only_with_ssid_and_key) {
    EXPECT_EQ(device_sta_config_exist(station()), 0);
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath0.ssid"));
    uci_put("ath0.WPAPSKkey", "secret-key");
    EXPECT_EQ(device_sta_config_exist(station()), 0);
    uci_put("ath0.ssid", "mesh");
    EXPECT_EQ(device_sta_config_exist(station()), 1);
    lab::uci_store_unset("", "wireless.ath0.WPAPSKkey");
    EXPECT_EQ(device_sta_config_exist(station()), 0);
    EXPECT_THAT(journal(),
                ElementsAre("$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.ssid",
                            "$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey",
                            "$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey"));
}

}  // namespace
