// Enabling and disabling a station: its place in the global supplicant.

#include "device/intf_enable.h"
#include "device/supplicant.h"

#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using harness::clock_now;
using harness::file_text;
using testing::ElementsAre;
using testing::ElementsAreArray;

// The control socket lacks the dash of the pid file; the removal has two blanks.
constexpr char ADD[] =
    "$ wpa_cli -g /var/run/wpa_supplicantglobal interface_add ath0 /tmp/wpa_supplicant-ath0.conf "
    "athr /var/run/wpa_supplicant-ath0 \"\" br-lan > /tmp/wpa_result";
constexpr char REMOVE[] = "$ wpa_cli -g /var/run/wpa_supplicantglobal  interface_remove ath0";
constexpr char STATUS[] =
    "$ wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 status > /tmp/wpa_cli_status";
constexpr char BOOT[] = "$ /etc/init.d/qca-wpa-supplicant boot";
constexpr char FAIL_LOG[] = "dev_intf_enable_set : wpa_cli fail, try again";
constexpr char DISABLED_LOG[] = "dev_intf_enable_set : ath0 is INTERFACE_DISABLED, restart it";

using Lines = std::vector<std::string>;

Lines operator+(Lines left, const Lines& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Lines CONF_READ = {"$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.auth",
                         "$ uci get wireless.ath0.WPAPSKkey"};
const Lines PROLOGUE = {"dev_intf_enable_set : enable ath0",
                        "$ uci set wireless.ath0.disabled=0",
                        COMMIT,
                        APPLY,
                        "$ uci get wireless.ath0.ssid",
                        "$ iwconfig ath0 essid on",
                        "device_sta_intf_ssid_set : iwconfig ath0 essid mesh",
                        "$ iwconfig ath0 essid mesh"};

class StationEnable : public DeviceTest {
protected:
    void SetUp() override {
        DeviceTest::SetUp();
        uci_put("ath0.ssid", "mesh");
        uci_put("ath0.auth", "WPA2PSK");
        uci_put("ath0.WPAPSKkey", "secret-key");
        station_ = intf_add("ath0", BACKHAUL_STA, BAND_5G);
        lab::supplicant_pid_file_set("", pid_alive());
    }
    intf_record* station_ = nullptr;
};

TEST_F(StationEnable, configures_the_radio_then_attaches_to_the_supplicant) {
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + CONF_READ + Lines{ADD, STATUS}));
    EXPECT_EQ(uci_value("ath0.disabled"), "0");
    EXPECT_EQ(file_text("/tmp/WirelessDev"), "wifi1");
    EXPECT_EQ(file_text("/tmp/wifi5G_Apply"), "ath0");
    EXPECT_EQ(file_text("/tmp/wpa_supplicant-ath0.conf"),
              "network={\n\tscan_ssid=1\n\tssid=\"mesh\"\n\tproto=RSN\n\tkey_mgmt=WPA-PSK\n"
              "\tpsk=\"secret-key\"\n}\n");
    EXPECT_EQ(clock_now(), START_TIME);
}

TEST_F(StationEnable, gives_the_supplicant_tool_one_empty_word) {
    dev_intf_enable_set(station_, INTF_ENABLE);
    std::vector<std::string> words;
    for (const lab::CallRecord& call : lab::call_records("")) {
        if (call.tool == "wpa_cli" && call.words.at(2) == "interface_add") {
            words = call.words;
        }
    }
    EXPECT_THAT(words, ElementsAre("-g", "/var/run/wpa_supplicantglobal", "interface_add", "ath0",
                                   "/tmp/wpa_supplicant-ath0.conf", "athr",
                                   "/var/run/wpa_supplicant-ath0", "", "br-lan"));
}

TEST_F(StationEnable, boots_the_supplicant_and_waits_a_second_when_none_runs) {
    lab::supplicant_pid_file_remove("");
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(),
                ElementsAreArray(PROLOGUE + Lines{BOOT} + CONF_READ + Lines{ADD, STATUS}));
    EXPECT_EQ(clock_now(), START_TIME + 1);
}

TEST_F(StationEnable, boots_no_second_supplicant_when_the_pid_file_cannot_be_opened) {
    lab::supplicant_pid_file_remove("");
    ASSERT_EQ(mknod(SUPPLICANT_PID_PATH, S_IFSOCK | 0600, 0), 0);
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + CONF_READ + Lines{ADD, STATUS}));
    unlink(SUPPLICANT_PID_PATH);
}

TEST_F(StationEnable, removes_logs_and_tries_again_for_each_fail_answer) {
    for (int i = 0; i < 3; ++i) {
        lab::answer_push("", "wpa_cli.interface_add", "FAIL\n");
    }
    dev_intf_enable_set(station_, INTF_ENABLE);
    const Lines failed = CONF_READ + Lines{ADD, REMOVE, FAIL_LOG};
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + failed + failed + failed + CONF_READ +
                                            Lines{ADD, STATUS}));
    EXPECT_EQ(clock_now(), START_TIME + 3);
}

TEST_F(StationEnable, boots_before_each_try_while_the_supplicant_stays_away) {
    lab::supplicant_pid_file_remove("");
    lab::supplicant_boot_set("", lab::SupplicantBoot::no_file);
    lab::answer_push("", "wpa_cli.interface_add", "FAIL\n");
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + Lines{BOOT} + CONF_READ +
                                            Lines{ADD, REMOVE, FAIL_LOG, BOOT} + CONF_READ +
                                            Lines{ADD, STATUS}));
    EXPECT_EQ(clock_now(), START_TIME + 3);
}

TEST_F(StationEnable, logs_removes_and_tries_again_while_the_interface_is_disabled) {
    lab::answer_push("", "wpa_cli.status", "wpa_state=INTERFACE_DISABLED\n");
    lab::answer_push("", "wpa_cli.status", "wpa_state=INTERFACE_DISABLED\n");
    dev_intf_enable_set(station_, INTF_ENABLE);
    const Lines disabled = CONF_READ + Lines{ADD, STATUS, DISABLED_LOG, REMOVE};
    EXPECT_THAT(journal(),
                ElementsAreArray(PROLOGUE + disabled + disabled + CONF_READ + Lines{ADD, STATUS}));
    EXPECT_EQ(clock_now(), START_TIME + 2);
}

TEST_F(StationEnable, goes_on_to_the_state_when_there_is_no_answer_file) {
    harness::put_file(std::string(WPA_RESULT_PATH) + "/kept", "");
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + CONF_READ + Lines{ADD, STATUS}));
}

TEST_F(StationEnable, takes_an_empty_answer_after_a_fail_for_no_fail) {
    lab::answer_push("", "wpa_cli.interface_add", "FAIL\n");
    lab::answer_push("", "wpa_cli.interface_add", "\n");
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(journal(), ElementsAreArray(PROLOGUE + CONF_READ + Lines{ADD, REMOVE, FAIL_LOG} +
                                            CONF_READ + Lines{ADD, STATUS}));
}

TEST_F(StationEnable, takes_only_the_exact_word_for_a_fail) {
    for (const char* const word : {"FAIL-BUSY\n", "fail\n", "OK FAIL\n"}) {
        harness::take_lines();
        lab::answer_push("", "wpa_cli.interface_add", word);
        dev_intf_enable_set(station_, INTF_ENABLE);
        EXPECT_THAT(harness::take_lines(), testing::Not(testing::Contains(REMOVE + 2))) << word;
    }
}

TEST_F(StationEnable, reads_the_configuration_anew_for_each_try) {
    lab::answer_hold("", "wpa_cli.interface_remove", "change");
    lab::answer_push("", "wpa_cli.interface_add", "FAIL\n");
    lab::answer_push("", "uci.get.wireless.ath0.ssid", "mesh\n");
    lab::answer_push("", "uci.get.wireless.ath0.ssid", "mesh\n");
    lab::answer_push("", "uci.get.wireless.ath0.ssid", "renamed\n");
    lab::gate_open("", "change");
    dev_intf_enable_set(station_, INTF_ENABLE);
    EXPECT_THAT(file_text("/tmp/wpa_supplicant-ath0.conf"), testing::HasSubstr("\"renamed\""));
}

TEST_F(StationEnable, attaches_a_station_with_the_longest_name_whole) {
    device_supplicant_attach(intf_add("ath012345678901", BACKHAUL_STA, BAND_5G));
    EXPECT_THAT(
        harness::recorded_lines(),
        testing::Contains("wpa_cli -g /var/run/wpa_supplicantglobal interface_add ath012345678901 "
                          "/tmp/wpa_supplicant-ath012345678901.conf athr "
                          "/var/run/wpa_supplicant-ath012345678901 \"\" br-lan > "
                          "/tmp/wpa_result"));
    EXPECT_TRUE(harness::file_is_there("/tmp/wpa_supplicant-ath012345678901.conf"));
}

TEST_F(StationEnable, detaches_then_disables_and_applies) {
    dev_intf_enable_set(station_, INTF_DISABLE);
    EXPECT_THAT(journal(), ElementsAre("dev_intf_enable_set : disable ath0", REMOVE,
                                       "$ uci set wireless.ath0.disabled=1", COMMIT, APPLY));
    EXPECT_EQ(uci_value("ath0.disabled"), "1");
}

TEST_F(StationEnable, detaches_although_no_supplicant_runs) {
    lab::supplicant_pid_file_remove("");
    dev_intf_enable_set(station_, INTF_DISABLE);
    EXPECT_EQ(journal().at(1), REMOVE);
}

}  // namespace
