#include "tests/link/link_fixture.h"

#include "lab/tools/state_layout.h"
#include "link/link_timer.h"
#include "runtime/runtime_block.h"

void LinkTest::SetUp() {
    harness::TableTest::SetUp();
    ath0 = intf_add("ath0", BACKHAUL_STA, BAND_5G, 20);
    ath1 = intf_add("ath1", BACKHAUL_STA, BAND_5G, 10);
    ath10 = intf_add("ath10", MAIN_SERVICE_AP, BAND_24G);
    ath11 = intf_add("ath11", GUEST_SERVICE_AP, BAND_5G_LOW);
    ath14 = intf_add("ath14", VISITOR_SERVICE_AP, BAND_5G);
    ath20 = intf_add("ath20", BACKHAUL_AP, BAND_5G_HIGH);
    eth = intf_add("eth", ETHERNET, BAND_NONE);
    timer = intf_add("timer", AP_TIMER_INTF, BAND_NONE);
    eth->state = ETH_BACKHAUL_DOWN;
    runtime.best_backhaul_sta = ath0;
    runtime.backhaul_valid = 1;
    for (const char* name : {"ath0", "ath1", "ath20"}) {
        uci_put(std::string(name) + ".ssid", "mesh");
        uci_put(std::string(name) + ".auth", "WPA2PSK");
        uci_put(std::string(name) + ".WPAPSKkey", "secret00");
    }
    for (const char* name : {"ath10", "ath11", "ath14"}) {
        uci_put(std::string(name) + ".disabled", "0");
        ASSERT_TRUE(lab::wifi_mode_set("", name, "Master"));
    }
    ASSERT_TRUE(lab::supplicant_pid_file_set("", 1));
    ASSERT_TRUE(lab::hyd_running_set("", true));
    ASSERT_TRUE(lab::agent_reload_value_set("", "0"));
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath0", "whc_dist", "2"));
    ASSERT_TRUE(lab::iwpriv_value_set("", "ath1", "whc_dist", "3"));
    ASSERT_TRUE(lab::wifi_associated_set("", "ath0", "02:aa:00:00:00:01"));
}

void LinkTest::enter(intf_record* record, int32_t state) {
    record->state = state;
    intf_timer_set(record, 1);
}

std::string status_file() {
    return harness::file_text("/tmp/backhaul_status");
}

Journal event(const std::string& name, int number) {
    return {"wifi_slave_event_process : ifname " + name + " event " + std::to_string(number)};
}

Journal change(const std::string& name, int from, int to) {
    return {"backhaul_intf_state_change : change " + name + " state from " + std::to_string(from) +
            " to " + std::to_string(to)};
}

Journal station_on(const std::string& name) {
    return {
        "dev_intf_enable_set : enable " + name,
        "$ uci set wireless." + name + ".disabled=0",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
        "$ uci get wireless." + name + ".ssid",
        "$ iwconfig " + name + " essid on",
        "device_sta_intf_ssid_set : iwconfig " + name + " essid mesh",
        "$ iwconfig " + name + " essid mesh",
        "$ uci get wireless." + name + ".ssid",
        "$ uci get wireless." + name + ".auth",
        "$ uci get wireless." + name + ".WPAPSKkey",
        "$ wpa_cli -g /var/run/wpa_supplicantglobal interface_add " + name +
            " /tmp/wpa_supplicant-" + name + ".conf athr /var/run/wpa_supplicant-" + name +
            " \"\" br-lan > /tmp/wpa_result",
        "$ wpa_cli -i " + name + " -p /var/run/wpa_supplicant-" + name +
            " status > /tmp/wpa_cli_status",
    };
}

Journal station_off(const std::string& name) {
    return {
        "dev_intf_enable_set : disable " + name,
        "$ wpa_cli -g /var/run/wpa_supplicantglobal  interface_remove " + name,
        "$ uci set wireless." + name + ".disabled=1",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
    };
}

Journal station_disconnect(const std::string& name) {
    return {"$ wpa_cli -i " + name + " -p /var/run/wpa_supplicant-" + name + " disconnect"};
}

Journal station_reconnect(const std::string& name) {
    return {
        "$ ifconfig " + name + " down",
        "$ ifconfig " + name + " up",
        "$ wpa_cli -i " + name + " -p /var/run/wpa_supplicant-" + name + " reconnect",
    };
}

Journal ap_off(const std::string& name) {
    return {
        "dev_intf_enable_set : disable " + name,
        "$ uci get wireless." + name + ".disabled",
        "$ uci set wireless." + name + ".disabled=1",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
    };
}

Journal ap_off_already(const std::string& name) {
    return {"dev_intf_enable_set : disable " + name, "$ uci get wireless." + name + ".disabled"};
}

Journal led(const std::string& pattern) {
    return {"$ /sbin/velmor_led_ctrl " + pattern + " &",
            "device_led_control : /sbin/velmor_led_ctrl " + pattern};
}

Journal bcast(const std::string& name, const std::string& word) {
    return {"hyd_bcast_reset : " + word + " bcast in " + name,
            "$ hyctl setifbcast br-lan " + name + " " + word};
}

Journal hyd_check() {
    return {"$ ps | grep hyd | grep -v grep > /tmp/hyd_alive"};
}

Journal distance(const std::string& name, int value) {
    return {"$ iwpriv " + name + " get_whc_dist > /tmp/ath_dist",
            "qca_dist_get : dist " + std::to_string(value)};
}

Journal agent_reload() {
    return {"$ /usr/sbin/vl1905App 18 1 0",
            "$ cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > /tmp/wifi_reload_flag"};
}

Journal agent_start_all() {
    return {"$ /usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 23 00:00:00:00:00:00"};
}

Journal uci_disable_all() {
    Journal all;
    for (const char* name : {"ath10", "ath11", "ath14", "ath20"}) {
        all.push_back("$ uci set wireless." + std::string(name) + ".disabled=1");
        all.push_back("$ uci commit wireless");
    }
    return all;
}

Journal settings_reload() {
    return joined({
        led("BackhaulConfig"),
        {"device_reload_ap_settings : Enter", "$ uci set hyd.config.Enable=0",
         "$ /etc/init.d/hyd stop", "device_reload_ap_settings : reload ath10",
         "$ /etc/init.d/wireless restart", "device_reload_ap_settings : reload ath11",
         "$ /etc/init.d/wireless restart", "device_reload_ap_settings : reload ath14",
         "$ /etc/init.d/wireless restart", "dev_intf_enable_set : disable ath20",
         "$ uci set wireless.ath20.disabled=1", "$ uci commit wireless",
         "$ /etc/init.d/wireless restart", "$ uci set hyd.config.Enable=1", "$ uci commit hyd",
         "$ /etc/init.d/hyd restart", "device_reload_ap_settings : Leave 0.000000",
         "$ wifi_channel_monitor once"},
        led("BackhaulFinish"),
        {"$ /usr/sbin/vl1905App 18 1 1"},
    });
}

Journal txpower_decrease() {
    return {"device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
            "$ iwconfig ath0 txpower 23", "$ iwpriv wifi0 cca_threshold -65",
            "$ iwpriv wifi1 cca_threshold -65"};
}

Journal broadcast_sent(const std::string& word) {
    return {"$ uci get wireless.ath20.ssid",
            "$ echo -n '" + word + "' | openssl aes-128-cbc -e -k 'mesh' > /tmp/ssl_output"};
}

Journal admission_asked() {
    return {"$ uci get wireless.ath20.ssid",
            "$ echo -n 'CHECK_VALID' | openssl aes-128-cbc -e -k 'mesh' > /tmp/ssl_output",
            "backhaul_send_unicast_msg : sendto error 13 ''"};
}

Journal search_finding() {
    return {"find_backup_backhaul_link : finding backup backhaul link"};
}
