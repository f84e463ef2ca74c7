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

Journal agent_start_all() {
    return {"$ /usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 23 00:00:00:00:00:00"};
}

Journal uci_disable_all() {
    return harness::aps_disabled_in_store({"ath10", "ath11", "ath14", "ath20"});
}

Journal settings_reload() {
    return harness::settings_reload({"ath10", "ath11", "ath14"});
}
