#include "tests/process/extender_lines.h"

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Lines event(const std::string& name, int number) {
    return {"wifi_slave_event_process : ifname " + name + " event " + std::to_string(number)};
}

Lines state_line(const std::string& state) {
    return {"wifi_slave_event_process : " + state};
}

Lines change(const std::string& name, int from, int to) {
    return {"backhaul_intf_state_change : change " + name + " state from " + std::to_string(from) +
            " to " + std::to_string(to)};
}

Lines station_on(const std::string& name) {
    return {
        "dev_intf_enable_set : enable " + name,
        "$ uci set wireless." + name + ".disabled=0",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
        "$ uci get wireless." + name + ".ssid",
        "$ iwconfig " + name + " essid on",
        "device_sta_intf_ssid_set : iwconfig " + name + " essid mesh-backhaul",
        "$ iwconfig " + name + " essid mesh-backhaul",
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

Lines station_off(const std::string& name) {
    return {
        "dev_intf_enable_set : disable " + name,
        "$ wpa_cli -g /var/run/wpa_supplicantglobal  interface_remove " + name,
        "$ uci set wireless." + name + ".disabled=1",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
    };
}

Lines station_disconnect(const std::string& name) {
    return {"$ wpa_cli -i " + name + " -p /var/run/wpa_supplicant-" + name + " disconnect"};
}

Lines station_reconnect(const std::string& name) {
    return {
        "$ ifconfig " + name + " down",
        "$ ifconfig " + name + " up",
        "$ wpa_cli -i " + name + " -p /var/run/wpa_supplicant-" + name + " reconnect",
    };
}

Lines ap_off(const std::string& name) {
    return {
        "dev_intf_enable_set : disable " + name,
        "$ uci get wireless." + name + ".disabled",
        "$ uci set wireless." + name + ".disabled=1",
        "$ uci commit wireless",
        "$ /etc/init.d/wireless restart",
    };
}

Lines ap_off_already(const std::string& name) {
    return {"dev_intf_enable_set : disable " + name, "$ uci get wireless." + name + ".disabled"};
}

Lines backhaul_ap_off() {
    return {"dev_intf_enable_set : disable ath20", "$ uci set wireless.ath20.disabled=1",
            "$ uci commit wireless", "$ /etc/init.d/wireless restart"};
}

Lines aps_disabled_in_store() {
    Lines all;
    for (const char* name : {"ath10", "ath11", "ath20"}) {
        all.push_back("$ uci set wireless." + std::string(name) + ".disabled=1");
        all.push_back("$ uci commit wireless");
    }
    return all;
}

Lines led(const std::string& pattern) {
    return {"$ /sbin/velmor_led_ctrl " + pattern + " &",
            "device_led_control : /sbin/velmor_led_ctrl " + pattern};
}

Lines bcast(const std::string& name, const std::string& word) {
    return {"hyd_bcast_reset : " + word + " bcast in " + name,
            "$ hyctl setifbcast br-lan " + name + " " + word};
}

Lines hyd_check() {
    return {"$ ps | grep hyd | grep -v grep > /tmp/hyd_alive"};
}

Lines distance(const std::string& name) {
    return {"$ iwpriv " + name + " get_whc_dist > /tmp/ath_dist", "qca_dist_get : dist 1"};
}

Lines agent_reload() {
    return {"$ /usr/sbin/vl1905App 18 1 0",
            "$ cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > /tmp/wifi_reload_flag"};
}

Lines agent_start() {
    return {"$ /usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x20 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 23 00:00:00:00:00:00"};
}

Lines settings_reload() {
    return joined({
        led("BackhaulConfig"),
        {"device_reload_ap_settings : Enter", "$ uci set hyd.config.Enable=0",
         "$ /etc/init.d/hyd stop", "device_reload_ap_settings : reload ath10",
         "$ /etc/init.d/wireless restart", "device_reload_ap_settings : reload ath11",
         "$ /etc/init.d/wireless restart"},
        backhaul_ap_off(),
        {"$ uci set hyd.config.Enable=1", "$ uci commit hyd", "$ /etc/init.d/hyd restart",
         "device_reload_ap_settings : Leave 0.000000", "$ wifi_channel_monitor once"},
        led("BackhaulFinish"),
        {"$ /usr/sbin/vl1905App 18 1 1"},
    });
}

Lines txpower_decrease() {
    return {"device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
            "$ iwconfig ath0 txpower 23", "$ iwpriv wifi0 cca_threshold -65",
            "$ iwpriv wifi1 cca_threshold -65"};
}

Lines message_sent(const std::string& word) {
    return {
        "$ uci get wireless.ath20.ssid",
        "$ echo -n '" + word + "' | openssl aes-128-cbc -e -k 'mesh-backhaul' > /tmp/ssl_output"};
}

Lines admission_asked_in_vain() {
    return joined(
        {message_sent("CHECK_VALID"), {"backhaul_send_unicast_msg : sendto error 13 ''"}});
}

Lines first_start(const std::string& name) {
    return joined({
        event(name, 0),
        state_line("INIT"),
        {"$ uci get wireless." + name + ".ssid", "$ uci get wireless." + name + ".WPAPSKkey"},
        state_line("intf configured change to CONNECTING_BACKHAUL_AP"),
        led("BackhaulDisConnect"),
        change(name, 0, 3),
        station_on(name),
    });
}

Lines driver_up(const std::string& name, const std::string& ap) {
    return joined({{"STA_CONNECTION_UP", "Connect with : " + ap}, event(name, 1)});
}

Lines driver_down(const std::string& name, const std::string& ap) {
    return joined({{"STA_CONNECTION_DOWN", "Disconnect with : " + ap}, event(name, 2)});
}

Lines first_link(const std::string& name, const std::string& ap) {
    return joined({
        driver_up(name, ap),
        state_line("CONNECTING_BACKHAUL_AP"),
        state_line("ASSOC"),
        bcast(name, "enable"),
        {"backhaul_connected(" + name + ") : backhaul_sta_num 1"},
        distance(name),
        aps_disabled_in_store(),
        hyd_check(),
        {"backhaul_connected(" + name + ") : Sync Service AP settings"},
        agent_reload(),
        change(name, 3, 4),
        led("BackhaulConnect"),
    });
}

Lines agent_late(const std::string& name, const Lines& sent) {
    return joined({
        {"interface_timeout_chk : " + name + " -> CONNECT_WITH_BACKHAUL_AP timeout"},
        event(name, 5),
        state_line("CONNECT_WITH_BACKHAUL_AP"),
        {"$ iwconfig " + name + " | grep Not-Associated > /tmp/iw_result",
         "backhaul_auto_config_timeout_handle(" + name +
             ") : try to sync Service AP settings again"},
        hyd_check(),
        bcast(name, "enable"),
        sent,
        agent_start(),
        change(name, 4, 4),
    });
}

Lines agent_success(const std::string& name, const Lines& sent) {
    return joined({
        event(name, 6),
        state_line("CONNECT_WITH_BACKHAUL_AP"),
        {"wifi_slave_event_process(" + name + ") : Service AP Auto Config Success"},
        distance(name),
        settings_reload(),
        txpower_decrease(),
        bcast(name, "enable"),
        sent,
        change(name, 4, 7),
    });
}

Lines ready_link_lost(const std::string& name, const std::string& ap) {
    return joined({
        driver_down(name, ap),
        state_line("BACKHAUL_READY"),
        state_line("AP_DISASSOC"),
        bcast(name, "disable"),
        station_disconnect(name),
        {"backhaul_disconnected : No backhaul link, disassociate all sta in backhaul ap",
         "backhaul_disconnected : No backhaul link, disable all service AP"},
        ap_off_already("ath10"),
        ap_off_already("ath11"),
    });
}

Lines tries_again(const std::string& name, int from, int losses) {
    return joined({
        {"backhaul_disconnected(" + name + ") : try to connect again",
         "backhaul_disconnected(" + name + ") : sta_intf->disconnect_count " +
             std::to_string(losses),
         "backhaul_disconnected : try to reconnect"},
        station_reconnect(name),
        change(name, from, 3),
        led("BackhaulDisConnect"),
    });
}
