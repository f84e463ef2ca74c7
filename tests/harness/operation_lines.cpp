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

}  // namespace harness
