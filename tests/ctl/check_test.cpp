// An image that is fit, and each way in which it can be broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/ctl/ctl_program.h"

namespace {

using ctl_test::Folder;
using ctl_test::Result;
using ctl_test::run;
using ctl_test::run_tool;
using testing::HasSubstr;

constexpr char PROFILE[] =
    "ath0 BACKHAUL_STA 5h 30 0\nath1 BACKHAUL_STA 5l 20 0\nath20 BACKHAUL_AP 5h 0 0\n"
    "ath10 MAIN_SERVICE_AP 5l 0 0\nath22 MAIN_SERVICE_AP 5h 0 1\neth ETHERNET 0 0 0\n"
    "timer AP_TIMER_INTF 0 0 0\n";

std::string section(const std::string& name) {
    return "config wifi-iface '" + name +
           "'\n\toption ssid 'mesh-backhaul'\n\toption auth 'WPA2PSK'\n"
           "\toption WPAPSKkey 'a-good-key'\n\toption disabled '0'\n\n";
}

std::string wireless() {
    return "config wifi-device 'wifi0'\n\toption channel 'auto'\n\n" + section("ath0") +
           section("ath1") + section("ath20") + section("ath10") + section("ath22") +
           section("ath23") + section("ath24");
}

constexpr char ROUTES[] =
    "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n"
    "br-lan\t00000000\t0101A8C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
    "br-lan\t0001A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n";

std::string udp(const std::string& port) {
    return "   sl  local_address rem_address   st tx_queue rx_queue\n"
           "  100: 00000000:" +
           port + " 00000000:0000 07 00000000:00000000 00:00000000\n";
}

class CheckTest : public testing::Test {
protected:
    void SetUp() override {
        image.put("tmp/wifi_if_profile", PROFILE);
        image.put("etc/config/wireless", wireless());
        image.put("etc/config/hyd", "config hyd 'config'\n\toption Enable '1'\n");
        for (const char* const tool : {"usr/sbin/uci",
                                       "usr/sbin/wpa_cli",
                                       "usr/sbin/iwconfig",
                                       "usr/sbin/iwpriv",
                                       "sbin/ifconfig",
                                       "sbin/wifi",
                                       "usr/sbin/hyctl",
                                       "usr/sbin/radartool",
                                       "usr/sbin/wifisys_tool",
                                       "usr/sbin/vl1905App",
                                       "usr/sbin/wifi_channel_monitor",
                                       "usr/sbin/vlog",
                                       "bin/ps",
                                       "bin/grep",
                                       "usr/bin/openssl",
                                       "bin/sh",
                                       "sbin/velmor_led_ctrl",
                                       "etc/init.d/wireless",
                                       "etc/init.d/qca-wpa-supplicant",
                                       "etc/init.d/hyd"}) {
            image.put(tool, "#!/bin/sh\n", true);
        }
        image.put("usr/sbin/wpa_supplicant",
                  "\x7f"
                  "ELF" +
                      std::string("\0nl80211\0athr\0wired\0", 20),
                  true);
        image.put("sys/class/net/br-lan/address", "02:00:00:00:00:01\n");
        image.put("proc/net/route", ROUTES);
        image.put("proc/net/udp", udp("0044"));
        for (const char* const name : {"symlinks", "hardlinks", "fifos", "regular"}) {
            image.put(std::string("proc/sys/fs/protected_") + name, "1\n");
        }
        image.put("var/log/x", "");
        image.put("var/run/x", "");
        chmod((image.path() + "/tmp").c_str(), 01777);
        database(
            "CREATE TABLE Device (ALMac TEXT, Alive INTEGER, nNotAlive INTEGER, DevType TEXT,"
            " DevName TEXT, IP TEXT);"
            "CREATE TABLE ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);");
    }

    void database(const std::string& sql) {
        image.remove("tmp/netprobe.db");
        const Result made = run_tool({"sqlite3", image.path() + "/tmp/netprobe.db", sql});
        ASSERT_EQ(made.code, 0) << made.err;
    }

    /// The check finds this gap and no other one that stops the daemon.
    void expect_stop(const std::string& id, const std::string& words) {
        const Result result = run({"check", "--root", image.path()});
        EXPECT_EQ(result.code, 1) << result.out;
        EXPECT_THAT(result.out, HasSubstr("[" + id + "]"));
        EXPECT_THAT(result.out, HasSubstr(words));
        EXPECT_THAT(result.out, HasSubstr("1 gap with which the daemon would not work"));
    }
    void expect_weak(const std::string& id, const std::string& words) {
        const Result result = run({"check", "--root", image.path()});
        EXPECT_EQ(result.code, 0) << result.out;
        EXPECT_THAT(result.out, HasSubstr("[" + id + "]"));
        EXPECT_THAT(result.out, HasSubstr(words));
    }
    std::string with(std::string text, const std::string& what, const std::string& other) {
        const size_t at = text.find(what);
        EXPECT_NE(at, std::string::npos) << what;
        return text.replace(at, what.size(), other);
    }
    /// A process of that name.
    void process(int pid, int parent) {
        image.put(
            "proc/" + std::to_string(pid) + "/stat",
            std::to_string(pid) + " (backhaul_monito) S " + std::to_string(parent) + " 1 1\n");
    }

    Folder image;
};

TEST(CheckCopy, says_first_that_a_copy_of_logs_is_no_image) {
    const Folder logs;
    logs.put("var/log/backhaul_flow_log", "");
    const Result result = run({"check", "--root", logs.path()});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(
        result.out.rfind(logs.path() + " holds no programs: it is a copy of a node's logs", 0), 0U)
        << result.out;
    EXPECT_THAT(run({"check", "--json", "--root", logs.path()}).out, HasSubstr("\"image\":false"));
    logs.put("bin/sh", "", true);
    EXPECT_EQ(run({"check", "--root", logs.path()}).out.find("holds no programs"),
              std::string::npos);
}

TEST_F(CheckTest, finds_nothing_in_an_image_that_is_fit) {
    const Result result = run({"check", "--root", image.path()});
    EXPECT_EQ(result.code, 0) << result.out;
    EXPECT_EQ(result.out, "fit: no gap was found; what the tools answer was not asked\n");
}

TEST_F(CheckTest, finds_service_aps_that_the_agent_leaves_off_for_ever) {
    image.put("tmp/vl1905/vl1905WIFIState_5G", "");
    const std::string on = section("ath10");
    image.put("etc/config/wireless",
              with(wireless(), on, with(on, "disabled '0'", "disabled '1'")));
    expect_stop("store.agent", "stays off for ever");
}

TEST_F(CheckTest, finds_a_supplicant_without_its_driver) {
    image.put("usr/sbin/wpa_supplicant", std::string("\0nl80211\0wired\0", 15), true);
    expect_stop("supplicant.driver", "interface_add answers FAIL");
}

TEST_F(CheckTest, finds_anonymous_sections) {
    image.put("etc/config/wireless",
              wireless() + "config wifi-iface\n\toption ssid 'x'\n\toption disabled '0'\n");
    expect_stop("store.anonymous", "1 anonymous wifi-iface section");
}

TEST_F(CheckTest, finds_that_there_is_no_configuration_of_hyd) {
    image.remove("etc/config/hyd");
    expect_stop("hyd.config", "/etc/config/hyd is not there");
}

TEST_F(CheckTest, finds_a_configuration_of_hyd_without_the_named_section) {
    image.put("etc/config/hyd", "config hyd\n\toption Enable '1'\n");
    expect_stop("hyd.config", "no section named config");
}

TEST_F(CheckTest, finds_a_second_daemon_on_the_ports) {
    process(100, 1);
    process(101, 100);
    EXPECT_EQ(run({"check", "--root", image.path()}).code, 0);
    process(200, 1);
    process(201, 200);
    image.put("proc/net/udp", udp("8CA3"));
    expect_stop("port.second", "more than one daemon runs");
}

TEST_F(CheckTest, finds_a_port_that_another_program_uses) {
    image.put("proc/net/udp", udp("8CA2"));
    expect_stop("port.used", "UDP port 36002");
}

TEST_F(CheckTest, finds_that_there_is_no_profile) {
    image.remove("tmp/wifi_if_profile");
    expect_stop("profile.missing", "for ever");
}

TEST_F(CheckTest, finds_an_empty_profile) {
    image.put("tmp/wifi_if_profile", "");
    expect_stop("profile.empty", "no interface");
}

TEST_F(CheckTest, finds_an_extender_without_a_line_for_its_cable) {
    image.put("tmp/wifi_if_profile", with(PROFILE, "eth ETHERNET 0 0 0\n", ""));
    expect_stop("profile.eth", "started for ever");
}

TEST_F(CheckTest, asks_a_root_for_no_cable_and_no_station) {
    image.put("tmp/backhaul_mode_change", "master\n");
    image.put("tmp/wifi_if_profile",
              "ath20 BACKHAUL_AP 5h 0 0\nath10 MAIN_SERVICE_AP 5l 0 0\n"
              "ath22 MAIN_SERVICE_AP 5h 0 1\ntimer AP_TIMER_INTF 0 0 0\n");
    EXPECT_EQ(run({"check", "--root", image.path()}).code, 0);
}

TEST_F(CheckTest, finds_an_extender_without_a_station) {
    image.put("tmp/wifi_if_profile", with(with(PROFILE, "ath0 BACKHAUL_STA 5h 30 0\n", ""),
                                          "ath1 BACKHAUL_STA 5l 20 0\n", ""));
    expect_stop("profile.station", "no BACKHAUL_STA");
}

TEST_F(CheckTest, finds_a_type_that_is_none) {
    image.put("tmp/wifi_if_profile", with(PROFILE, "ath1 BACKHAUL_STA", "ath1 BACKHAUL_STATION"));
    expect_stop("profile.type", "line 2 has a type that is none");
}

TEST_F(CheckTest, finds_a_band_that_is_none) {
    image.put("tmp/wifi_if_profile", with(PROFILE, "ath1 BACKHAUL_STA 5l", "ath1 BACKHAUL_STA 6"));
    expect_stop("profile.band", "line 2");
}

TEST_F(CheckTest, finds_an_empty_line_in_the_profile) {
    image.put("tmp/wifi_if_profile", with(PROFILE, "ath20", "\nath20"));
    expect_weak("profile.blank", "line 3 is empty");
}

TEST_F(CheckTest, finds_a_line_of_the_profile_that_is_counted_twice) {
    const auto put = [this](size_t length, const char* end) {
        std::string last = "timer AP_TIMER_INTF 0 0 0";
        last.resize(length, ' ');
        image.put("tmp/wifi_if_profile", with(PROFILE, "timer AP_TIMER_INTF 0 0 0\n", last + end));
        return run({"check", "--root", image.path()}).out;
    };
    // The loader counts pieces of 63 bytes, line ends among them.
    EXPECT_EQ(put(62, "\n"), "fit: no gap was found; what the tools answer was not asked\n");
    EXPECT_EQ(put(63, ""), "fit: no gap was found; what the tools answer was not asked\n");
    put(63, "\n");
    expect_weak("profile.long", "line 7 has more than 62 characters");
}

TEST_F(CheckTest, finds_service_aps_that_the_agent_cannot_answer_for) {
    image.put("tmp/wifi_if_profile",
              with(PROFILE, "ath10 MAIN_SERVICE_AP 5l 0 0", "ath10 MAIN_SERVICE_AP 5h 0 0"));
    expect_stop("profile.service", "never gets ready");
}

TEST_F(CheckTest, finds_an_interface_without_a_section) {
    image.put("etc/config/wireless", with(wireless(), section("ath1"), ""));
    expect_stop("store.section", "wireless.ath1 has no section");
}

TEST_F(CheckTest, finds_a_service_ap_without_an_explicit_disabled) {
    const std::string own = section("ath10");
    image.put("etc/config/wireless",
              with(wireless(), own, with(own, "\toption disabled '0'\n", "")));
    expect_stop("store.disabled", "wireless.ath10 has no explicit disabled");
}

TEST_F(CheckTest, finds_characters_that_a_shell_reads_otherwise) {
    for (const char* const ssid : {"my mesh", "mesh$HOME", "me`sh", "me\\sh", "me\"sh"}) {
        const std::string own = section("ath20");
        image.put("etc/config/wireless", with(wireless(), own, with(own, "mesh-backhaul", ssid)));
        expect_stop("store.letters", "wireless.ath20 has a ssid with");
    }
}

TEST_F(CheckTest, finds_a_station_without_protection) {
    const std::string own = section("ath0");
    image.put("etc/config/wireless", with(wireless(), own, with(own, "WPA2PSK", "OPEN")));
    expect_stop("store.auth", "neither key nor closing brace");
}

TEST_F(CheckTest, finds_a_message_ap_without_an_ssid) {
    const std::string own = section("ath20");
    image.put("etc/config/wireless",
              with(wireless(), own, with(own, "\toption ssid 'mesh-backhaul'\n", "")));
    expect_stop("store.ssid", "not understood");
}

TEST_F(CheckTest, finds_a_companion_without_a_section_whatever_the_profile_has) {
    image.put("tmp/wifi_if_profile", with(PROFILE, "ath22 MAIN_SERVICE_AP 5h 0 1\n", ""));
    EXPECT_EQ(run({"check", "--root", image.path()}).out.rfind("fit", 0), 0U);
    image.put("etc/config/wireless", with(wireless(), section("ath24"), ""));
    expect_weak("store.companion", "wireless.ath24 has no section of its name");
}

TEST_F(CheckTest, takes_a_supplicant_without_the_driver_behind_a_wrapper) {
    image.put("usr/sbin/wpa_supplicant",
              std::string("\x7f"
                          "ELF\0nl80211\0",
                          13),
              true);
    expect_stop("supplicant.driver", "put the kit's wpa_cli-wrapper before it");
    image.put("usr/sbin/wpa_cli", "#!/bin/sh\n[ \"$5\" != athr ] || exit 0\n", true);
    EXPECT_EQ(run({"check", "--root", image.path()}).code, 0);
}

TEST_F(CheckTest, counts_no_daemon_that_has_ended) {
    process(100, 1);
    process(200, 1);
    expect_stop("port.second", "more than one daemon runs");
    image.put("proc/200/stat", "200 (backhaul_monito) Z 1 1 1\n");
    EXPECT_EQ(run({"check", "--root", image.path()}).code, 0);
}

TEST_F(CheckTest, finds_each_tool_that_is_missing) {
    for (const char* const tool : {"usr/sbin/uci", "usr/sbin/wpa_cli", "usr/sbin/iwconfig",
                                   "usr/bin/openssl", "etc/init.d/wireless"}) {
        image.remove(tool);
        const std::string name = tool;
        expect_stop("tool",
                    name.starts_with("etc") ? "/" + name : name.substr(name.rfind('/') + 1));
        image.put(tool, "#!/bin/sh\n", true);
    }
}

TEST_F(CheckTest, finds_a_tool_that_may_not_be_run) {
    image.put("usr/sbin/iwpriv", "#!/bin/sh\n");
    expect_stop("tool", "iwpriv is not on PATH, or may not be run");
}

TEST_F(CheckTest, finds_that_there_is_no_bridge) {
    image.remove("sys/class/net/br-lan");
    expect_stop("bridge.missing", "no bridge br-lan");
}

TEST_F(CheckTest, finds_a_bridge_without_an_address) {
    image.put("proc/net/route", "Iface\tDestination\n");
    expect_stop("bridge.address", "br-lan has no IPv4 address");
}

TEST_F(CheckTest, finds_that_there_is_no_default_route) {
    image.put("proc/net/route", with(ROUTES, "br-lan\t00000000", "br-lan\t0000FEA9"));
    expect_weak("bridge.route", "retried every 2 s");
}

TEST_F(CheckTest, finds_that_there_is_no_database) {
    image.remove("tmp/netprobe.db");
    expect_stop("database.missing", "the worker waits for it");
}

TEST_F(CheckTest, finds_a_database_that_is_none) {
    image.put("tmp/netprobe.db", "no database\n");
    expect_stop("database.format", "no SQLite database");
}

TEST_F(CheckTest, finds_a_column_that_the_database_lacks) {
    database(
        "CREATE TABLE Device (ALMac TEXT, Alive INTEGER, DevType TEXT, DevName TEXT, IP TEXT);"
        "CREATE TABLE ExtenderWiFiLink (Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);");
    expect_stop("database.column", "no column Device.nNotAlive");
}

TEST_F(CheckTest, finds_a_folder_that_cannot_be_written) {
    image.remove("var/log");
    expect_stop("folder", "/var/log cannot be written");
}

TEST_F(CheckTest, finds_what_the_kernel_does_not_protect) {
    image.put("proc/sys/fs/protected_symlinks", "0\n");
    expect_weak("kernel", "protected_symlinks is not 1");
}

TEST_F(CheckTest, gives_programs_each_gap) {
    image.remove("etc/config/hyd");
    const Result result = run({"check", "--json", "--root", image.path()});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.out, HasSubstr("{\"id\":\"hyd.config\",\"stops\":true,"));
    EXPECT_THAT(result.out, HasSubstr("\"stops\":1,"));
}

}  // namespace
