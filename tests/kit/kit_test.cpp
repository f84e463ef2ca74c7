// The conformance kit in a sandbox: its reference tools keep their part, and a tool that does not
// is named.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "kit_texts.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::put_file;
using harness::put_script;
using testing::HasSubstr;
using testing::Not;

struct Said {
    int code = -1;
    std::string out;
};

// The line's output, standard error included.
Said say(const std::string& line) {
    Said said;
    FILE* const out = popen((line + " 2>&1").c_str(), "r");
    for (int one = getc(out); one != EOF; one = getc(out)) {
        said.out.push_back(static_cast<char>(one));
    }
    const int status = pclose(out);
    said.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return said;
}

constexpr char PROFILE[] =
    "ath0 BACKHAUL_STA 5h 30 0\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "ath10 MAIN_SERVICE_AP 5l 0 0\n"
    "ath11 GUEST_SERVICE_AP 2 0 0\n"
    "ath22 MAIN_SERVICE_AP 5h 0 1\n"
    "eth ETHERNET - 0 0\n";

// A node whose agent, wireless service and LED tool are the kit's own.
class Kit : public harness::SandboxTest {
protected:
    void SetUp() override {
        SandboxTest::SetUp();
        put_script("/tmp/kit/backhaul_kit", KIT_BACKHAUL_KIT);
        put_script("/tmp/kit/netprobe", KIT_NETPROBE);
        cover("/usr/sbin/vl1905App", KIT_VL1905APP);
        cover("/etc/init.d/wireless", KIT_WIRELESS);
        cover("/sbin/velmor_led_ctrl", KIT_VELMOR_LED_CTRL);
        put_file("/tmp/wifi_if_profile", PROFILE);
        for (const char* const name : {"ath0", "ath20", "ath10", "ath11", "ath22"}) {
            const std::string section = std::string("wireless.") + name + ".";
            lab::uci_store_set("", section + "disabled", "1");
            lab::uci_store_set("", section + "ssid", "mesh");
            lab::uci_store_set("", section + "WPAPSKkey", "twelve-frogs-sing");
        }
        lab::hyd_running_set("", true);
        lab::wifi_associated_set("", "ath0", "02:00:00:00:01:01");
        EXPECT_EQ(say("/tmp/kit/netprobe init").code, 0);
    }
    // The kit's agent with one piece of its text in another form.
    void cover_agent(const std::string& piece, const std::string& other) {
        std::string agent = KIT_VL1905APP;
        const std::size_t at = agent.find(piece);
        ASSERT_NE(at, std::string::npos) << piece;
        cover("/usr/sbin/vl1905App", agent.replace(at, piece.size(), other));
    }

    static Said kit(const std::string& words) {
        return say("/tmp/kit/backhaul_kit -w 0 " + words);
    }
};

TEST_F(Kit, finds_its_own_reference_tools_right) {
    const Said said = kit("store profile service agent led database");
    EXPECT_EQ(said.code, 0) << said.out;
    EXPECT_THAT(said.out, Not(HasSubstr("WRONG")));
    EXPECT_THAT(said.out, HasSubstr("ok         agent: ath11: configured, disabled is 0\n"));
    EXPECT_THAT(said.out,
                HasSubstr("ok         service: ath10: the service says when it is done\n"));
}

TEST_F(Kit, puts_the_store_back_as_it_was) {
    const Said before = say("uci show wireless");
    kit("store agent");
    EXPECT_EQ(say("uci show wireless").out, before.out);
}

TEST_F(Kit, names_an_agent_that_leaves_the_access_points_off) {
    cover_agent("    uci set \"wireless.$1.disabled=0\"\n", "");
    const Said said = kit("agent");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      agent: ath10: the files are there, but disabled is "
                                    "not 0: the AP stays off for ever\n"));
}

TEST_F(Kit, names_an_agent_that_leaves_a_follower_off) {
    EXPECT_THAT(kit("agent").out,
                HasSubstr("ok         agent: ath22: a follower, disabled is 0\n"));
    cover_agent("\"$1\":*:9:5h", "none");
    const Said said = kit("agent");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      agent: ath22: a follower, and disabled is not 0: "
                                    "the AP stays off for ever\n"));
}

TEST_F(Kit, names_a_bridge_without_a_broadcast_address) {
    EXPECT_THAT(kit("network").out,
                HasSubstr("ok         network: br-lan has a broadcast address"));
    const std::string address = "ip addr add 192.168.1.20/24 dev br-lan";
    EXPECT_EQ(say("ip addr flush dev br-lan && " + address).code, 0);
    EXPECT_THAT(kit("network").out,
                HasSubstr("WRONG      network: br-lan has no broadcast address"));
    EXPECT_EQ(say("ip addr flush dev br-lan && " + address + " brd +").code, 0);
}

TEST_F(Kit, names_an_agent_that_never_answers) {
    cover("/usr/sbin/vl1905App", "#!/bin/sh\n");
    const Said said = kit("agent");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      agent: ath11: no APautooutput_G1_24G and "
                                    "vl1905WIFIState_G1_24G within 0 s"));
    EXPECT_THAT(said.out, HasSubstr("WRONG      agent: no AP-autoconfig_WiFiReload"));
}

TEST_F(Kit, does_not_judge_the_agent_of_a_node_without_an_uplink) {
    lab::wifi_not_associated_set("", "ath0");
    const Said said = kit("agent");
    EXPECT_EQ(said.code, 0) << said.out;
    EXPECT_THAT(said.out, HasSubstr("not tried  agent: 17, no station is associated"));
}

TEST_F(Kit, names_a_service_that_never_is_done) {
    cover("/etc/init.d/wireless", "#!/bin/sh\necho isSetting >/tmp/wifi5G_Status\n");
    const Said said = kit("service");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out,
                HasSubstr("WRONG      service: ath10: /tmp/wifi5G_Status says isSetting"));
    EXPECT_THAT(said.out, HasSubstr("ok         service: ath11: the service says when it is done"));
}

TEST_F(Kit, names_a_supplicant_without_the_driver) {
    lab::answer_push("", "wpa_cli.interface_add", "FAIL");
    Said said = kit("supplicant");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out,
                HasSubstr("WRONG      supplicant: interface_add says FAIL (driver athr?)"));
    said = kit("supplicant");
    EXPECT_EQ(said.code, 0) << said.out;
    EXPECT_THAT(harness::take_calls().back(),
                HasSubstr("wpa_cli -g /var/run/wpa_supplicantglobal interface_remove ath0"));
}

TEST_F(Kit, names_what_is_missing_in_the_store) {
    lab::uci_store_unset("", "wireless.ath10.disabled");
    lab::uci_store_unset("", "wireless.ath0.WPAPSKkey");
    lab::uci_store_set("", "wireless.ath20.ssid", "two words");
    const Said said = kit("store");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      store: wireless.ath10.disabled is not 0 or 1"));
    EXPECT_THAT(said.out, HasSubstr("WRONG      store: ath0 has no SSID or no key"));
}

TEST_F(Kit, names_a_profile_that_will_not_be_read_as_meant) {
    put_file("/tmp/wifi_if_profile", "ath10 MAIN_SERVICE_AP 5l 0\n\n");
    const Said said = kit("profile");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out,
                HasSubstr("WRONG      profile: lines that will not be read as meant: 1 2"));
    EXPECT_THAT(said.out, HasSubstr("WRONG      profile: no line named eth"));
    EXPECT_THAT(said.out, HasSubstr("WRONG      profile: no BACKHAUL_STA"));
}

TEST_F(Kit, names_a_prober_that_left_a_column_out) {
    ASSERT_EQ(say("rm /tmp/netprobe.db; sqlite3 /tmp/netprobe.db 'CREATE TABLE Device (ALMac TEXT,"
                  " DevName TEXT, IP TEXT);'")
                  .code,
              0);
    const Said said = kit("database");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      database: SELECT ALMac,Alive,nNotAlive"));
    EXPECT_THAT(said.out, HasSubstr("ok         database: SELECT DevName,IP"));
}

TEST_F(Kit, names_a_led_tool_that_fails) {
    cover("/sbin/velmor_led_ctrl", "#!/bin/sh\n[ \"$1\" != BackhaulConfig ]\n");
    const Said said = kit("led");
    EXPECT_EQ(said.code, 1);
    EXPECT_THAT(said.out, HasSubstr("WRONG      led: fails or hangs with BackhaulConfig\n"));
    EXPECT_THAT(said.out, HasSubstr("ok         led: takes BackhaulFinish\n"));
}

TEST_F(Kit, refuses_an_unknown_part_and_a_running_daemon) {
    EXPECT_EQ(kit("stor").code, 2);
    EXPECT_EQ(say("/tmp/kit/backhaul_kit -w x").code, 2);
    lab::process_list_extra_set("", "  900 root      1180 S    /usr/sbin/backhaul_monitor -m\n");
    const Said said = kit("led");
    EXPECT_EQ(said.code, 2);
    EXPECT_THAT(said.out, HasSubstr("stop backhaul_monitor first"));
}

// What the scripts themselves promise.

TEST_F(Kit, keeps_the_prober_s_rows_as_the_daemon_asks_for_them) {
    EXPECT_EQ(say("/tmp/kit/netprobe seen 02:AA:00:00:00:07 192.168.1.7 \"Bob's\"").code, 0);
    EXPECT_EQ(say("/tmp/kit/netprobe missed 02:AA:00:00:00:07").code, 0);
    EXPECT_EQ(
        say("/tmp/kit/netprobe link 02:00:00:00:01:01 02:AA:00:00:00:07 02:aa:00:00:00:01").code,
        0);
    EXPECT_EQ(say("sqlite3 /tmp/netprobe.db 'SELECT * FROM Device;'").out,
              "02:aa:00:00:00:07|192.168.1.7|Bob's|L2Device|0|1\n");
    EXPECT_EQ(say("sqlite3 /tmp/netprobe.db 'SELECT * FROM ExtenderWiFiLink;'").out,
              "02:00:00:00:01:01|02:aa:00:00:00:07|02:aa:00:00:00:01|0\n");
    EXPECT_EQ(say("/tmp/kit/netprobe lost 02:00:00:00:01:01").code, 0);
    EXPECT_EQ(say("sqlite3 /tmp/netprobe.db 'SELECT Status FROM ExtenderWiFiLink;'").out, "10\n");
    EXPECT_EQ(say("/tmp/kit/netprobe link 1").code, 2);
}

TEST_F(Kit, hands_the_supplicant_every_word_but_the_driver) {
    put_script("/tmp/kit/real", "#!/bin/sh\nprintf '<%s>' \"$@\"\n");
    put_script("/tmp/kit/wpa_cli", KIT_WPA_CLI_WRAPPER);
    EXPECT_EQ(say("WPA_CLI=/tmp/kit/real /tmp/kit/wpa_cli -g /g interface_add ath0 /tmp/c athr "
                  "/r \"\" br-lan")
                  .out,
              "<-g></g><interface_add><ath0></tmp/c><nl80211></r><><br-lan>");
}

TEST_F(Kit, configures_from_the_file_of_settings) {
    put_file("/tmp/settings", "2 guests open-sesame-1\n0 home sesame-2-open\n");
    EXPECT_EQ(say("SERVICE_AP_SETTINGS=/tmp/settings /usr/sbin/vl1905App 17 0x20").code, 0);
    EXPECT_EQ(lab::uci_store_get("", "wireless.ath11.ssid"), "guests");
    EXPECT_EQ(lab::uci_store_get("", "wireless.ath11.disabled"), "0");
    EXPECT_EQ(lab::uci_store_get("", "wireless.ath10.ssid"), "mesh");
    EXPECT_TRUE(harness::file_is_there("/tmp/vl1905/vl1905WIFIState_G1_24G"));
}

// A router's own tool takes every form that a line of the daemon about the configuration has, where
// this machine has that tool: Debian has no package of it.
TEST(RealUci, takes_every_configuration_line_of_the_daemon) {
    std::string tool;
    for (const char* const place : {"/usr/local/bin/uci", "/usr/bin/uci", "/sbin/uci"}) {
        tool = tool.empty() && access(place, X_OK) == 0 ? place : tool;
    }
    if (tool.empty()) {
        GTEST_SKIP() << "this machine has no uci: Debian has no package of it";
    }
    put_file("/tmp/config/wireless",
             "config wifi-iface 'ath0'\n\toption disabled '1'\n\toption ssid 'mesh'\n");
    put_file("/tmp/config/hyd", "config hyd 'config'\n\toption Enable '1'\n");
    put_script("/tmp/real/uci",
               ("#!/bin/sh\nexec " + tool + " -c /tmp/config -p /tmp/delta \"$@\"\n").c_str());
    const auto line = [](const std::string& words) {
        const Said said = say("PATH=/tmp/real:$PATH; uci " + words);
        EXPECT_EQ(said.code, 0) << words << ": " << said.out;
        return said.out;
    };
    EXPECT_EQ(line("get wireless.ath0.ssid"), "mesh\n");
    EXPECT_EQ(line("set wireless.ath0.disabled=0"), "");
    EXPECT_EQ(line("get wireless.ath0.disabled"), "0\n");
    EXPECT_EQ(line("commit wireless"), "");
    EXPECT_THAT(harness::file_text("/tmp/config/wireless"), HasSubstr("option disabled '0'"));
    EXPECT_EQ(line("set hyd.config.Enable=0"), "");
    EXPECT_EQ(line("set hyd.config.Enable=1"), "");
    EXPECT_EQ(line("commit hyd"), "");
    EXPECT_THAT(harness::file_text("/tmp/config/hyd"), HasSubstr("option Enable '1'"));
}

}  // namespace
