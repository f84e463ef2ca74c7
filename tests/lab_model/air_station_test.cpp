// Which station joins which access point, when, and what both ends are told.
#include "lab/air/network_block.h"
#include "tests/lab_model/air_story.h"

namespace lab {
namespace {

using AirStations = AirStory;

constexpr char PAIR[] = "node root root\nnode e1 extender\nhears e1 root -50\n";
constexpr char CHAIN[] = "line 3\n";

TEST_F(AirStations, joins_two_seconds_after_it_was_attached_and_tells_both_ends) {
    begin(PAIR);
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
    advance(1);
    EXPECT_EQ(take(), Texts{});
    advance(1);
    EXPECT_EQ(take(),
              (Texts{"e1 ath0 link up to root ath20", "root ath20 has client 02:00:00:00:02:01",
                     "e1 ath0 joined 02:00:00:00:01:04"}));
}

TEST_F(AirStations, finds_its_ap_on_its_own_radio) {
    begin(PAIR);
    station_on("e1", "ath1");
    station_on("e1", "ath3");
    advance(2);
    const Texts texts = take();
    EXPECT_NE(std::find(texts.begin(), texts.end(), "e1 ath1 link up to root ath12"), texts.end());
    EXPECT_NE(std::find(texts.begin(), texts.end(), "e1 ath3 link up to root ath2"), texts.end());
}

TEST_F(AirStations, stays_alone_with_a_wrong_key) {
    begin(PAIR);
    store[index("e1")]["wireless.ath0.WPAPSKkey"] = "a wrong key";
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
    advance(60);
    EXPECT_EQ(take(), Texts{});
}

TEST_F(AirStations, stays_alone_with_another_ssid) {
    begin(PAIR);
    store[index("e1")]["wireless.ath0.ssid"] = "elsewhere";
    station_on("e1", "ath0");
    advance(60);
    EXPECT_EQ(take(), Texts{});
}

TEST_F(AirStations, stays_alone_when_the_signal_is_too_weak) {
    begin("node root root\nnode e1 extender\nhears e1 root -89\n");
    station_on("e1", "ath0");
    advance(60);
    EXPECT_EQ(take(), Texts{});
    verb("fade e1 root -88");
    advance(1);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirStations, hears_2_4_ghz_further_than_5_ghz) {
    begin("node root root\nnode e1 extender\nhears e1 root -92\n");
    station_on("e1", "ath0");
    station_on("e1", "ath3");
    advance(2);
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath3"}));
}

TEST_F(AirStations, takes_the_strongest_ap) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nhears e1 root -50\n"
        "hears e2 root -70\nhears e2 e1 -55\n");
    bring_up("e1");
    station_on("e2", "ath0");
    advance(2);
    EXPECT_EQ(parent_of("e2"), "e1");
    EXPECT_EQ(hops_of("e2"), 2);
}

TEST_F(AirStations, passes_over_an_ap_that_has_no_way_to_the_root) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nhears e2 root -80\n"
        "hears e2 e1 -50\n");
    apply("e1", "ath20", true);
    station_on("e2", "ath0");
    advance(2);
    EXPECT_EQ(parent_of("e2"), "root");
}

TEST_F(AirStations, waits_while_no_ap_has_a_way_to_the_root) {
    begin("node root root\nnode e1 extender\nnode e2 extender\nhears e2 e1 -50\n");
    apply("e1", "ath20", true);
    station_on("e2", "ath0");
    advance(60);
    EXPECT_EQ(parent_of("e2"), "none");
    EXPECT_TRUE(air_uplinks_carrying(air, at("e2")).empty());
}

TEST_F(AirStations, joins_only_the_bssid_that_it_was_told) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nhears e1 root -50\n"
        "hears e2 root -50\nhears e2 e1 -70\n");
    bring_up("e1");
    bring_up("e2");
    EXPECT_EQ(parent_of("e2"), "root");
    tool("e2", "wpa_cli -p /var/run/wpa_supplicant-ath0 disable_network 0");
    EXPECT_EQ(take(), (Texts{"e2 ath0 link down to root ath20", "e2 ath0 lost its AP",
                             "root ath20 lost client 02:00:00:00:03:01"}));
    tool("e2", "wpa_cli -p /var/run/wpa_supplicant-ath0 set_network 0 bssid 02:00:00:00:02:04");
    tool("e2", "wpa_cli -p /var/run/wpa_supplicant-ath0 enable_network 0");
    advance(2);
    EXPECT_EQ(parent_of("e2"), "e1");
}

TEST_F(AirStations, waits_for_the_bssid_that_it_was_told_and_forgets_it_when_attached_anew) {
    begin(PAIR);
    bring_up("e1");
    tool("e1", "wpa_cli -p /var/run/wpa_supplicant-ath0 disable_network 0");
    tool("e1", "wpa_cli -p /var/run/wpa_supplicant-ath0 set_network 0 bssid 02:00:00:00:09:09");
    tool("e1", "wpa_cli -p /var/run/wpa_supplicant-ath0 enable_network 0");
    advance(60);
    EXPECT_EQ(parent_of("e1"), "none");
    station_off("e1", "ath0");
    station_on("e1", "ath0");
    advance(2);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirStations, loses_its_ap_when_the_ap_is_turned_off) {
    begin(PAIR);
    bring_up("e1");
    apply("root", "ath20", false);
    EXPECT_EQ(take(), (Texts{"root ath20 silent", "e1 ath0 link down to root ath20",
                             "e1 ath0 lost its AP", "root ath20 lost client 02:00:00:00:02:01"}));
    apply("root", "ath20", true);
    EXPECT_EQ(take(), (Texts{"root ath20 on the air", "root ath20 on channel 100"}));
    advance(2);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirStations, keeps_its_ap_when_that_node_loses_its_own_way_up) {
    begin(CHAIN);
    bring_up("e1");
    bring_up("e2");
    station_off("e1", "ath0");
    take();
    advance(30);
    EXPECT_EQ(hops_of("e2"), NOBODY);
    EXPECT_EQ(air_uplinks_carrying(air, at("e2")), (Texts{"ath0"}));
}

TEST_F(AirStations, is_told_nothing_twice_when_it_is_detached_without_an_ap) {
    begin(PAIR);
    EXPECT_EQ(station_off("e1", "ath0"), "FAIL\n");
    EXPECT_EQ(take(), Texts{});
}

TEST_F(AirStations, writes_the_clients_of_an_ap_into_its_association_list) {
    begin(PAIR);
    EXPECT_EQ(files[index("root")]["/tmp/assoc_list.5g"], "");
    bring_up("e1");
    station_on("e1", "ath3");
    advance(2);
    EXPECT_EQ(files[index("root")]["/tmp/assoc_list.5g"],
              "02:00:00:00:02:01 1 100 ath20 866M -55\n");
    EXPECT_EQ(files[index("root")]["/tmp/assoc_list.24g"], "02:00:00:00:02:03 1 6 ath2 866M -55\n");
    station_off("e1", "ath0");
    EXPECT_EQ(files[index("root")]["/tmp/assoc_list.5g"], "");
}

TEST(NetworkBlock, is_read_from_the_daemons_file) {
    const NetworkBlock block = network_block_parse(
        "network={\n\tscan_ssid=1\n\tssid=\"lab mesh\"\n\tproto=RSN\n\tkey_mgmt=WPA-PSK\n"
        "\tpsk=\"a \"key\"\"\n}\n");
    EXPECT_TRUE(block.complete);
    EXPECT_EQ(block.ssid, "lab mesh");
    EXPECT_EQ(block.key, "a \"key\"");
    EXPECT_EQ(block.key_management, "WPA-PSK");
    EXPECT_EQ(block.bssid, "");
}

TEST(NetworkBlock, is_not_complete_without_its_closing_brace_or_ssid) {
    EXPECT_FALSE(network_block_parse("network={\n\tscan_ssid=1\n\tssid=\"x\"\n").complete);
    EXPECT_FALSE(network_block_parse("network={\n\tssid=\"\"\n}\n").complete);
    EXPECT_FALSE(network_block_parse("}\nssid=\"x\"\n").complete);
    EXPECT_FALSE(network_block_parse("").complete);
}

}  // namespace
}  // namespace lab
