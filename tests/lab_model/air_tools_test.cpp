// What tool calls do to the air and what it answers.
#include "tests/lab_model/air_story.h"

namespace lab {
namespace {

using AirTools = AirStory;

constexpr char PAIR[] = "node root root\nnode e1 extender\nhears e1 root -50\n";
constexpr char ADD_ATH0[] =
    "wpa_cli -g /var/run/wpa_supplicantglobal interface_add ath0 /tmp/wpa_supplicant-ath0.conf "
    "athr /var/run/wpa_supplicant-ath0 \"\" br-lan";

TEST_F(AirTools, leave_to_the_node_what_is_not_about_the_air) {
    begin(PAIR);
    EXPECT_EQ(tool("e1", "iwconfig ath0"), "local");
    EXPECT_EQ(tool("e1", "iwpriv ath0 sendprobereq 1"), "local");
    EXPECT_EQ(tool("e1", "iwpriv ath20 set_whc_dist 2"), "local");
    EXPECT_EQ(tool("e1", "wifi up wifi0"), "local");
    EXPECT_EQ(tool("e1", "radartool -i wifi2 getnol /tmp/nol_list"), "local");
    EXPECT_EQ(tool("e1", "vl1905App 18 1 0"), "local");
    EXPECT_EQ(tool("e1", "ifconfig br-lan up"), "local");
    EXPECT_EQ(take(), Texts{});
}

TEST_F(AirTools, refuse_to_attach_what_is_attached_already) {
    begin(PAIR);
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
    EXPECT_EQ(tool("e1", ADD_ATH0), "FAIL\n");
    EXPECT_EQ(station_off("e1", "ath0"), "OK\n");
    EXPECT_EQ(station_on("e1", "ath0"), "OK\n");
}

TEST_F(AirTools, refuse_a_network_block_without_an_end) {
    begin(PAIR);
    files[index("e1")]["/tmp/wpa_supplicant-ath0.conf"] =
        "network={\n\tscan_ssid=1\n\tssid=\"lab-backhaul\"\n";
    EXPECT_EQ(tool("e1", ADD_ATH0), "FAIL\n");
    files[index("e1")].erase("/tmp/wpa_supplicant-ath0.conf");
    EXPECT_EQ(tool("e1", ADD_ATH0), "FAIL\n");
}

TEST_F(AirTools, tell_the_supplicants_state) {
    begin(PAIR);
    const std::string ask = "wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 ";
    EXPECT_EQ(tool("e1", ask + "status"), "");
    station_on("e1", "ath0");
    EXPECT_EQ(tool("e1", ask + "status"), "wpa_state=SCANNING\n");
    advance(2);
    EXPECT_EQ(tool("e1", ask + "status"),
              "bssid=02:00:00:00:01:04\nssid=lab-backhaul\nid=0\nmode=station\n"
              "key_mgmt=WPA2-PSK\nwpa_state=COMPLETED\n");
    EXPECT_EQ(tool("e1", ask + "disconnect"), "OK\n");
    EXPECT_EQ(tool("e1", ask + "status"), "wpa_state=DISCONNECTED\n");
}

TEST_F(AirTools, name_the_interface_only_when_it_was_not_given_with_i) {
    begin(PAIR);
    station_on("e1", "ath0");
    EXPECT_EQ(tool("e1", "wpa_cli -p /var/run/wpa_supplicant-ath0 enable_network 0"),
              "Selected interface 'ath0'\nOK\n");
}

TEST_F(AirTools, disconnect_until_told_to_reconnect) {
    begin(PAIR);
    bring_up("e1");
    const std::string ask = "wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 ";
    tool("e1", ask + "disconnect");
    EXPECT_EQ(take().at(1), "e1 ath0 lost its AP");
    advance(30);
    EXPECT_EQ(take(), Texts{});
    tool("e1", ask + "reconnect");
    advance(1);
    EXPECT_EQ(parent_of("e1"), "none");
    advance(1);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirTools, take_a_station_down_and_up) {
    begin(PAIR);
    bring_up("e1");
    EXPECT_EQ(tool("e1", "ifconfig ath0 down"), "");
    EXPECT_EQ(take(), (Texts{"e1 ath0 link down to root ath20", "e1 ath0 lost its AP",
                             "root ath20 lost client 02:00:00:00:02:01"}));
    advance(10);
    EXPECT_EQ(take(), Texts{});
    EXPECT_EQ(tool("e1", "ifconfig ath0 up"), "");
    advance(2);
    EXPECT_EQ(parent_of("e1"), "root");
}

TEST_F(AirTools, turn_a_service_ap_on_with_the_wireless_service) {
    begin(PAIR);
    apply("e1", "ath10", true);
    EXPECT_EQ(take(), (Texts{"e1 ath10 on the air"}));
    apply("e1", "ath10", false);
    EXPECT_EQ(take(), (Texts{"e1 ath10 silent"}));
}

TEST_F(AirTools, tell_hops_rate_and_preferred_ap_of_a_joined_station) {
    begin("line 3\n");
    bring_up("e1");
    bring_up("e2");
    EXPECT_EQ(tool("e1", "iwpriv ath0 get_whc_dist"), "ath0      get_whc_dist:1  \n");
    EXPECT_EQ(tool("e2", "iwpriv ath0 get_whc_dist"), "ath0      get_whc_dist:2  \n");
    EXPECT_EQ(tool("e1", "iwpriv ath0 get_whc_ul_rate"), "ath0      get_whc_ul_rate:650  \n");
    EXPECT_EQ(tool("e2", "iwpriv ath0 get_whc_ul_rate"), "ath0      get_whc_ul_rate:325  \n");
    EXPECT_EQ(tool("e2", "iwpriv ath0 get_whc_bssid"), "ath0      get_whc_bssid:020000000204  \n");
}

TEST_F(AirTools, know_no_distance_and_no_ap_of_a_station_that_is_not_joined) {
    begin(PAIR);
    EXPECT_EQ(tool("e1", "iwpriv ath0 get_whc_dist"), "ath0      get_whc_dist:255  \n");
    EXPECT_EQ(tool("e1", "iwpriv ath0 get_whc_ul_rate"), "ath0      get_whc_ul_rate:0  \n");
    EXPECT_EQ(tool("e1", "iwpriv ath0 get_whc_bssid"), "");
}

TEST_F(AirTools, kick_the_named_client_off_the_named_ap_only) {
    begin(PAIR);
    bring_up("e1");
    EXPECT_EQ(tool("root", "iwpriv ath12 kickmac 02:00:00:00:02:01"), "");
    EXPECT_EQ(tool("root", "iwpriv ath20 kickmac 02:00:00:00:02:02"), "");
    EXPECT_EQ(take(), Texts{});
    EXPECT_EQ(tool("root", "iwpriv ath20 kickmac 02:00:00:00:02:01"), "");
    EXPECT_EQ(take(), (Texts{"e1 ath0 link down to root ath20", "e1 ath0 lost its AP",
                             "root ath20 lost client 02:00:00:00:02:01"}));
}

TEST_F(AirTools, get_settings_for_service_aps_only_with_a_way_to_the_root) {
    begin(PAIR);
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "");
    EXPECT_EQ(take(), Texts{});
    bring_up("e1");
    EXPECT_EQ(tool("e1", "vl1905App 17 0x01"), "local");
    EXPECT_EQ(tool("e1", "vl1905App 17 0x21"), "local");
    EXPECT_EQ(tool("e1", "vl1905App 17 0x41"), "local");
    EXPECT_EQ(take(), (Texts{"e1 uci wireless.ath10.disabled=0", "e1 uci wireless.ath11.disabled=0",
                             "e1 uci wireless.ath14.disabled=0"}));
}

TEST_F(AirTools, know_the_agents_codes_of_all_radios) {
    begin(
        "node root root\nwithout root all\ninterface root a MAIN_SERVICE_AP 2 0 0\n"
        "interface root b MAIN_SERVICE_AP 5 0 0\ninterface root c MAIN_SERVICE_AP 5h 0 0\n"
        "interface root d VISITOR_SERVICE_AP 5l 0 0\n");
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x00"), (Texts{"a"}));
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x01"), (Texts{"b"}));
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x09"), (Texts{"c"}));
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x41"), (Texts{"d"}));
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x21"), Texts{});
    EXPECT_EQ(air_agent_interfaces(air.nodes[0], "0x"), Texts{});
}

}  // namespace
}  // namespace lab
