#include "device/intf_existence.h"

#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdio>

namespace {

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
    if (file_first_number(pipe.file(), feature)) {
        runtime.visitor_network_feature = feature;
    }
    flow_log("%s : visitor_network_feature %d\n", "device_wifi_intf_existence_chk", feature);
}

}  // namespace

bool wifi_intf_present(const intf_record* record) {
    std::remove(WIFI_INTF_PATH);
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s > /tmp/wifi_intf.tmp",
                       record->name.data());
    const File file(WIFI_INTF_PATH, "r");
    if (!file) {
        return true;
    }
    // For a missing interface iwconfig writes to standard error only.
    std::array<char, INTF_NAME_SIZE + 1> word{};
    return file_first_word(file.get(), word);
}

bool intf_existence_probed(intf_type type, int32_t visitor_feature) {
    switch (type) {
        case MAIN_SERVICE_AP:
        case GUEST_SERVICE_AP:
        case BACKHAUL_STA:
        case BACKHAUL_AP:
            return true;
        case VISITOR_SERVICE_AP:
            return visitor_feature == VISITOR_FEATURE_IN_USE;
        case PRE_DEF_AP:
        case ETHERNET:
        case AP_TIMER_INTF:
        case INTF_TYPE_OTHER:
            break;
    }
    return false;
}

void device_wifi_intf_existence_chk() {
    if (runtime.visitor_network_feature == VISITOR_FEATURE_UNKNOWN) {
        visitor_feature_read();
    }
    unsigned missing = 0;
    for (const intf_record& record : intf_table_walk()) {
        if (intf_existence_probed(record.type, runtime.visitor_network_feature) &&
            !wifi_intf_present(&record)) {
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
