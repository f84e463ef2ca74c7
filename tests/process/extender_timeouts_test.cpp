// What the once-a-second sweep does: missed events, ready ticks, switches to a better AP, and the
// periodic look at all interfaces.

#include <gmock/gmock.h>

#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/process/extender_story.h"

namespace {

using testing::IsEmpty;

class ExtenderTimeouts : public ExtenderStory {
protected:
    /// One ready tick until the station's association is asked for, `losses` being the line about
    /// losses, if any, and `scan` what follows it.
    static Lines tick(const Lines& losses, const Lines& scan) {
        return joined({{"$ uci get wireless.ath10.disabled", "$ uci get wireless.ath11.disabled"},
                       losses,
                       scan,
                       {"$ iwconfig ath0 | grep Not-Associated"}});
    }

    static Lines scan_begin(int number) {
        return {"interface_timeout_chk : do other band scan",
                "interface_timeout_chk : do uplink scan " + std::to_string(number),
                "$ iwpriv ath0 sendprobereq 1"};
    }

    static Lines scan_end(int rate) {
        return {"$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid",
                "$ iwpriv ath0 get_whc_ul_rate > /tmp/ul_rate",
                "device_backhaul_ap_ul_rate_update : ul_rate " + std::to_string(rate),
                "$ iwpriv ath20 set_whc_ul_rate " + std::to_string(rate)};
    }

    static Lines scan(int number) {
        return joined({scan_begin(number), scan_end(300)});
    }

    static Lines forgiving(int losses, int periods) {
        return {"interface_timeout_chk(ath0) : disconnect_count " + std::to_string(losses) +
                " ready_count " + std::to_string(periods)};
    }

    void better_ap(const std::string& address) {
        lab::iwpriv_value_set(router().root(), "ath0", "whc_bssid", address);
    }

    /// From the ready extender to its switch to ap(2), everything until then skipped.
    void start_switching() {
        start_ready_extender();
        better_ap(ap(2));
        advance(61);
        skip();
    }

    static Lines looks_at_all_interfaces() {
        return {"$ iwconfig ath0 > /tmp/wifi_intf.tmp", "$ iwconfig ath1 > /tmp/wifi_intf.tmp",
                "$ iwconfig ath10 > /tmp/wifi_intf.tmp", "$ iwconfig ath11 > /tmp/wifi_intf.tmp",
                "$ iwconfig ath20 > /tmp/wifi_intf.tmp"};
    }
};

TEST_F(ExtenderTimeouts, catches_an_association_whose_event_was_missed_after_181_seconds) {
    start_extender();
    advance(10);
    skip();
    driver().associated_silently("ath0", ap(1));
    advance(180);
    expect_journal({});
    advance(1);
    const Lines link = first_link("ath0", ap(1));
    expect_journal(
        joined({{"interface_timeout_chk : ath0 -> CONNECTING_BACKHAUL_AP timeout",
                 "$ iwconfig ath0 | grep Not-Associated", "$ iwconfig ath0 > /tmp/iwconfig.tmp",
                 "interface_timeout_chk: connect with : " + ap(1)},
                // All but the driver's own two lines.
                {link.begin() + 2, link.end()}}));
    expect_no_file("/tmp/iwconfig.tmp");
    expect_status("connected\n");
}

TEST_F(ExtenderTimeouts, scans_and_checks_the_association_61_seconds_after_it_was_ready) {
    start_ready_extender();
    lab::iwpriv_value_set(router().root(), "ath0", "whc_ul_rate", "433");
    advance(60);
    expect_journal({});
    advance(1);
    // The driver is given two seconds to hear answers.
    expect_journal(
        joined({{"$ uci get wireless.ath10.disabled", "$ uci get wireless.ath11.disabled"},
                scan_begin(0)}));
    advance(1);
    expect_journal({});
    advance(1);
    expect_journal(joined({scan_end(433), {"$ iwconfig ath0 | grep Not-Associated"}}));
    expect_status("ready\n");
}

TEST_F(ExtenderTimeouts, makes_six_scans_in_an_outage_and_goes_on_checking_every_61_seconds) {
    start_ready_extender();
    for (int number = 0; number < 6; ++number) {
        advance(60);
        expect_journal({});
        advance(3);
        expect_journal(tick({}, scan(number)));
    }
    for (int round = 0; round < 3; ++round) {
        advance(60);
        expect_journal({});
        advance(1);
        expect_journal(tick({}, {}));
    }
    // The next outage has six more.
    driver().lost("ath0");
    make_ready("ath0", ap(1));
    advance(63);
    expect_journal(tick(forgiving(1, 1), scan(0)));
}

TEST_F(ExtenderTimeouts, scans_again_after_the_command_uplink_scan) {
    start_ready_extender();
    advance(6 * 63 + 61);
    skip();
    router().command("uplink_scan\n");
    expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, message_sent("UPLINKSCAN")}));
    advance(63);
    expect_journal(tick({}, scan(0)));
}

TEST_F(ExtenderTimeouts, forgives_a_loss_after_five_ready_ticks) {
    start_ready_extender();
    driver().lost("ath0");
    make_ready("ath0", ap(1));
    for (int period = 1; period <= 4; ++period) {
        advance(63);
        expect_journal(tick(forgiving(1, period), scan(period - 1)));
    }
    advance(63);
    expect_journal(tick(forgiving(0, 0), scan(4)));
    advance(63);
    expect_journal(tick({}, scan(5)));
}

TEST_F(ExtenderTimeouts, forgives_at_every_tick_with_option_r_1) {
    start_ready_extender({"-r", "1"});
    driver().lost("ath0");
    make_ready("ath0", ap(1));
    driver().lost("ath0");
    make_ready("ath0", ap(1));
    advance(63);
    expect_journal(tick(forgiving(1, 0), scan(0)));
    advance(63);
    expect_journal(tick(forgiving(0, 0), scan(1)));
}

TEST_F(ExtenderTimeouts, notices_at_the_ready_tick_that_the_association_is_gone) {
    start_ready_extender();
    driver().lost_silently("ath0");
    advance(62);
    skip();
    expect_status("ready\n");
    advance(1);
    const Lines lost = ready_link_lost("ath0", ap(1));
    expect_journal(joined({scan_end(300),
                           {"$ iwconfig ath0 | grep Not-Associated",
                            "interface_timeout_chk : backhaul(ath0) is discconnected, try to "
                            "reconnect"},
                           // All but the driver's own two lines.
                           {lost.begin() + 2, lost.end()},
                           tries_again("ath0", 7, 1)}));
    expect_status("not ready\n");
}

TEST_F(ExtenderTimeouts, restarts_a_service_ap_that_is_not_on_the_air) {
    start_ready_extender();
    router().uci("wireless.ath10.disabled", "0");
    lab::wifi_bss_up_set(router().root(), "ath10", false);
    advance(61);
    expect_journal(
        joined({{"$ uci get wireless.ath10.disabled", "$ iwconfig ath10 | grep Not-Associated",
                 "ap_alive_chk(not alive) : reload ath10", "$ /etc/init.d/wireless restart",
                 "$ uci get wireless.ath11.disabled"},
                scan_begin(0)}));
}

TEST_F(ExtenderTimeouts, switches_to_a_better_ap) {
    start_ready_extender();
    heard();
    better_ap(ap(2));
    advance(62);
    skip();
    advance(1);
    expect_journal(joined({{"$ iwpriv ath0 get_whc_bssid > /tmp/best_bssid",
                            "backhaul_intf_uplink_scan : Find better AP " + ap(2),
                            "backhaul_intf_uplink_scan : Current AP " + ap(1)},
                           event("ath0", 7),
                           state_line("BACKHAUL_READY"),
                           state_line("CONFIG_BEST_AP"),
                           target_joined("ath0", ap(2))}));
    expect_status("not ready\n");
    driver().lost("ath0");
    expect_journal({"STA_CONNECTION_DOWN", "Disconnect with : " + ap(1),
                    "wireless_event_process : Under CONNECTING_TARGET_BACKHAUL_AP, ignore "
                    "AP_DISASSOC"});
    driver().associated("ath0", ap(2));
    expect_journal(joined({driver_up("ath0", ap(2)),
                           {"wifi_slave_event_process : switch to " + ap(2)},
                           distance("ath0"),
                           {"$ iwpriv ath20 set_whc_dist 1"},
                           change("ath0", 5, 7)}));
    expect_status("ready\n");
    EXPECT_THAT(heard(), IsEmpty());
}

TEST_F(ExtenderTimeouts, reports_not_ready_before_the_switch_begins_and_ready_after_it) {
    start_ready_extender();
    better_ap(ap(2));
    advance(61);
    lab::answer_hold(router().root(), "wpa_cli.disable_network", "supplicant");
    lab::answer_hold(router().root(), "iwpriv.ath20", "distance");
    expect_status("ready\n");
    advance(2);
    expect_status("not ready\n");
    expect_shell({"...", "wpa_cli -p /var/run/wpa_supplicant-ath0 disable_network 0"});
    lab::gate_open(router().root(), "supplicant");
    driver().associated("ath0", ap(2));
    expect_shell({"...", "iwpriv ath20 set_whc_dist 1"});
    expect_status("not ready\n");
    lab::gate_open(router().root(), "distance");
    expect_status("ready\n");
}

TEST_F(ExtenderTimeouts, gives_a_better_ap_up_after_121_seconds) {
    start_switching();
    advance(2);
    expect_status("not ready\n");
    skip();
    advance(120);
    expect_journal({});
    advance(1);
    expect_journal(joined(
        {{"interface_timeout_chk : ath0 -> CONNECTING_TARTGET_BACKHAUL_AP timeout"},
         event("ath0", 5),
         {"wifi_slave_event_process : Connecting to target AP timeout, try to connect by default"},
         station_disconnect("ath0"),
         no_link_left(),
         ap_off_already("ath10"),
         ap_off_already("ath11"),
         loss_counted("ath0", 0),
         {"backhaul_disconnected : try to reconnect and clear configured bssid"},
         station_off("ath0"),
         station_on("ath0"),
         change("ath0", 5, 3),
         led("BackhaulDisConnect")}));
    expect_status("not ready\n");
}

TEST_F(ExtenderTimeouts, stays_with_the_ap_that_it_is_on) {
    start_ready_extender();
    better_ap(ap(1));
    advance(63);
    expect_journal(tick({}, scan(0)));
    expect_status("ready\n");
}

TEST_F(ExtenderTimeouts, looks_at_every_interface_all_601_seconds) {
    start_ready_extender();
    advance(600 - 27);
    skip();
    advance(1);
    expect_journal(joined(
        {{"$ wifisys_tool -g 1 -f 2", "device_wifi_intf_existence_chk : visitor_network_feature 0"},
         looks_at_all_interfaces()}));
    advance(600);
    skip();
    advance(1);
    expect_journal(looks_at_all_interfaces());
}

TEST_F(ExtenderTimeouts, brings_the_radio_of_a_vanished_interface_up) {
    start_ready_extender();
    advance(600 - 27);
    lab::wifi_missing_set(router().root(), "ath20", "wifi2");
    lab::wifi_missing_set(router().root(), "ath10", "wifi1");
    skip();
    advance(1);
    expect_log({"device_wifi_intf_existence_chk : visitor_network_feature 0",
                "device_wifi_intf_existence_chk : recover WiFi ath10",
                "device_wifi_intf_existence_chk : recover WiFi ath20",
                "device_wifi_intf_existence_chk : recover WiFi 5G low",
                "device_wifi_intf_existence_chk : recover WiFi 5G high"});
    expect_shell({"wifisys_tool -g 1 -f 2", "iwconfig ath0 > /tmp/wifi_intf.tmp",
                  "iwconfig ath1 > /tmp/wifi_intf.tmp", "iwconfig ath10 > /tmp/wifi_intf.tmp",
                  "iwconfig ath11 > /tmp/wifi_intf.tmp", "iwconfig ath20 > /tmp/wifi_intf.tmp",
                  "wifi up wifi1", "wifi up wifi2"});
    // They are back: the next look finds nothing to recover.
    skip();
    advance(601);
    expect_never("recover WiFi");
}

TEST_F(ExtenderTimeouts, keeps_driver_events_waiting_while_a_station_is_being_enabled) {
    start_extender();
    advance(9);
    lab::answer_hold(router().root(), "wpa_cli.interface_add", "supplicant");
    skip();
    advance(1);
    const Lines start = first_start("ath0");
    // The start has the dispatcher to itself until the supplicant has answered.
    expect_journal({start.begin(), start.end() - 1});
    driver().associated("ath0", ap(1));
    expect_journal({"STA_CONNECTION_UP", "Connect with : " + ap(1)});
    advance(30);
    expect_journal({});
    lab::gate_open(router().root(), "supplicant");
    const Lines link = first_link("ath0", ap(1));
    expect_journal(joined({{start.back()}, {link.begin() + 2, link.end()}}));
    expect_status("connected\n");
}

}  // namespace
