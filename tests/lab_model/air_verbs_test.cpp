// What the verbs do to the mesh.
#include "lab/air/air_prober.h"
#include "tests/lab_model/air_story.h"

namespace lab {
namespace {

using AirVerbs = AirStory;

constexpr char PAIR[] = "node root root\nnode e1 extender\nhears e1 root -50\n";

TEST_F(AirVerbs, deauth_takes_the_station_in_use_off_its_ap) {
    begin(PAIR);
    bring_up("e1");
    EXPECT_EQ(verb("deauth e1"), "");
    EXPECT_EQ(take(), (Texts{"e1 ath0 link down to root ath20", "e1 ath0 lost its AP",
                             "root ath20 lost client 02:00:00:00:02:01"}));
    advance(2);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirVerbs, deauth_says_when_there_is_nothing_to_lose) {
    begin(PAIR);
    EXPECT_EQ(verb("deauth e1"), "no station of e1 has an AP");
    EXPECT_EQ(verb("deauth e1 ath1"), "ath1 of e1 has no AP");
}

TEST_F(AirVerbs, ap_off_silences_one_ap_or_all_until_ap_on) {
    begin(PAIR);
    bring_up("e1");
    verb("ap-off root ath12");
    EXPECT_EQ(take(), (Texts{"root ath12 silent"}));
    verb("ap-off root");
    EXPECT_EQ(take(),
              (Texts{"root ath20 silent", "root ath2 silent", "e1 ath0 link down to root ath20",
                     "e1 ath0 lost its AP", "root ath20 lost client 02:00:00:00:02:01"}));
    apply("root", "ath20", true);
    EXPECT_EQ(take(), Texts{});
    verb("ap-on root ath20");
    EXPECT_EQ(take(), (Texts{"root ath20 on the air", "root ath20 on channel 100"}));
}

TEST_F(AirVerbs, fade_ends_an_association_below_the_usable_signal_on_that_band) {
    begin(PAIR);
    bring_up("e1");
    station_on("e1", "ath1");
    advance(2);
    take();
    verb("fade e1 root -88");
    EXPECT_EQ(take(), Texts{});
    verb("fade e1 root -89 5h");
    EXPECT_EQ(take().at(0), "e1 ath0 link down to root ath20");
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath1"}));
}

TEST_F(AirVerbs, fade_to_none_cuts_every_band_and_a_weak_signal_leaves_2_ghz) {
    begin(PAIR);
    EXPECT_EQ(station_on("e1", "ath3"), "OK\n");
    advance(2);
    apply("root", "ath2", true);
    advance(2);
    verb("fade e1 root -95");
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath3"}));
    verb("fade e1 root none 5h");
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath3"}));
    verb("fade e1 root none");
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), Texts{});
    verb("fade e1 root -96");
    advance(2);
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), (Texts{"ath3"}));
    verb("fade e1 root -97");
    EXPECT_EQ(air_uplinks_carrying(air, at("e1")), Texts{});
}

TEST_F(AirVerbs, what_changes_nothing_is_said_once_it_is_so) {
    begin(PAIR);
    const auto first_and_again = [this](const std::string& line) {
        const std::string first = verb(line);
        EXPECT_EQ(first, "") << line;
        return verb(line);
    };
    EXPECT_EQ(verb("ap-on root"), "all backhaul APs of root: not silenced");
    EXPECT_EQ(verb("ap-on root ath12"), "ath12 of root: not silenced");
    EXPECT_EQ(first_and_again("ap-off root ath12"), "ath12 of root: silenced already");
    EXPECT_EQ(first_and_again("ap-off root"), "all backhaul APs of root: silenced already");
    EXPECT_EQ(first_and_again("ap-on root"), "all backhaul APs of root: not silenced");
    EXPECT_EQ(verb("fade e1 root -50"), "e1 is heard like that already");
    EXPECT_EQ(first_and_again("fade e1 root none 2"), "e1 is heard like that already");
    EXPECT_EQ(first_and_again("move e1 root -60"), "e1 is heard like that already");
    EXPECT_EQ(verb("clear-radar e1"), "radar has taken no channel of e1");
    EXPECT_EQ(verb("approve e1"), "e1 is approved already");
    EXPECT_EQ(first_and_again("revoke e1"), "e1 is not approved");
}

TEST_F(AirVerbs, a_word_that_the_fifo_does_not_know_is_said_and_sent) {
    begin(PAIR);
    for (const std::string_view word : FIFO_WORDS) {
        EXPECT_EQ(verb("command e1 " + std::string(word)), "");
    }
    take();
    EXPECT_EQ(verb("command e1 uplink_scn"),
              "`uplink_scn` is no word of the FIFO (did you mean `uplink_scan`?)");
    EXPECT_EQ(take(), (Texts{"e1 fifo uplink_scn"}));
}

TEST_F(AirVerbs, move_changes_whom_a_node_hears) {
    begin(
        "node root root\nnode e1 extender\nnode e2 extender\nhears e1 root -50\n"
        "hears e2 root -50\n");
    bring_up("e1");
    bring_up("e2");
    verb("move e2 e1 -60");
    EXPECT_EQ(parent_of("e2"), "none");
    advance(2);
    EXPECT_EQ(parent_of("e2"), "e1");
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirVerbs, a_cable_carries_frames_only_when_the_daemon_has_answered) {
    begin(PAIR);
    verb("cable-in e1");
    EXPECT_EQ(take(), (Texts{"e1 fifo eth_detect"}));
    advance(9);
    EXPECT_EQ(take(), Texts{});
    advance(1);
    EXPECT_EQ(take(), (Texts{"e1 fifo eth_detect"}));
    air_ethernet_answered(&air, at("e1"));
    advance(1);
    EXPECT_EQ(take(), (Texts{"e1 eth link up to root eth"}));
    EXPECT_EQ(parent_of("e1"), "root");
    EXPECT_EQ(air_uplink(air, air_paths(air), at("e1")), "eth");
    advance(30);
    EXPECT_EQ(take(), Texts{});
    verb("cable-out e1");
    EXPECT_EQ(take(), (Texts{"e1 eth link down to root eth", "e1 fifo eth_lost"}));
}

TEST_F(AirVerbs, an_answered_cable_needs_two_seconds_to_forward) {
    begin(PAIR);
    verb("cable-in e1");
    air_ethernet_answered(&air, at("e1"));
    take();
    advance(1);
    EXPECT_EQ(take(), Texts{});
    advance(1);
    EXPECT_EQ(take(), (Texts{"e1 eth link up to root eth"}));
}

TEST_F(AirVerbs, cables_are_refused_twice_and_pulled_once) {
    begin(PAIR);
    EXPECT_EQ(verb("cable-in e1 root"), "");
    EXPECT_EQ(verb("cable-in e1 root"), "e1 has a cable already");
    EXPECT_EQ(verb("cable-out e1 root"), "");
    EXPECT_EQ(verb("cable-out e1"), "e1 has no such cable");
}

TEST_F(AirVerbs, a_cable_between_two_is_told_at_both_ends_and_pulled_at_either) {
    begin("node root root\nnode e1 extender\nnode e2 extender\n");
    bring_up("e1");
    bring_up("e2");
    take();
    EXPECT_EQ(verb("cable-between e1 e2"), "");
    EXPECT_EQ(take(), (Texts{"e1 fifo eth_detect", "e2 fifo eth_detect"}));
    EXPECT_EQ(verb("cable-between e2 e1"), "e2 has a cable already");
    EXPECT_EQ(verb("cable-in e2 root"), "e2 has a cable already");
    air_ethernet_answered(&air, at("e1"));
    air_ethernet_answered(&air, at("e2"));
    advance(2);
    EXPECT_EQ(take(), (Texts{"e1 eth link up to e2 eth", "e2 eth link up to e1 eth"}));
    EXPECT_EQ(verb("cable-out e2"), "");
    EXPECT_EQ(take(), (Texts{"e1 eth link down to e2 eth", "e1 fifo eth_lost",
                             "e2 eth link down to e1 eth", "e2 fifo eth_lost"}));
    EXPECT_EQ(verb("cable-out e1"), "e1 has no such cable");
}

TEST_F(AirVerbs, clear_radar_frees_one_channel_of_several) {
    begin(PAIR);
    verb("radar root 2");
    take();
    EXPECT_EQ(verb("clear-radar root 132"), "radar has taken channel 132 not of root");
    EXPECT_EQ(verb("clear-radar root 116"), "");
    EXPECT_EQ(air.nodes[0].struck_channels, (std::set<int>{100}));
    verb("radar root all");
    EXPECT_EQ(air.nodes[0].aps[0].channel, 0);
    EXPECT_EQ(verb("clear-radar root 140"), "");
    EXPECT_EQ(air.nodes[0].aps[0].channel, 140);
}

TEST_F(AirVerbs, a_cable_goes_away_with_the_power_of_its_upper_end) {
    begin(PAIR);
    verb("cable-in e1");
    air_ethernet_answered(&air, at("e1"));
    advance(2);
    take();
    verb("power-off root");
    EXPECT_EQ(take(), (Texts{"root stops", "e1 eth link down to root eth", "e1 fifo eth_lost"}));
    verb("power-on root");
    advance(20);
    const Texts texts = take();
    EXPECT_EQ(texts.front(), "root starts");
    EXPECT_EQ(texts.back(), "e1 fifo eth_detect");
}

TEST_F(AirVerbs, radar_moves_the_upper_radio_until_no_channel_is_left) {
    begin(PAIR);
    bring_up("e1");
    verb("radar root");
    EXPECT_EQ(take(), (Texts{"root non-occupancy list 5500", "root ath20 on channel 116"}));
    EXPECT_EQ(parent_of("e1"), "root");
    verb("radar root 2");
    EXPECT_EQ(take(),
              (Texts{"root non-occupancy list 5500 5580", "root ath20 on channel 132",
                     "root non-occupancy list 5500 5580 5660", "root ath20 on channel 140"}));
    verb("radar root");
    EXPECT_EQ(take(), (Texts{"root non-occupancy list 5500 5580 5660 5700", "root ath20 silent",
                             "e1 ath0 link down to root ath20", "e1 ath0 lost its AP",
                             "root ath20 lost client 02:00:00:00:02:01"}));
    EXPECT_EQ(verb("radar root"), "radar has taken every channel of root");
    verb("clear-radar root");
    EXPECT_EQ(take(), (Texts{"root non-occupancy list empty", "root ath20 on the air",
                             "root ath20 on channel 100"}));
}

TEST_F(AirVerbs, radar_all_strikes_every_channel) {
    begin(PAIR);
    verb("radar root all");
    EXPECT_EQ(take().size(), 8U);
    EXPECT_EQ(air.nodes[0].struck_channels, (std::set<int>{100, 116, 132, 140}));
}

TEST_F(AirVerbs, a_reboot_takes_everything_down_and_starts_after_the_boot_time) {
    begin("line 3\n");
    bring_up("e1");
    bring_up("e2");
    verb("reboot e1");
    EXPECT_EQ(take(), (Texts{"e1 stops", "e1 ath0 link down to root ath20",
                             "root ath20 lost client 02:00:00:00:02:01",
                             "e2 ath0 link down to e1 ath20", "e2 ath0 lost its AP"}));
    advance(19);
    EXPECT_EQ(take(), Texts{});
    advance(1);
    // What was committed is kept: the store still has the AP enabled.
    EXPECT_EQ(take(), (Texts{"e1 starts", "e1 ath20 on the air", "e1 ath20 on channel 100"}));
    EXPECT_EQ(files[index("e1")]["/tmp/FirstMAC"], "02:00:00:00:02:00\n");
    EXPECT_EQ(tool("e1", "wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 status"), "");
}

TEST_F(AirVerbs, a_node_without_power_takes_no_verbs_for_its_daemon) {
    begin(PAIR);
    verb("power-off e1");
    take();
    EXPECT_EQ(verb("kill-worker e1"), "e1 has no power");
    EXPECT_EQ(verb("command e1 uplink_scan"), "e1 has no power");
    EXPECT_EQ(take(), Texts{});
    EXPECT_EQ(verb("power-on e1"), "");
    EXPECT_EQ(verb("power-on e1"), "e1 has power already");
    advance(20);
    EXPECT_EQ(take(), (Texts{"e1 starts"}));
}

TEST_F(AirVerbs, kill_tool_makes_the_supplicant_fail_so_many_times) {
    begin(PAIR);
    verb("kill-tool e1 supplicant times 2");
    EXPECT_EQ(station_on("e1", "ath0"), "FAIL\n");
    EXPECT_EQ(station_on("e1", "ath0"), "FAIL\n");
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
}

TEST_F(AirVerbs, kill_tool_makes_the_supplicant_fail_so_long) {
    begin(PAIR);
    verb("kill-tool e1 supplicant for 10");
    advance(9);
    EXPECT_EQ(station_on("e1", "ath0"), "FAIL\n");
    advance(1);
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
}

TEST_F(AirVerbs, kill_tool_ends_the_supplicant_and_with_it_every_association) {
    begin(PAIR);
    bring_up("e1");
    verb("kill-tool e1 supplicant");
    EXPECT_EQ(take(), (Texts{"e1 supplicant ends", "e1 ath0 link down to root ath20",
                             "e1 ath0 lost its AP", "root ath20 lost client 02:00:00:00:02:01"}));
}

TEST_F(AirVerbs, kill_tool_keeps_the_agent_from_getting_settings) {
    begin(PAIR);
    bring_up("e1");
    verb("kill-tool e1 agent times 1");
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "");
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "local");
    verb("kill-tool e1 agent for 5");
    advance(4);
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "");
    advance(1);
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "local");
    verb("kill-tool e1 agent");
    advance(100);
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "");
    take();
    verb("kill-tool e1 hyd");
    EXPECT_EQ(take(), (Texts{"e1 hyd ends"}));
}

TEST_F(AirVerbs, drop_messages_ends_by_itself) {
    begin(PAIR);
    verb("drop-messages e1 for 3");
    EXPECT_EQ(take(), (Texts{"e1 messages off"}));
    advance(2);
    EXPECT_EQ(take(), Texts{});
    advance(1);
    EXPECT_EQ(take(), (Texts{"e1 messages on"}));
    verb("drop-messages e1");
    take();
    advance(1000);
    EXPECT_EQ(take(), Texts{});
}

TEST_F(AirVerbs, revoke_and_approve_rewrite_the_list_and_tell_the_root) {
    begin("line 3\nunapproved e2\n");
    EXPECT_EQ(files[index("root")]["/tmp/ApplicationData/Approvelist"],
              "02:00:00:00:02:00 1 LAB\n02:00:00:00:03:00 0 LAB\n");
    verb("approve e2");
    EXPECT_EQ(take(), (Texts{"root fifo approval_list_changed"}));
    EXPECT_EQ(files[index("root")]["/tmp/ApplicationData/Approvelist"],
              "02:00:00:00:02:00 1 LAB\n02:00:00:00:03:00 1 LAB\n");
    verb("revoke e1");
    EXPECT_EQ(files[index("e2")]["/tmp/ApplicationData/Approvelist"],
              "02:00:00:00:02:00 0 LAB\n02:00:00:00:03:00 1 LAB\n");
}

TEST_F(AirVerbs, configure_gives_a_station_its_ssid_and_key) {
    begin("node root root\nnode e1 extender\nunconfigured e1 ath0\nhears e1 root -50\n");
    verb("configure e1 ath0");
    EXPECT_EQ(take(),
              (Texts{"e1 uci wireless.ath0.ssid=lab-backhaul", "e1 uci wireless.ath0.auth=WPA2PSK",
                     "e1 uci wireless.ath0.WPAPSKkey=twelve-frogs-sing"}));
}

TEST_F(AirVerbs, role_makes_another_node_the_root) {
    begin(PAIR);
    EXPECT_EQ(verb("role e1 root"), "");
    EXPECT_EQ(take(), (Texts{"e1 fifo master"}));
    EXPECT_EQ(hops_of("e1"), 0);
    EXPECT_EQ(verb("role e1 root"), "e1 has that role already");
    verb("role root extender");
    EXPECT_EQ(take(), (Texts{"root fifo slave"}));
    EXPECT_EQ(hops_of("root"), NOBODY);
}

TEST_F(AirVerbs, kill_worker_and_command_reach_the_daemon) {
    begin(PAIR);
    verb("kill-worker e1 11");
    verb("command e1 network_reload");
    EXPECT_EQ(take(), (Texts{"e1 worker gets signal 11", "e1 fifo network_reload"}));
}

}  // namespace
}  // namespace lab
