#include "tests/process/extender_lines.h"

Lines aps_disabled_in_store() {
    return harness::aps_disabled_in_store({"ath10", "ath11", "ath20"});
}

Lines agent_start() {
    return {"$ /usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 17 0x20 1>/dev/null 2>&1",
            "$ /usr/sbin/vl1905App 23 00:00:00:00:00:00"};
}

Lines settings_reload() {
    return harness::settings_reload({"ath10", "ath11"});
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
        no_link_left(),
        ap_off_already("ath10"),
        ap_off_already("ath11"),
    });
}

Lines tries_again(const std::string& name, int from, int losses) {
    return joined({
        loss_counted(name, losses),
        {"backhaul_disconnected : try to reconnect"},
        station_reconnect(name),
        change(name, from, 3),
        led("BackhaulDisConnect"),
    });
}
