#include "device/station_info.h"

#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <array>
#include <cstdio>
#include <cstring>

Relaxed<int32_t> visitor_network_feature{VISITOR_FEATURE_UNKNOWN};

namespace {

constexpr char FIRST_MAC_PATH[] = "/tmp/FirstMAC";
constexpr char IWCONFIG_PATH[] = "/tmp/iwconfig.tmp";
constexpr size_t IWCONFIG_LINE_SIZE = 128;
constexpr size_t MAC_WORD_SIZE = 32;
constexpr char WIFI_INTF_PATH[] = "/tmp/wifi_intf.tmp";

struct recovery_row {
    uint8_t band;
    const char* label;
    const char* line;
};

// In the order in which radios are brought up. The plain 5 GHz band has no row: a missing
// interface there is logged and starts nothing.
constexpr std::array<recovery_row, 3> RECOVERY_TABLE = {{
    {BAND_24G, "2.4G", "wifi up wifi0"},
    {BAND_5G_LOW, "5G low", "wifi up wifi1"},
    {BAND_5G_HIGH, "5G high", "wifi up wifi2"},
}};

/// Asks for the visitor network feature; a run that fails leaves it unknown.
void visitor_feature_read() {
    const CommandPipe pipe("wifisys_tool -g 1 -f 2");
    if (pipe.file() == nullptr) {
        return;
    }
    int feature = VISITOR_FEATURE_UNKNOWN;
    if (std::fscanf(pipe.file(), "%d", &feature) == 1) {
        visitor_network_feature = feature;
    }
    flow_log("%s : visitor_network_feature %d\n", "device_wifi_intf_existence_chk", feature);
}

}  // namespace

void device_first_mac_get(char* out) {
    const File file(FIRST_MAC_PATH, "r");
    if (!file) {
        return;
    }
    std::array<char, MAC_WORD_SIZE> word{};
    file_first_word(file.get(), word);
    mac_address mac{};
    mac_scan(word.data(), mac);
    const mac_text text = mac_format(mac);
    std::memcpy(out, text.data(), text.size());
}

void access_point_line_scan(const char* line, mac_address& bssid) {
    std::array<char, MAC_WORD_SIZE> word{};
    if (std::sscanf(line, "%*s %*s %*s %*s %*s %31s", word.data()) == 1) {
        mac_scan(word.data(), bssid);
    }
}

void device_sta_ap_bssid_get(const char* name, mac_address& bssid) {
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s > /tmp/iwconfig.tmp", name);
    {
        const File file(IWCONFIG_PATH, "r");
        if (!file) {
            return;
        }
        std::array<char, IWCONFIG_LINE_SIZE> line{};
        while (std::fgets(line.data(), static_cast<int>(line.size()), file.get()) != nullptr) {
            if (std::strstr(line.data(), "Point") != nullptr) {
                access_point_line_scan(line.data(), bssid);
                break;
            }
        }
    }
    std::remove(IWCONFIG_PATH);
}

int wifi_intf_present(const intf_record* record) {
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s > /tmp/wifi_intf.tmp",
                       record->name.data());
    const File file(WIFI_INTF_PATH, "r");
    if (!file) {
        return 1;
    }
    // For a missing interface iwconfig writes to standard error only.
    std::array<char, INTF_NAME_SIZE + 1> word{};
    return file_first_word(file.get(), word);
}

bool intf_existence_probed(int32_t type, int32_t visitor_feature) {
    switch (type) {
        case MAIN_SERVICE_AP:
        case GUEST_SERVICE_AP:
        case BACKHAUL_STA:
        case BACKHAUL_AP:
            return true;
        case VISITOR_SERVICE_AP:
            return visitor_feature == VISITOR_FEATURE_IN_USE;
        default:
            return false;
    }
}

void device_wifi_intf_existence_chk() {
    if (visitor_network_feature == VISITOR_FEATURE_UNKNOWN) {
        visitor_feature_read();
    }
    unsigned missing = 0;
    for (const intf_record& record : intf_table_walk()) {
        if (intf_existence_probed(record.type, visitor_network_feature) &&
            wifi_intf_present(&record) != 1) {
            flow_log("%s : recover WiFi %s\n", __func__, record.name.data());
            missing |= record.band;
        }
    }
    for (const recovery_row& row : RECOVERY_TABLE) {
        if ((missing & row.band) != 0) {
            flow_log("%s : recover WiFi %s\n", __func__, row.label);
            command_run(row.line);
        }
    }
}
