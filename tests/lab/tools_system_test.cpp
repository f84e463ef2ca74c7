// Radios, scripts, agent, LED and process list.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <array>

#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;

class SystemToolsTest : public ToolsTest {
protected:
    // What the daemon writes before a restart of the wireless service.
    void ask_for_apply(const std::string& radio, const std::string& file,
                       const std::string& interface) const {
        lab::file_write(root + "/tmp/WirelessDev", radio);
        lab::file_write(root + file, interface);
    }

    std::string last_note() const {
        return lab::call_records(root).back().note;
    }
};

TEST_F(SystemToolsTest, writes_the_occupied_channels_as_a_count_and_twelve_byte_entries) {
    lab::nol_set(root, {5500, 5520});
    EXPECT_EQ(run("radartool", {"-i", "wifi2", "getnol", "/tmp/nol_list"}).exit_code, 0);
    const std::string expected(
        "\x02\0\0\0"
        "\x7c\x15\0\0\0\0\0\0\0\0\0\0"
        "\x90\x15\0\0\0\0\0\0\0\0\0\0",
        28);
    EXPECT_EQ(file("/tmp/nol_list"), expected);
}

TEST_F(SystemToolsTest, leaves_an_old_channel_file_when_radartool_fails) {
    lab::file_write(root + "/tmp/nol_list", "old");
    const lab::ToolCall call = run("radartool", {"-i", "wifi2", "getnol", "/tmp/nol_list"});
    EXPECT_EQ(call.exit_code, 1);
    EXPECT_EQ(file("/tmp/nol_list"), "old");
}

TEST_F(SystemToolsTest, brings_missing_interfaces_back_with_their_radio_only) {
    lab::wifi_missing_set(root, "ath0", "wifi0");
    lab::wifi_missing_set(root, "ath1", "wifi1");
    lab::wifi_missing_set(root, "ath2");
    run("wifi", {"up", "wifi0"});
    EXPECT_FALSE(lab::wifi_is_missing(root, "ath0"));
    EXPECT_TRUE(lab::wifi_is_missing(root, "ath1"));
    EXPECT_TRUE(lab::wifi_is_missing(root, "ath2")) << "gone for good";
}

TEST_F(SystemToolsTest, prints_a_feature_number_and_zero_without_one) {
    EXPECT_EQ(out("wifisys_tool", {"-g", "1", "-f", "2"}), "0\n");
    lab::wifisys_feature_set(root, 1, 2, 2);
    EXPECT_EQ(out("wifisys_tool", {"-g", "1", "-f", "2"}), "2\n");
}

TEST_F(SystemToolsTest, keeps_the_led_pattern_and_the_broadcast_setting) {
    EXPECT_EQ(lab::led_pattern(root), "");
    run("velmor_led_ctrl", {"BackhaulConnect"});
    run("velmor_led_ctrl", {"BackhaulConfig"});
    EXPECT_EQ(lab::led_pattern(root), "BackhaulConfig");
    run("hyctl", {"setifbcast", "br-lan", "ath0", "enable"});
    run("hyctl", {"flushatbl", "br-lan"});
    EXPECT_EQ(lab::state_get(root, "ifbcast/ath0"), "enable");
}

TEST_F(SystemToolsTest, lists_the_hyd_process_while_it_runs) {
    EXPECT_THAT(out("ps", {}), Not(HasSubstr("hyd")));
    run("hyd", {"start"});
    EXPECT_THAT(out("ps", {}),
                HasSubstr("\n 2345 root      4120 S    /usr/sbin/hyd -d -C /tmp/hyd.conf"));
    run("hyd", {"stop"});
    EXPECT_THAT(out("ps", {}), Not(HasSubstr("hyd")));
    lab::process_list_extra_set(root, " 9 root 1 S hydra\n");
    EXPECT_THAT(out("ps", {}), HasSubstr("\n 9 root 1 S hydra\n"));
}

TEST_F(SystemToolsTest, does_not_start_hyd_while_it_is_configured_off) {
    run("uci", {"set", "hyd.config.Enable=0"});
    run("hyd", {"restart"});
    EXPECT_FALSE(lab::hyd_is_running(root));
    run("uci", {"set", "hyd.config.Enable=1"});
    run("hyd", {"restart"});
    EXPECT_TRUE(lab::hyd_is_running(root));
}

TEST_F(SystemToolsTest, notes_what_an_apply_is_for) {
    run("wireless", {"restart"});
    EXPECT_EQ(last_note(), "") << "nothing was asked for";
    ask_for_apply("wifi1", "/tmp/wifi5G_Apply", "ath0");
    run("wireless", {"restart"});
    EXPECT_EQ(last_note(), "wifi1 ath0 disabled=");
    lab::uci_store_set(root, "wireless.ath20.disabled", "1");
    ask_for_apply("wifi2", "/tmp/wifi5G_2_Apply", "ath20");
    run("wireless", {"restart"});
    EXPECT_EQ(last_note(), "wifi2 ath20 disabled=1");
}

TEST_F(SystemToolsTest, takes_an_access_point_down_and_up_with_an_apply) {
    lab::wifi_mode_set(root, "ath10", "Master");
    ask_for_apply("wifi0", "/tmp/wifi24G_Apply", "ath10");
    lab::uci_store_set(root, "wireless.ath10.disabled", "1");
    run("wireless", {"restart"});
    EXPECT_THAT(out("iwconfig", {"ath10"}), HasSubstr("Not-Associated"));
    lab::uci_store_set(root, "wireless.ath10.disabled", "0");
    run("wireless", {"restart"});
    EXPECT_THAT(out("iwconfig", {"ath10"}), Not(HasSubstr("Not-Associated")));
}

TEST_F(SystemToolsTest, drops_the_ap_of_a_station_that_is_applied_disabled) {
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    ask_for_apply("wifi1", "/tmp/wifi5G_Apply", "ath0");
    run("wireless", {"restart"});
    EXPECT_EQ(lab::wifi_ap_address(root, "ath0"), "02:00:00:00:00:01");
    lab::uci_store_set(root, "wireless.ath0.disabled", "1");
    run("wireless", {"restart"});
    EXPECT_EQ(lab::wifi_ap_address(root, "ath0"), "");
}

TEST_F(SystemToolsTest, writes_a_status_file_for_the_applied_radio_only_when_told) {
    ask_for_apply("wifi2", "/tmp/wifi5G_2_Apply", "ath20");
    run("wireless", {"restart"});
    EXPECT_EQ(file("/tmp/wifi5G_2_Status"), "(none)");
    lab::wireless_status_after_restart_set(root, "isSetting");
    run("wireless", {"restart"});
    EXPECT_EQ(file("/tmp/wifi5G_2_Status"), "isSetting\n");
    EXPECT_EQ(file("/tmp/wifi5G_Status"), "(none)");
}

TEST_F(SystemToolsTest, boots_the_supplicant_with_the_kind_of_pid_that_is_set) {
    const std::string pid_file = "/var/run/wpa_supplicant-global.pid";
    run("qca-wpa-supplicant", {"boot"});
    EXPECT_EQ(file(pid_file), "1\n");
    run("qca-wpa-supplicant", {"stop"});
    EXPECT_EQ(file(pid_file), "(none)");
    lab::supplicant_boot_set(root, lab::SupplicantBoot::no_file);
    run("qca-wpa-supplicant", {"boot"});
    EXPECT_EQ(file(pid_file), "(none)");
    lab::supplicant_boot_set(root, lab::SupplicantBoot::dead_pid);
    run("qca-wpa-supplicant", {"boot"});
    EXPECT_EQ(file(pid_file), "4194303\n");
    EXPECT_FALSE(lab::path_exists("/proc/4194303/comm"));
}

TEST_F(SystemToolsTest, boots_a_supplicant_process_that_lives_until_it_is_killed) {
    lab::supplicant_boot_set(root, lab::SupplicantBoot::process);
    run("qca-wpa-supplicant", {"boot"});
    const int pid = std::stoi(file("/var/run/wpa_supplicant-global.pid"));
    ASSERT_GT(pid, 1);
    std::string name;
    EXPECT_EQ(kill(pid, 0), 0);
    lab::file_read("/proc/" + std::to_string(pid) + "/cmdline", &name);
    EXPECT_FALSE(name.empty());
    kill(pid, SIGKILL);
    EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
}

TEST_F(SystemToolsTest, configures_nothing_without_an_agent_mode) {
    run("vl1905App", {"18", "1", "0"});
    run("vl1905App", {"17", "0x00"});
    run("vl1905App", {"23", "00:00:00:00:00:00"});
    EXPECT_EQ(file("/tmp/vl1905.json"), "(none)");
    EXPECT_EQ(file("/tmp/vl1905/APautooutput_24G"), "(none)");
}

TEST_F(SystemToolsTest, configures_each_service_ap_with_its_own_two_files) {
    struct Row {
        const char* code;
        const char* output;
        const char* state;
    };
    const std::array<Row, 9> rows = {{
        {"0x00", "APautooutput_24G", "vl1905WIFIState_24G"},
        {"0x01", "APautooutput_5G", "vl1905WIFIState_5G"},
        {"0x09", "APautoconfig_5G2", "vl1905WIFIState_5G2"},
        {"0x20", "APautooutput_G1_24G", "vl1905WIFIState_G1_24G"},
        {"0x21", "APautooutput_G1_5G", "vl1905WIFIState_G1_5G"},
        {"0x29", "APautoconfig_G1_5G2", "vl1905WIFIState_G1_5G2"},
        {"0x40", "APautooutput_V_24G", "vl1905WIFIState_V_24G"},
        {"0x41", "APautooutput_V_5G", "vl1905WIFIState_V_5G"},
        {"0x49", "APautoconfig_V_5G2", "vl1905WIFIState_V_5G2"},
    }};
    lab::agent_mode_set(root, lab::AgentMode::at_once);
    std::size_t files = 0;
    for (const Row& row : rows) {
        run("vl1905App", {"17", row.code});
        files += 2;
        EXPECT_NE(file(std::string("/tmp/vl1905/") + row.output), "(none)") << row.code;
        EXPECT_NE(file(std::string("/tmp/vl1905/") + row.state), "(none)") << row.code;
        EXPECT_EQ(lab::folder_list(root + "/tmp/vl1905").size(), files) << row.code;
    }
}

TEST_F(SystemToolsTest, configures_with_the_nth_request_of_each_service_ap) {
    lab::agent_mode_set(root, lab::AgentMode::after, 3);
    for (int request = 1; request <= 2; ++request) {
        run("vl1905App", {"17", "0x00"});
        run("vl1905App", {"17", "0x21"});
    }
    EXPECT_EQ(file("/tmp/vl1905/APautooutput_24G"), "(none)");
    run("vl1905App", {"17", "0x00"});
    EXPECT_NE(file("/tmp/vl1905/APautooutput_24G"), "(none)");
    EXPECT_NE(file("/tmp/vl1905/vl1905WIFIState_24G"), "(none)");
    EXPECT_EQ(file("/tmp/vl1905/APautooutput_G1_5G"), "(none)");
    lab::agent_mode_set(root, lab::AgentMode::after, 3);
    lab::file_remove(root + "/tmp/vl1905/APautooutput_24G");
    run("vl1905App", {"17", "0x00"});
    EXPECT_EQ(file("/tmp/vl1905/APautooutput_24G"), "(none)") << "counted anew";
}

TEST_F(SystemToolsTest, receives_but_never_applies_in_output_only_mode) {
    lab::agent_mode_set(root, lab::AgentMode::output_only);
    run("vl1905App", {"17", "0x01"});
    EXPECT_NE(file("/tmp/vl1905/APautooutput_5G"), "(none)");
    EXPECT_EQ(file("/tmp/vl1905/vl1905WIFIState_5G"), "(none)");
}

TEST_F(SystemToolsTest, writes_the_reload_value_on_a_line_of_its_own) {
    lab::agent_reload_value_set(root, "1");
    run("vl1905App", {"18", "1", "0"});
    EXPECT_EQ(file("/tmp/vl1905.json"),
              "{\n    \"AP-autoconfig_Role\": \"enrollee\",\n"
              "    \"AP-autoconfig_WiFiReload\": \"1\",\n    \"AP-autoconfig_End\": \"1\"\n}\n");
}

TEST_F(SystemToolsTest, only_records_tools_without_an_answer) {
    for (const char* tool : {"vlog", "wifi_channel_monitor", "ifconfig", "some-other-tool"}) {
        const lab::ToolCall call = run(tool, {"once"});
        EXPECT_EQ(call.out + call.err, "") << tool;
        EXPECT_EQ(call.exit_code, 0) << tool;
        EXPECT_EQ(lab::recorded_call_texts(root).back(), std::string(tool) + " once");
    }
}

}  // namespace
