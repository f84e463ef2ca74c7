// The first ten seconds of an extender: service APs, the choice of the station, its configuration.

#include "lab/tools/answer.h"
#include "tests/process/extender_story.h"

namespace {

class ExtenderStart : public ExtenderStory {};

TEST_F(ExtenderStart, shuts_the_aps_and_starts_the_preferred_station_after_ten_seconds) {
    start_extender();
    expect_start_journal(joined(
        {{"<-- backhaul_monitor start -->"}, ap_off("ath10"), ap_off("ath11"), backhaul_ap_off()}));
    expect_status("not ready\n");
    expect_file("/tmp/WirelessDev", "wifi2");
    expect_file("/tmp/wifi5G_2_Apply", "ath20");
    expect_out({"Wait pid"});
    advance(9);
    expect_journal({});
    expect_no_file("/tmp/backhaul_type");
    advance(1);
    expect_journal(first_start("ath0"));
    expect_out({"Slave"});
    expect_err({});
    expect_file("/tmp/backhaul_type", "wifi\n");
    expect_file("/tmp/wpa_supplicant-ath0.conf",
                "network={\n\tscan_ssid=1\n\tssid=\"mesh-backhaul\"\n\tproto=RSN\n"
                "\tkey_mgmt=WPA-PSK\n\tpsk=\"mesh-key-1234\"\n}\n");
    expect_status("not ready\n");
    advance(180);
    expect_journal({});
}

TEST_F(ExtenderStart, reports_not_ready_before_it_shuts_the_aps) {
    add_extender().put_file("/tmp/backhaul_status", "ready\n");
    lab::answer_hold(router().root(), "uci", "store");
    router().start();
    expect_shell({"uci get wireless.ath10.disabled"});
    expect_status("not ready\n");
}

TEST_F(ExtenderStart, writes_the_type_before_it_enables_the_station) {
    start_extender();
    lab::answer_hold(router().root(), "uci.set", "store");
    skip();
    advance(10);
    expect_shell({"uci get wireless.ath0.ssid", "uci get wireless.ath0.WPAPSKkey",
                  "/sbin/velmor_led_ctrl BackhaulDisConnect &",
                  "uci set wireless.ath0.disabled=0"});
    expect_file("/tmp/backhaul_type", "wifi\n");
}

TEST_F(ExtenderStart, leaves_a_service_ap_alone_that_is_shut_already) {
    add_extender().uci("wireless.ath10.disabled", "1");
    router().uci("wireless.ath11.disabled", "");
    router().start();
    expect_start_journal(joined({{"<-- backhaul_monitor start -->"},
                                 ap_off_already("ath10"),
                                 ap_off_already("ath11"),
                                 backhaul_ap_off()}));
}

TEST_F(ExtenderStart, keeps_a_configured_backhaul_ap_up_with_option_d) {
    start_extender({"-d"});
    expect_start_journal(
        joined({{"<-- backhaul_monitor start -->"},
                ap_off("ath10"),
                ap_off("ath11"),
                {"$ uci get wireless.ath20.ssid", "$ uci get wireless.ath20.WPAPSKkey",
                 "$ /etc/init.d/wireless restart"}}));
    expect_file("/tmp/wifi5G_2_Apply", "ath20");
}

TEST_F(ExtenderStart, only_logs_an_association_during_the_pause) {
    start_extender();
    advance(4);
    skip();
    driver().associated("ath0", ap(1));
    expect_journal(joined({driver_up("ath0", ap(1)), state_line("INIT")}));
    expect_status("not ready\n");
    advance(5);
    expect_journal({});
    advance(1);
    expect_journal(first_start("ath0"));
}

TEST_F(ExtenderStart, tries_an_unconfigured_station_every_six_seconds) {
    add_extender().uci("wireless.ath0.WPAPSKkey", "");
    router().start();
    advance(9);
    skip();
    const Lines one_try =
        joined({event("ath0", 0),
                state_line("INIT"),
                {"$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey"},
                state_line("Not configured, wait a moment"),
                change("ath0", 0, 0)});
    advance(1);
    expect_journal(one_try);
    for (int round = 0; round < 3; ++round) {
        advance(5);
        expect_journal({});
        advance(1);
        expect_journal(one_try);
    }
    expect_no_file("/tmp/backhaul_type");
}

TEST_F(ExtenderStart, connects_a_station_that_is_configured_late_without_the_led) {
    add_extender().uci("wireless.ath0.ssid", "");
    router().start();
    advance(16);
    skip();
    router().uci("wireless.ath0.ssid", "mesh-backhaul");
    advance(5);
    expect_journal({});
    advance(1);
    expect_journal(joined({event("ath0", 0),
                           state_line("INIT"),
                           {"$ uci get wireless.ath0.ssid", "$ uci get wireless.ath0.WPAPSKkey"},
                           state_line("intf configured change to CONNECTING_BACKHAUL_AP"),
                           change("ath0", 0, 3),
                           station_on("ath0")}));
    expect_file("/tmp/backhaul_type", "wifi\n");
}

TEST_F(ExtenderStart, prefers_the_station_of_the_highest_priority) {
    start_with_profile(
        "ath0 BACKHAUL_STA 5l 100 0\n"
        "ath1 BACKHAUL_STA 5h 101 0\n"
        "eth ETHERNET 0 0 0\n");
    advance(9);
    skip();
    advance(1);
    expect_journal(first_start("ath1"));
}

TEST_F(ExtenderStart, prefers_the_first_of_two_stations_of_equal_priority) {
    start_with_profile(
        "ath1 BACKHAUL_STA 5h 100 0\n"
        "ath0 BACKHAUL_STA 5l 100 0\n"
        "eth ETHERNET 0 0 0\n");
    advance(9);
    skip();
    advance(1);
    expect_journal(first_start("ath1"));
}

TEST_F(ExtenderStart, lives_without_any_station) {
    start_with_profile(
        "ath10 MAIN_SERVICE_AP 5l 0 0\n"
        "eth ETHERNET 0 0 0\n");
    expect_start_journal(joined({{"<-- backhaul_monitor start -->"}, ap_off("ath10")}));
    advance(1000);
    expect_journal({});
    expect_out({"Wait pid", "Slave"});
}

}  // namespace
