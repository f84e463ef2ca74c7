#include "tests/link/link_fixture.h"

#include "intf/intf_timer.h"
#include "lab/tools/state_layout.h"
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
        uci_put(std::string(name) + ".ssid", "mesh-backhaul");
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
    record->state = static_cast<link_state>(state);
    intf_timer_set(record, TIMER_ON);
}

std::string status_file() {
    return harness::file_text("/tmp/backhaul_status");
}

Journal distance(const std::string& name, int value) {
    return {"$ iwpriv " + name + " get_whc_dist > /tmp/ath_dist",
            "qca_dist_get : dist " + std::to_string(value)};
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

Journal admission_asked() {
    return {"$ uci get wireless.ath20.ssid",
            "$ echo -n 'CHECK_VALID' | openssl aes-128-cbc -e -k 'mesh-backhaul' > /tmp/ssl_output",
            "backhaul_send_unicast_msg : sendto error 13 ''"};
}

Journal search_finding() {
    return {"find_backup_backhaul_link : finding backup backhaul link"};
}
