// An image that is fit, and each way in which it can be broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/ctl/check_fixture.h"
#include "tests/ctl/ctl_program.h"

namespace {

using ctl_test::CheckTest;
using ctl_test::Folder;
using ctl_test::PROFILE;
using ctl_test::Result;
using ctl_test::ROUTES;
using ctl_test::run;
using ctl_test::section;
using ctl_test::udp;
using ctl_test::wireless;
using testing::HasSubstr;

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
