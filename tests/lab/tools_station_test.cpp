// wpa_cli, iwconfig and iwpriv: what a station and an access point answer.
#include <gmock/gmock.h>

#include <array>
#include <cstdio>

#include "lab/tools/state_layout.h"
#include "lab/tools/text_escape.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class StationToolsTest : public ToolsTest {
protected:
    std::string wpa_cli(const std::string& interface, std::vector<std::string> verb) const {
        std::vector<std::string> words = {"-i", interface, "-p",
                                          "/var/run/wpa_supplicant-" + interface};
        words.insert(words.end(), verb.begin(), verb.end());
        return out("wpa_cli", words);
    }

    std::string attach(const std::string& interface) const {
        return out("wpa_cli", {"-g", "/var/run/wpa_supplicantglobal", "interface_add", interface,
                               "/tmp/wpa_supplicant-" + interface + ".conf", "athr",
                               "/var/run/wpa_supplicant-" + interface, "", "br-lan"});
    }

    std::string detach(const std::string& interface) const {
        return out("wpa_cli",
                   {"-g", "/var/run/wpa_supplicantglobal", "interface_remove", interface});
    }

    // The sixth word of the first line of `iwconfig interface` that holds "Point".
    std::string access_point(const std::string& interface) const {
        const std::string text = out("iwconfig", {interface});
        for (const std::string_view line : lab::text_split(text, '\n')) {
            if (line.find("Point") != std::string_view::npos) {
                std::array<char, 64> word{};
                std::sscanf(std::string(line).c_str(), "%*s %*s %*s %*s %*s %63s\n", word.data());
                return word.data();
            }
        }
        return "(no access point line)";
    }
};

TEST_F(StationToolsTest, attaches_an_interface_with_its_file_and_detaches_it) {
    EXPECT_EQ(detach("ath0"), "FAIL\n") << "not attached yet";
    EXPECT_EQ(attach("ath0"), "OK\n");
    EXPECT_EQ(lab::wpa_attached_conf(root, "ath0"), "/tmp/wpa_supplicant-ath0.conf");
    EXPECT_EQ(detach("ath0"), "OK\n");
    EXPECT_EQ(lab::wpa_attached_conf(root, "ath0"), "");
}

TEST_F(StationToolsTest, tells_the_supplicants_state_from_the_association) {
    EXPECT_EQ(wpa_cli("ath0", {"status"}), "wpa_state=SCANNING\n");
    lab::uci_store_set(root, "wireless.ath0.ssid", "mesh");
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    EXPECT_EQ(wpa_cli("ath0", {"status"}),
              "bssid=02:00:00:00:00:01\nfreq=5180\nssid=mesh\nid=0\nmode=station\n"
              "pairwise_cipher=CCMP\ngroup_cipher=CCMP\nkey_mgmt=WPA2-PSK\nwpa_state=COMPLETED\n");
}

TEST_F(StationToolsTest, tells_a_supplicants_state_that_was_set) {
    lab::wpa_state_set(root, "ath0", "INTERFACE_DISABLED");
    EXPECT_EQ(wpa_cli("ath0", {"status"}), "wpa_state=INTERFACE_DISABLED\n");
    lab::wpa_state_unset(root, "ath0");
    EXPECT_EQ(wpa_cli("ath0", {"status"}), "wpa_state=SCANNING\n");
}

TEST_F(StationToolsTest, loses_the_ap_on_disconnect_and_on_detaching_but_not_on_reconnect) {
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    EXPECT_EQ(wpa_cli("ath0", {"reconnect"}), "OK\n");
    EXPECT_EQ(access_point("ath0"), "02:00:00:00:00:01");
    EXPECT_EQ(wpa_cli("ath0", {"disconnect"}), "OK\n");
    EXPECT_EQ(access_point("ath0"), "Not-Associated");
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    detach("ath0");
    EXPECT_EQ(access_point("ath0"), "Not-Associated");
}

TEST_F(StationToolsTest, keeps_what_set_network_sets) {
    const std::string path = "/var/run/wpa_supplicant-ath0";
    EXPECT_EQ(out("wpa_cli", {"-p", path, "disable_network", "0"}),
              "Selected interface 'ath0'\nOK\n");
    EXPECT_EQ(lab::state_get(root, "wpa/ath0/network.enabled"), "0");
    EXPECT_EQ(out("wpa_cli", {"-p", path, "set_network", "0", "bssid", "02:00:00:00:00:07"}),
              "Selected interface 'ath0'\nOK\n");
    EXPECT_EQ(lab::state_get(root, "wpa/ath0/network.bssid"), "02:00:00:00:00:07");
    out("wpa_cli", {"-p", path, "enable_network", "0"});
    EXPECT_EQ(lab::state_get(root, "wpa/ath0/network.enabled"), "1");
}

TEST_F(StationToolsTest, prints_the_upstream_address_as_the_sixth_word_of_its_line) {
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:0a:01");
    EXPECT_EQ(access_point("ath0"), "02:00:00:00:0a:01");
    const std::string text = out("iwconfig", {"ath0"});
    EXPECT_THAT(text, StartsWith("ath0      IEEE 802.11ac  ESSID:\"\"  \n"
                                 "          Mode:Managed  Frequency:5.18 GHz  "
                                 "Access Point: 02:00:00:00:0a:01   \n"));
    EXPECT_THAT(text, Not(HasSubstr("Not-Associated")));
}

TEST_F(StationToolsTest, prints_not_associated_for_a_station_without_an_ap) {
    EXPECT_EQ(access_point("ath0"), "Not-Associated");
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    lab::wifi_not_associated_set(root, "ath0");
    EXPECT_EQ(access_point("ath0"), "Not-Associated");
}

TEST_F(StationToolsTest, takes_an_access_point_from_the_profile_and_shows_its_bss_up) {
    lab::file_write(root + "/tmp/wifi_if_profile",
                    "ath0 BACKHAUL_STA 5 10 0\nath10 MAIN_SERVICE_AP 2 0 0\n");
    EXPECT_EQ(lab::wifi_mode(root, "ath0"), "Managed");
    EXPECT_EQ(lab::wifi_mode(root, "ath10"), "Master");
    EXPECT_EQ(access_point("ath10"), "02:AA:00:00:00:01");
    lab::wifi_bss_up_set(root, "ath10", false);
    EXPECT_EQ(access_point("ath10"), "Not-Associated");
    lab::wifi_bss_up_set(root, "ath10", true);
    EXPECT_EQ(access_point("ath10"), "02:AA:00:00:00:01");
    lab::wifi_mode_set(root, "ath10", "Managed");
    EXPECT_EQ(access_point("ath10"), "Not-Associated");
}

TEST_F(StationToolsTest, prints_only_to_standard_error_for_a_missing_interface) {
    lab::wifi_missing_set(root, "ath0");
    const lab::ToolCall shown = run("iwconfig", {"ath0"});
    EXPECT_EQ(shown.out, "");
    EXPECT_EQ(shown.err, "ath0      No such device\n\n");
    EXPECT_EQ(shown.exit_code, 1);
    EXPECT_EQ(run("iwpriv", {"ath0", "get_whc_dist"}).out, "");
    lab::wifi_present_set(root, "ath0");
    EXPECT_EQ(run("iwconfig", {"ath0"}).exit_code, 0);
}

TEST_F(StationToolsTest, keeps_the_name_and_the_power_that_iwconfig_sets) {
    EXPECT_EQ(out("iwconfig", {"ath0", "essid", "on"}), "");
    EXPECT_EQ(out("iwconfig", {"ath0", "essid", "mesh"}), "");
    EXPECT_EQ(out("iwconfig", {"ath0", "txpower", "23"}), "");
    EXPECT_THAT(out("iwconfig", {"ath0"}), HasSubstr("ESSID:\"mesh\""));
    EXPECT_THAT(out("iwconfig", {"ath0"}), HasSubstr("Tx-Power:23 dBm"));
}

TEST_F(StationToolsTest, prints_a_private_value_behind_the_colon) {
    lab::iwpriv_value_set(root, "ath0", "whc_dist", "2");
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "ath0      get_whc_dist:2  \n");
    EXPECT_EQ(out("iwpriv", {"ath1", "get_whc_dist"}), "ath1      get_whc_dist:1  \n");
    EXPECT_EQ(out("iwpriv", {"ath1", "get_whc_ul_rate"}), "ath1      get_whc_ul_rate:300  \n");
}

TEST_F(StationToolsTest, prints_the_best_address_as_twelve_digits_or_nothing) {
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_bssid"}), "");
    lab::iwpriv_value_set(root, "ath0", "whc_bssid", "02:00:00:00:0a:01");
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_bssid"}), "ath0      get_whc_bssid:020000000a01  \n");
    lab::iwpriv_value_unset(root, "ath0", "whc_bssid");
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_bssid"}), "");
}

TEST_F(StationToolsTest, keeps_private_values_that_are_set) {
    EXPECT_EQ(out("iwpriv", {"ath20", "set_whc_dist", "3"}), "");
    EXPECT_EQ(lab::iwpriv_value(root, "ath20", "whc_dist"), "3");
    run("iwpriv", {"wifi0", "cca_threshold", "-65"});
    EXPECT_EQ(lab::iwpriv_value(root, "wifi0", "cca_threshold"), "-65");
    run("iwpriv", {"ath20", "kickmac", "02:00:00:00:00:09"});
    EXPECT_EQ(lab::iwpriv_value(root, "ath20", "kickmac"), "") << "a kick sets nothing";
}

}  // namespace
