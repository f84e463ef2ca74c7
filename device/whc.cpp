#include "device/whc.h"

#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/mac_text.h"

#include <unistd.h>
#include <algorithm>
#include <array>
#include <cstdio>

namespace {

constexpr char UL_RATE_PATH[] = "/tmp/ul_rate";
constexpr char BEST_BSSID_PATH[] = "/tmp/best_bssid";
constexpr unsigned PROBE_WAIT_SECONDS = 2;

}  // namespace

int ul_rate_parse(const char* text) {
    int rate = 0;
    return std::sscanf(text, "%*[^':']:%d", &rate) == 1 ? rate : 0;
}

mac_address best_bssid_parse(const char* line) {
    mac_address mac{};
    static_cast<void>(std::sscanf(line, "%*[^:]:%2hhx%2hhx%2hhx%2hhx%2hhx%2hhx", &mac[0], &mac[1],
                                  &mac[2], &mac[3], &mac[4], &mac[5]));
    return mac;
}

void device_backhaul_ap_ul_rate_update(const intf_record* record) {
    if (record->type != BACKHAUL_STA) {
        return;
    }
    std::remove(UL_RATE_PATH);
    command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s get_whc_ul_rate > /tmp/ul_rate",
                       record->name.data());
    std::array<char, 256> text{};
    {
        const File file(UL_RATE_PATH, "r");
        if (!file) {
            return;
        }
        const size_t length = std::fread(text.data(), 1, text.size() - 1, file.get());
        text[length] = '\0';
    }
    const int rate = ul_rate_parse(text.data());
    flow_log("%s : ul_rate %d\n", __func__, rate);
    for (const intf_record& ap : intf_table_walk()) {
        if (ap.type == BACKHAUL_AP) {
            command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s set_whc_ul_rate %d", ap.name.data(),
                               rate);
        }
    }
}

void device_whc_dist_set(int distance) {
    if (distance < 0) {
        return;
    }
    for (const intf_record& ap : intf_table_walk()) {
        if (ap.type == BACKHAUL_AP) {
            command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s set_whc_dist %d", ap.name.data(),
                               distance);
        }
    }
}

void device_best_bssid_get(const char* name, uint8_t* out, size_t length) {
    std::fill_n(out, length, uint8_t{0});
    command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s sendprobereq 1", name);
    sleep(PROBE_WAIT_SECONDS);
    std::remove(BEST_BSSID_PATH);
    command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s get_whc_bssid > /tmp/best_bssid", name);
    const File file(BEST_BSSID_PATH, "r");
    std::array<char, 64> line{};
    if (!file || !file_next_piece(file.get(), line)) {
        return;
    }
    const mac_address mac = best_bssid_parse(line.data());
    std::copy_n(mac.begin(), std::min(length, mac.size()), out);
}

mac_address best_ap_target(const mac_address& configured, const mac_address& current) {
    return !bssid_is_zero(configured) ? configured : current;
}

void device_config_best_ap(const intf_record* record) {
    const mac_address current = record->bssid.get();
    if (bssid_is_zero(current)) {
        return;
    }
    const mac_text target = mac_format(best_ap_target(record->configured_bssid.get(), current));
    const char* const name = record->name.data();
    // The supplicant's file has one network block, so it is always network 0.
    command_format_run(COMMAND_SIZE_MEDIUM,
                       "wpa_cli -p /var/run/wpa_supplicant-%s disable_network 0", name);
    flow_log("%s : config best bssid %s\n", __func__, target.data());
    command_format_run(COMMAND_SIZE_MEDIUM,
                       "wpa_cli -p /var/run/wpa_supplicant-%s set_network 0 bssid %s", name,
                       target.data());
    command_format_run(COMMAND_SIZE_MEDIUM,
                       "wpa_cli -p /var/run/wpa_supplicant-%s enable_network 0", name);
}
