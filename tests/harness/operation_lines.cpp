#include "tests/harness/operation_lines.h"

namespace harness {

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

Lines agent_reload() {
    return {"$ /usr/sbin/vl1905App 18 1 0",
            "$ cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > /tmp/wifi_reload_flag"};
}

Lines txpower_decrease() {
    return {"device_24g_txpower_decrease : decrease WiFi 2.4G Tx power",
            "$ iwconfig ath0 txpower 23", "$ iwpriv wifi0 cca_threshold -65",
            "$ iwpriv wifi1 cca_threshold -65"};
}

Lines message_sent(const std::string& word, const std::string& pass_phrase) {
    return {"$ uci get wireless.ath20.ssid", "$ echo -n '" + word +
                                                 "' | openssl aes-128-cbc -e -k '" + pass_phrase +
                                                 "' > /tmp/ssl_output"};
}

Lines message_opened(const std::string& pass_phrase) {
    return {"$ uci get wireless.ath20.ssid", "$ openssl aes-128-cbc -d -k \"" + pass_phrase +
                                                 "\" -in /tmp/ssl_input > /tmp/ssl_decrypt"};
}

Lines tables_flushed() {
    return {"device_forward_table_flush : Enter",
            "$ echo 1 > /sys/devices/virtual/net/br-lan/bridge/flush", "$ hyctl flushatbl br-lan",
            "$ hyctl flushdtbl br-lan"};
}

Lines loss_counted(const std::string& name, int losses) {
    return {"backhaul_disconnected(" + name + ") : try to connect again",
            "backhaul_disconnected(" + name + ") : sta_intf->disconnect_count " +
                std::to_string(losses)};
}

Lines no_link_left() {
    return {"backhaul_disconnected : No backhaul link, disassociate all sta in backhaul ap",
            "backhaul_disconnected : No backhaul link, disable all service AP"};
}

Lines parked(const std::string& name) {
    return joined({station_off(name), change(name, 7, 6), change(name, 6, 6)});
}

Lines search_finding() {
    return {"find_backup_backhaul_link : finding backup backhaul link"};
}

Lines backup_enabled(const std::string& name) {
    return joined({search_finding(),
                   change(name, 0, 3),
                   station_on(name),
                   {"find_backup_backhaul_link : found backup backhaul sta " + name}});
}

Lines target_joined(const std::string& name, const std::string& bssid) {
    const std::string wpa_cli = "$ wpa_cli -p /var/run/wpa_supplicant-" + name;
    return joined(
        {change(name, 7, 5),
         {wpa_cli + " disable_network 0", "device_config_best_ap : config best bssid " + bssid,
          wpa_cli + " set_network 0 bssid " + bssid, wpa_cli + " enable_network 0"}});
}

Lines aps_disabled_in_store(const Lines& names) {
    Lines all;
    for (const std::string& name : names) {
        all.push_back("$ uci set wireless." + name + ".disabled=1");
        all.push_back("$ uci commit wireless");
    }
    return all;
}

Lines distance(const std::string& name, int value) {
    return {"$ iwpriv " + name + " get_whc_dist > /tmp/ath_dist",
            "qca_dist_get : dist " + std::to_string(value)};
}

Lines settings_reload(const Lines& names) {
    Lines reloaded;
    for (const std::string& name : names) {
        reloaded.push_back("device_reload_ap_settings : reload " + name);
        reloaded.push_back("$ /etc/init.d/wireless restart");
    }
    return joined({
        led("BackhaulConfig"),
        {"device_reload_ap_settings : Enter", "$ uci set hyd.config.Enable=0",
         "$ /etc/init.d/hyd stop"},
        reloaded,
        backhaul_ap_off(),
        {"$ uci set hyd.config.Enable=1", "$ uci commit hyd", "$ /etc/init.d/hyd restart",
         "device_reload_ap_settings : Leave 0.000000", "$ wifi_channel_monitor once"},
        led("BackhaulFinish"),
        {"$ /usr/sbin/vl1905App 18 1 1"},
    });
}

Lines admission_asked_in_vain() {
    return joined(
        {message_sent("CHECK_VALID"), {"backhaul_send_unicast_msg : sendto error 13 ''"}});
}

}  // namespace harness
