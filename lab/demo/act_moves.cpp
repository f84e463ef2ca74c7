#include "lab/demo/acts.h"
#include "lab/node/standard.h"
#include "lab/sandbox/layout.h"
#include "lab/tools/small_file.h"
#include "lab/tools/state_layout.h"

namespace lab {
namespace {

constexpr char kStatus[] = "/tmp/backhaul_status";
constexpr char kType[] = "/tmp/backhaul_type";

}  // namespace

void act_better_ap(Stage& stage, Actor& extender) {
    stage.act("A scan finds a better AP");
    stage.step("the driver prefers another AP; the ready tick scans within a minute");
    iwpriv_value_set(extender.root(), "ath0", "whc_bssid", ap_address(3));
    stage.see_log(extender, "backhaul_intf_uplink_scan : Find better AP 02:00:00:00:01:03", 66);
    stage.see_log(extender, "backhaul_intf_uplink_scan : Current AP 02:00:00:00:01:01");
    stage.see_state(extender, "ath0", 7, 5);
    stage.see_shell(extender,
                    "wpa_cli -p /var/run/wpa_supplicant-ath0 set_network 0 bssid "
                    "02:00:00:00:01:03");
    stage.see_file(extender, kStatus, "not ready\n");

    stage.step("the station leaves the old AP, which is no loss, and joins the new one");
    stage.advance(2);
    stage.lost(extender, "ath0");
    stage.see_log(extender,
                  "wireless_event_process : Under CONNECTING_TARGET_BACKHAUL_AP, ignore "
                  "AP_DISASSOC");
    stage.associated(extender, "ath0", ap_address(3));
    stage.see_log(extender, "wifi_slave_event_process : switch to 02:00:00:00:01:03");
    stage.see_state(extender, "ath0", 5, 7);
    stage.see_file(extender, kStatus, "ready\n");
}

void act_cable(Stage& stage, Actor& extender) {
    stage.act("A cable is plugged in and pulled");
    stage.step("the Ethernet agent writes eth_detect into the FIFO");
    stage.advance(10);
    stage.command(extender, "eth_detect");
    stage.see_log(extender, "backhaul_eth_event_handle : recv event eth_detect");
    stage.see_file(extender, "/tmp/eth_backhaul_fifo", "eth_detect_reply\n");
    stage.see_file(extender, kType, "ethernet\n");
    stage.see_state(extender, "eth", 13, 15);
    stage.see_state(extender, "ath0", 7, 16);
    stage.see_shell(extender, "hyctl flushatbl br-lan");

    stage.step("the cable is pulled: back to Wi-Fi");
    stage.advance(120);
    stage.command(extender, "eth_lost");
    stage.see_shell(extender, "echo eth_lost_reply > /tmp/eth_backhaul_fifo");
    stage.see_state(extender, "eth", 15, 13);
    stage.see_log(extender, "wifi_slave_event_process : ifname ath0 event 0");
    stage.see_state(extender, "ath0", 0, 3);
    stage.see_file(extender, kType, "wifi\n");
    stage.associated(extender, "ath0", ap_address(1));
    stage.see_state(extender, "ath0", 3, 4);
    stage.see_state(extender, "ath0", 4, 7, 40);
    stage.see_file(extender, kStatus, "ready\n");
}

void act_radar(Stage& stage, Actor& extender) {
    stage.act("Radar drives the 5 GHz AP off and lets it back");
    file_write(extender.node().at(kLabChannels), "5260 5280 5300\n");
    nol_set(extender.root(), {5260, 5280, 5300});
    stage.step("three channel changes: the AP is watched");
    for (const unsigned channel : {36U, 52U, 100U, 36U}) {
        stage.channel(extender, "ath20", channel);
    }
    stage.see_log(extender, "CHANNEL_CHANGE(ath20)");
    stage.see_log(extender, "backhaul_dfs_check : intf->channel 100 channel 36");
    stage.see_log(extender, "backhaul_dfs_check : dfs_count 3 state 0");

    stage.step("every channel is on the non-occupancy list after 180 seconds: the AP goes off");
    stage.see_log(extender, "device_dfs_monitoring : Disable ath20", 182);
    stage.see_shell(extender, "uci set wireless.ath20.disabled=1");

    stage.step("a channel is free again: the AP is back after 2,400 seconds");
    nol_set(extender.root(), {5260, 5280});
    stage.see_log(extender, "interface_timeout_chk : ath20 -> DFS_BLOCKING timeout", 2402);
    stage.see_log(extender, "device_dfs_blocking : Enable ath20");
    stage.see_shell(extender, "uci set wireless.ath20.disabled=0");
}

}  // namespace lab
