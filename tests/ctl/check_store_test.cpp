// What `backhaulctl check` finds in the configuration store, the database and the folders.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "tests/ctl/check_fixture.h"

namespace {

using ctl_test::Result;
using ctl_test::run;
using ctl_test::section;
using ctl_test::wireless;
using testing::HasSubstr;
using testing::Not;

/// The fit image with something else in one section.
class StoreTest : public ctl_test::CheckTest {
protected:
    void change(const std::string& name, const std::string& what, const std::string& other) {
        image.put("etc/config/wireless",
                  with(wireless(), section(name), with(section(name), what, other)));
    }
};

TEST_F(StoreTest, finds_a_disabled_that_is_neither_0_nor_1) {
    change("ath10", "disabled '0'", "disabled 'no'");
    expect_stop("store.disabled_value", "wireless.ath10 has a disabled that is neither 0 nor 1");
}

TEST_F(StoreTest, warns_of_a_station_that_does_not_tell_whether_it_is_on) {
    change("ath0", "\toption disabled '0'\n", "");
    expect_weak("store.disabled", "wireless.ath0 has no explicit disabled");
}

TEST_F(StoreTest, warns_of_a_station_without_name_or_key) {
    change("ath0", "\toption WPAPSKkey 'a-good-key'\n", "");
    expect_weak("store.key", "wireless.ath0 has no WPAPSKkey");
    change("ath0", "\toption ssid 'mesh-backhaul'\n", "");
    expect_weak("store.ssid", "wireless.ath0 has no ssid");
}

TEST_F(StoreTest, counts_the_sections_without_a_name) {
    const std::string nameless = "config wifi-iface\n\toption ssid 'x'\n\n";
    image.put("etc/config/wireless", wireless() + nameless);
    expect_stop("store.anonymous", "1 anonymous wifi-iface section in");
    image.put("etc/config/wireless", wireless() + nameless + "config other\n\n" + nameless);
    expect_stop("store.anonymous", "2 anonymous wifi-iface sections in");
}

TEST_F(StoreTest, lets_a_follower_be_off_after_the_agent_has_answered) {
    image.put("tmp/vl1905/vl1905WIFIState_5G", "");
    change("ath22", "disabled '0'", "disabled '1'");
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("store.agent")));
    change("ath10", "disabled '0'", "disabled '1'");
    expect_stop("store.agent", "wireless.ath10 is disabled although");
}

TEST_F(StoreTest, warns_of_an_ap_for_extenders_without_a_name) {
    image.put("tmp/wifi_if_profile", with(ctl_test::PROFILE, "ath20 BACKHAUL_AP 5h 0 0\n",
                                          "ath20 BACKHAUL_AP 5h 0 0\nath21 BACKHAUL_AP 5l 0 0\n"));
    image.put("etc/config/wireless",
              wireless() + with(section("ath21"), "\toption ssid 'mesh-backhaul'\n", ""));
    EXPECT_THAT(run({"check", "--root", image.path()}).out,
                HasSubstr("wireless.ath21 has no ssid"));
}

TEST_F(StoreTest, finds_each_letter_that_is_read_otherwise) {
    for (const std::string letter : {"$", "`", "\"", "\\"}) {
        change("ath20", "'a-good-key'", "'a" + letter + "key'");
        expect_stop("store.letters", "wireless.ath20 has a WPAPSKkey with the character " + letter);
    }
    for (const std::string letter : {" ", "\t", "\x7f", "\x01"}) {
        change("ath20", "'a-good-key'", "'a" + letter + "key'");
        expect_stop("store.letters", "has a WPAPSKkey with a blank or control character");
    }
}

TEST_F(StoreTest, finds_a_value_that_the_daemon_cuts) {
    change("ath0", "'a-good-key'", "'" + std::string(64, 'k') + "'");
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("store.length")));
    change("ath0", "'a-good-key'", "'" + std::string(65, 'k') + "'");
    expect_stop("store.length", "wireless.ath0 has a WPAPSKkey of more than 64 characters");
}

TEST_F(StoreTest, warns_of_a_companion_that_follows_nobody) {
    image.put("tmp/wifi_if_profile", with(ctl_test::PROFILE, "ath22 MAIN_SERVICE_AP 5h 0 1",
                                          "ath22 MAIN_SERVICE_AP 5h 0 0"));
    EXPECT_THAT(run({"check", "--root", image.path()}).out,
                HasSubstr("the companion ath22 follows no primary AP"));
}

TEST_F(StoreTest, warns_of_a_shared_folder_where_anybody_may_rename_anything) {
    chmod((image.path() + "/tmp").c_str(), 0777);
    expect_weak("folder.sticky", "/tmp has no sticky bit");
    chmod((image.path() + "/tmp").c_str(), 0755);
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("folder.sticky")));
}

TEST_F(StoreTest, finds_a_folder_that_is_a_file) {
    image.remove("var/run");
    image.put("var/run", "");
    expect_stop("folder", "/var/run cannot be written");
}

TEST_F(StoreTest, reads_a_default_route_to_the_broadcast_address) {
    image.put("proc/net/route", with(ctl_test::ROUTES, "br-lan\t00000000", "br-lan\tFFFFFFFF"));
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("bridge.route")));
}

TEST_F(StoreTest, takes_no_other_interfaces_route_for_the_bridges_address) {
    image.put("proc/net/route", with(with(ctl_test::ROUTES, "br-lan\t0001A8C0", "eth0\t0001A8C0"),
                                     "br-lan\t00000000", "eth0\t00000000"));
    expect_stop("bridge.address", "br-lan has no IPv4 address");
}

// --- The tables as a prober may write them

TEST_F(StoreTest, reads_tables_however_their_names_are_quoted) {
    database(
        "CREATE TABLE \"Device\" (\"ALMac\" TEXT,[Alive] INTEGER,`nNotAlive` INTEGER,\n"
        "\tDevType TEXT CHECK(length(DevType) < 20), DevName, IP);"
        "CREATE TABLE ExtenderWiFiLinks (Mac);"
        "CREATE TABLE ExtenderWiFiLink(Mac TEXT, ALMac TEXT, AP_ALMac TEXT, Status INTEGER);");
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("netprobe.db")));
    database(
        "CREATE TABLE [Device] (ALMac, Alive, nNotAlive, DevType, DevName, IP);"
        "CREATE TABLE 'ExtenderWiFiLink'(Mac, ALMac, AP_ALMac, Status);");
    EXPECT_THAT(run({"check", "--root", image.path()}).out, Not(HasSubstr("netprobe.db")));
}

TEST_F(StoreTest, finds_a_table_that_is_missing) {
    database("CREATE TABLE ExtenderWiFiLink(Mac, ALMac, AP_ALMac, Status);");
    EXPECT_THAT(run({"check", "--root", image.path()}).out,
                HasSubstr("/tmp/netprobe.db has no table with the column Device.ALMac"));
}

TEST_F(StoreTest, takes_no_part_of_a_name_for_a_column) {
    database(
        "CREATE TABLE Device (ALMac, nNotAlive, DevType, DevName, IP);"
        "CREATE TABLE ExtenderWiFiLink(TheMac, ALMac, AP_ALMac, Status);");
    const Result result = run({"check", "--root", image.path()});
    EXPECT_THAT(result.out, HasSubstr("has no column Device.Alive"));
    EXPECT_THAT(result.out, HasSubstr("has no column ExtenderWiFiLink.Mac"));
}

}  // namespace
