// An image that is fit, as a test of `backhaulctl check` begins with it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/ctl/ctl_program.h"

namespace ctl_test {

using testing::HasSubstr;

inline constexpr char PROFILE[] =
    "ath0 BACKHAUL_STA 5h 30 0\nath1 BACKHAUL_STA 5l 20 0\nath20 BACKHAUL_AP 5h 0 0\n"
    "ath10 MAIN_SERVICE_AP 5l 0 0\nath22 MAIN_SERVICE_AP 5h 0 1\neth ETHERNET 0 0 0\n"
    "timer AP_TIMER_INTF 0 0 0\n";

inline std::string section(const std::string& name) {
    return "config wifi-iface '" + name +
           "'\n\toption ssid 'mesh-backhaul'\n\toption auth 'WPA2PSK'\n"
           "\toption WPAPSKkey 'a-good-key'\n\toption disabled '0'\n\n";
}

inline std::string wireless() {
    return "config wifi-device 'wifi0'\n\toption channel 'auto'\n\n" + section("ath0") +
           section("ath1") + section("ath20") + section("ath10") + section("ath22") +
           section("ath23") + section("ath24");
}

inline constexpr char ROUTES[] =
    "Iface\tDestination\tGateway\tFlags\tRefCnt\tUse\tMetric\tMask\tMTU\tWindow\tIRTT\n"
    "br-lan\t00000000\t0101A8C0\t0003\t0\t0\t0\t00000000\t0\t0\t0\n"
    "br-lan\t0001A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n";

inline std::string udp(const std::string& port) {
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

}  // namespace ctl_test
