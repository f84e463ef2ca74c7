// Ways to the root, the driver's preference, and what the prober writes.
#include "lab/air/air_prober.h"
#include "lab/air/air_radio.h"
#include "lab/air/air_station.h"
#include "tests/lab_model/air_story.h"

namespace lab {
namespace {

using AirPathsTest = AirStory;

// e1 and e2 hear the root and each other; e1 has two radios up.
constexpr char TRIANGLE[] =
    "node root root\nnode e1 extender\nnode e2 extender\nhears e1 root -50\n"
    "hears e2 root -50\nhears e1 e2 -60\n";

TEST_F(AirPathsTest, lead_over_the_fewest_hops) {
    begin("line 4\n");
    for (const char* const node : {"e1", "e2", "e3"}) {
        bring_up(node);
    }
    EXPECT_EQ(hops_of("root"), 0);
    EXPECT_EQ(hops_of("e1"), 1);
    EXPECT_EQ(hops_of("e2"), 2);
    EXPECT_EQ(hops_of("e3"), 3);
    EXPECT_EQ(parent_of("e3"), "e2");
    EXPECT_EQ(air_uplink(air, air_paths(air), at("e3")), "ath0");
}

TEST_F(AirPathsTest, end_for_everybody_below_a_broken_link) {
    begin("line 4\n");
    for (const char* const node : {"e1", "e2", "e3"}) {
        bring_up(node);
    }
    station_off("e1", "ath0");
    EXPECT_EQ(hops_of("e1"), NOBODY);
    EXPECT_EQ(hops_of("e3"), NOBODY);
    EXPECT_EQ(air_reachable(air, at("e3")), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(air_reachable(air, at("root")), (std::vector<int>{0}));
}

TEST_F(AirPathsTest, of_a_station_that_closes_a_circle_do_not_count) {
    begin(TRIANGLE);
    verb("fade e2 root -127");
    station_on("e1", "ath1");
    advance(2);
    apply("e1", "ath20", true);
    bring_up("e2");
    EXPECT_EQ(parent_of("e2"), "e1");
    verb("ap-off root ath20");
    station_on("e1", "ath0");
    advance(2);
    // e1's upper radio hears only e2, which hangs below e1 itself.
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath0", "ath1"}));
    EXPECT_EQ(parent_of("e1"), "root");
    EXPECT_EQ(air_uplink(air, air_paths(air), at("e1")), "ath1");
    EXPECT_EQ(hops_of("e2"), 2);
}

TEST_F(AirPathsTest, prefer_another_ap_that_is_faster_by_a_quarter) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nhears e1 root -50\n"
        "hears e2 root -79\nhears e2 e1 -127\n");
    bring_up("e1");
    bring_up("e2");
    const int station = 0;
    EXPECT_EQ(air_preferred_bssid(air, at("e2"), station), "02:00:00:00:01:04");
    verb("fade e2 e1 -50");
    EXPECT_EQ(air_preferred_bssid(air, at("e2"), station), "02:00:00:00:02:04");
    // 866 twice is 433, which is no quarter more than 430.
    verb("fade e2 root -60");
    EXPECT_EQ(air_preferred_bssid(air, at("e2"), station), "02:00:00:00:01:04");
}

TEST_F(AirPathsTest, never_prefer_an_ap_below_the_station_itself) {
    begin(TRIANGLE);
    bring_up("e1");
    verb("fade e2 root -127");
    bring_up("e2");
    verb("fade e1 root -87");
    verb("fade e1 e2 -40");
    EXPECT_EQ(parent_of("e2"), "e1");
    EXPECT_EQ(air_preferred_bssid(air, at("e1"), 0), "02:00:00:00:01:04");
}

TEST_F(AirPathsTest, never_prefer_for_a_second_station_an_ap_below_the_first) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nnode e3 extender\n"
        "hears e3 root -50\nhears e1 e3 -87\nhears e1 root -40 5l\nhears e1 e2 -40\n");
    bring_up("e3");
    station_on("e1", "ath0");
    station_on("e1", "ath1");
    advance(2);
    apply("e1", "ath20", true);
    bring_up("e2");
    EXPECT_EQ(air_uplink(air, air_paths(air), at("e1")), "ath1");
    EXPECT_EQ(parent_of("e2"), "e1");
    // The slow way over e3, although e2 is near: e2 hangs below e1.
    EXPECT_EQ(air_preferred_bssid(air, at("e1"), 0), "02:00:00:00:04:04");
}

TEST_F(AirPathsTest, of_a_station_below_a_lost_node_count_255_hops) {
    begin("line 3\n");
    bring_up("e1");
    bring_up("e2");
    station_off("e1", "ath0");
    EXPECT_EQ(air_station_hops(air, at("e2"), 0), 255);
    EXPECT_EQ(air_station_rate(air, at("e2"), 0), 0);
}

TEST(AirRates, fall_with_the_signal_and_end_where_it_is_no_longer_usable) {
    EXPECT_EQ(air_link_rate(-40, AirBand::five_high), 866);
    EXPECT_EQ(air_link_rate(-40, AirBand::two), 200);
    EXPECT_EQ(air_link_rate(-80, AirBand::five_low), 120);
    EXPECT_EQ(air_link_rate(-88, AirBand::five_low), 20);
    EXPECT_EQ(air_link_rate(-89, AirBand::five_low), 0);
}

TEST(AirBands, meet_on_the_same_radio_and_a_single_5_ghz_radio_hears_both) {
    EXPECT_TRUE(air_bands_meet(AirBand::five_high, AirBand::five_high));
    EXPECT_FALSE(air_bands_meet(AirBand::five_high, AirBand::five_low));
    EXPECT_TRUE(air_bands_meet(AirBand::five, AirBand::five_low));
    EXPECT_TRUE(air_bands_meet(AirBand::five_high, AirBand::five));
    EXPECT_FALSE(air_bands_meet(AirBand::five, AirBand::two));
    EXPECT_TRUE(air_bands_meet(AirBand::two, AirBand::two));
    EXPECT_FALSE(air_bands_meet(AirBand::none, AirBand::none));
}

TEST(AirChannels, have_their_frequencies) {
    EXPECT_EQ(air_frequency(1), 2412);
    EXPECT_EQ(air_frequency(13), 2472);
    EXPECT_EQ(air_frequency(14), 2484);
    EXPECT_EQ(air_frequency(36), 5180);
    EXPECT_EQ(air_frequency(140), 5700);
}

TEST_F(AirPathsTest, prober_writes_live_links_that_lead_from_an_aps_address_to_the_root) {
    begin("line 3\n");
    bring_up("e1");
    bring_up("e2");
    advance(5);
    const std::string& text = databases[index("e2")];
    EXPECT_NE(text.find("INSERT INTO ExtenderWiFiLink VALUES "
                        "('02:00:00:00:02:04','02:00:00:00:02:00','02:00:00:00:01:00',0);\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("('02:00:00:00:03:04','02:00:00:00:03:00','02:00:00:00:02:00',0);\n"),
              std::string::npos);
    EXPECT_NE(text.find("('02:00:00:00:01:04','02:00:00:00:01:00','',99);\n"), std::string::npos);
    EXPECT_NE(text.find("INSERT INTO Device VALUES "
                        "('02:00:00:00:02:00',1,0,'L2Device','e1','192.168.1.2');\n"),
              std::string::npos);
    EXPECT_NE(text.find("('02:00:00:00:01:00',1,0,'Root','root','192.168.1.1');\n"),
              std::string::npos);
}

TEST_F(AirPathsTest, prober_counts_missed_probes_and_ends_the_links_of_lost_devices) {
    begin("line 3\n");
    bring_up("e1");
    bring_up("e2");
    advance(5);
    verb("power-off e1");
    advance(10);
    const std::string& text = databases[index("root")];
    EXPECT_NE(text.find("('02:00:00:00:02:00',0,2,'L2Device','e1','192.168.1.2');\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("('02:00:00:00:03:00',0,2,'L2Device','e2','192.168.1.3');\n"),
              std::string::npos);
    EXPECT_NE(text.find("('02:00:00:00:02:04','02:00:00:00:02:00','',99);\n"), std::string::npos);
    EXPECT_EQ(text.find(",0);\nINSERT INTO ExtenderWiFiLink"), std::string::npos);
}

TEST_F(AirPathsTest, prober_shows_no_wifi_link_of_a_wired_node) {
    begin("node root root\nnode e1 extender\ncable e1 root\n");
    air_ethernet_answered(&air, at("e1"));
    advance(10);
    EXPECT_EQ(parent_of("e1"), "root");
    EXPECT_NE(databases[index("root")].find("('02:00:00:00:02:04','02:00:00:00:02:00','',99);\n"),
              std::string::npos);
    EXPECT_NE(databases[index("root")].find("('02:00:00:00:02:00',1,0,"), std::string::npos);
}

TEST_F(AirPathsTest, prober_sends_only_what_changed) {
    begin("line 2\n");
    bring_up("e1");
    advance(10);
    happened.clear();
    advance(60);
    EXPECT_TRUE(happened.empty());
}

TEST_F(AirPathsTest, a_node_has_its_database_and_lists_before_its_daemon_starts) {
    begin("line 2\n");
    EXPECT_EQ(files[index("e1")]["/tmp/FirstMAC"], "02:00:00:00:02:00\n");
    EXPECT_EQ(files[index("e1")]["/tmp/ApplicationData/Approvelist"], "02:00:00:00:02:00 1 LAB\n");
    EXPECT_EQ(files[index("e1")].count("/tmp/assoc_list.24g"), 1U);
    EXPECT_NE(databases[index("e1")].find("CREATE TABLE IF NOT EXISTS Device"), std::string::npos);
}

}  // namespace
}  // namespace lab
