#include "lab/demo/acts.h"
#include "lab/node/standard.h"

namespace lab {
namespace {

constexpr char kStatus[] = "/tmp/backhaul_status";

/// From a new association to "ready" by way of the auto-configuration agent.
void configuration_seen(Stage& stage, Actor& extender, const std::string& station) {
    stage.see_file(extender, kStatus, "connected\n");
    stage.see_state(extender, station, 3, 4);
    stage.step("the agent is asked for the service APs after 15 seconds");
    stage.see_shell(extender, "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1", 20);
    stage.see_log(extender,
                  "wifi_slave_event_process(" + station + ") : Service AP Auto Config Success", 20);
    stage.see_shell(extender, "/sbin/velmor_led_ctrl BackhaulFinish &");
    stage.see_state(extender, station, 4, 7);
    stage.see_file(extender, kStatus, "ready\n");
}

}  // namespace

void act_backhaul_up(Stage& stage, Actor& extender) {
    stage.act("An extender brings its backhaul up");
    stage.step("the daemon starts; clients get no service yet");
    stage.start(extender);
    stage.see_log(extender, "<-- backhaul_monitor start -->");
    stage.see_log(extender, "dev_intf_enable_set : disable ath10");
    stage.see_file(extender, kStatus, "not ready\n");

    stage.step("START: the preferred station is enabled after a pause of 10 seconds");
    stage.see_log(extender, "wifi_slave_event_process : ifname ath0 event 0", 12);
    stage.see_state(extender, "ath0", 0, 3);
    stage.see_shell(extender,
                    "wpa_cli -g /var/run/wpa_supplicantglobal interface_add ath0 "
                    "/tmp/wpa_supplicant-ath0.conf athr /var/run/wpa_supplicant-ath0 \"\" br-lan "
                    "> /tmp/wpa_result");

    stage.step("the driver reports the association: a netlink event on ath0");
    stage.advance(4);
    stage.associated(extender, "ath0", ap_address(1));
    stage.see_log(extender, "STA_CONNECTION_UP");
    stage.see_log(extender, "Connect with : 02:00:00:00:01:01");
    stage.see_log(extender, "backhaul_connected(ath0) : backhaul_sta_num 1");
    configuration_seen(stage, extender, "ath0");
}

void act_loss_and_return(Stage& stage, Actor& extender) {
    stage.act("The link is lost and comes back");
    stage.step("the driver reports the loss");
    stage.advance(30);
    stage.lost(extender, "ath0");
    stage.see_log(extender, "STA_CONNECTION_DOWN");
    stage.see_log(extender, "Disconnect with : 02:00:00:00:01:01");
    stage.see_file(extender, kStatus, "not ready\n");
    stage.see_log(extender, "backhaul_disconnected : No backhaul link, disable all service AP");
    stage.see_log(extender, "backhaul_disconnected(ath0) : sta_intf->disconnect_count 1");
    stage.see_shell(extender, "wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 reconnect");
    stage.see_state(extender, "ath0", 7, 3);

    stage.step("the station is back");
    stage.advance(6);
    stage.associated(extender, "ath0", ap_address(1));
    stage.see_log(extender, "backhaul_connected(ath0) : backhaul_sta_num 1");
    configuration_seen(stage, extender, "ath0");
}

void act_backup_takes_over(Stage& stage, Actor& extender) {
    stage.act("The upstream AP goes away: the backup station takes over");
    stage.step("the link is lost and the reconnect finds nobody");
    stage.advance(30);
    stage.lost(extender, "ath0");
    stage.see_log(extender, "backhaul_disconnected(ath0) : sta_intf->disconnect_count 2");
    stage.see_state(extender, "ath0", 7, 3);
    stage.see_quiet(extender, "interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout",
                    180);

    stage.step("more than 180 seconds have passed: the backup station is started");
    stage.see_log(extender, "interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout", 1);
    stage.see_log(extender, "dev_intf_enable_set : disable ath0");
    stage.see_log(extender, "find_backup_backhaul_link : finding backup backhaul link");
    stage.see_state(extender, "ath1", 0, 3);
    stage.see_log(extender, "find_backup_backhaul_link : found backup backhaul sta ath1");

    stage.step("ath1 associates with another AP and carries the backhaul");
    stage.advance(5);
    stage.associated(extender, "ath1", ap_address(2));
    stage.see_log(extender, "backhaul_connected(ath1) : backhaul_sta_num 1");
    configuration_seen(stage, extender, "ath1");

    stage.step("the preferred station comes back and takes the ready link over");
    stage.advance(40);
    stage.associated(extender, "ath0", ap_address(1));
    stage.see_log(extender, "backhaul_connected(ath0) : backhaul_sta_num 2");
    stage.see_log(extender,
                  "backhaul_connected : Best backhaul come back, disable backup sta(ath1)");
    stage.see_state(extender, "ath1", 7, 0);
    stage.see_state(extender, "ath0", 3, 7);
    stage.see_file(extender, kStatus, "ready\n");
}

void act_third_loss(Stage& stage, Actor& extender) {
    stage.act("The third loss parks the preferred station");
    stage.step("ath0 is lost again");
    stage.advance(20);
    stage.lost(extender, "ath0");
    stage.see_log(extender, "backhaul_disconnected(ath0) : sta_intf->disconnect_count 3");
    stage.see_log(extender, "dev_intf_enable_set : disable ath0");
    stage.see_state(extender, "ath0", 7, 6);
    stage.see_log(extender, "find_backup_backhaul_link : found backup backhaul sta ath1");

    stage.step("it stays parked; the backup carries the backhaul");
    stage.associated(extender, "ath1", ap_address(2));
    stage.see_log(extender, "backhaul_connected(ath1) : backhaul_sta_num 1");
    configuration_seen(stage, extender, "ath1");
    stage.see_quiet(extender, "backhaul_intf_state_change : change ath0 state from 6 to 3", 300);

    stage.step("a scan request through the FIFO releases it");
    stage.command(extender, "uplink_scan");
    stage.see_log(extender, "backhaul_slave_backhaul_restore : best backhaul reconncet");
    stage.see_state(extender, "ath0", 0, 3);
    stage.associated(extender, "ath0", ap_address(1));
    stage.see_log(extender,
                  "backhaul_connected : Best backhaul come back, disable backup sta(ath1)");
    stage.see_state(extender, "ath0", 3, 7);
    stage.see_file(extender, kStatus, "ready\n");
}

}  // namespace lab
