#include "device/autoconfig_agent.h"

#include <unistd.h>

#include <array>
#include <cstdio>

#include "device/autoconfig_table.h"
#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"

namespace {

constexpr char RELOAD_FLAG_EXTRACT[] =
    "cat /tmp/vl1905.json | grep AP-autoconfig_WiFiReload > /tmp/wifi_reload_flag";
constexpr size_t FLAG_LINE_SIZE = 80;
/// Seconds before the agent is asked once more.
constexpr unsigned RELOAD_REPEAT_PAUSE = 2;

/// Asks once more unless the agent reported a reload value of 0.
void reload_repeat() {
    const File flag(WIFI_RELOAD_FLAG_PATH, "r");
    if (!flag) {
        return;
    }
    std::array<char, FLAG_LINE_SIZE> line{};
    if (file_next_piece(flag.get(), line) && autoconfig_reload_is_zero(line.data())) {
        return;
    }
    sleep(RELOAD_REPEAT_PAUSE);
    command_run(AUTOCONFIG_RELOAD);
}

/// Whether the agent is to be asked while the backhaul is in `state`.
bool agent_start_wanted(link_state state) {
    return state == CONNECT_WITH_BACKHAUL_AP || state == LINK_STATE_8 ||
           state == ETH_BACKHAUL_CONNECTED;
}

}  // namespace

int autoconfig_reload_trigger() {
    command_run(AUTOCONFIG_RELOAD);
    std::remove(WIFI_RELOAD_FLAG_PATH);
    command_run(RELOAD_FLAG_EXTRACT);
    reload_repeat();
    for (const char* const path : AUTOCONFIG_FILES) {
        std::remove(path);
    }
    for (auto& record : intf_table_walk()) {
        record.autoconfig_state = false;
    }
    return intf_table_count();
}

void autoconfig_agent_start(const intf_record* record) {
    if (!agent_start_wanted(record->state)) {
        return;
    }
    for (const auto& service_ap : intf_table_walk()) {
        const autoconfig_row* const row = autoconfig_row_find(service_ap.type, service_ap.band);
        if (row != nullptr && !service_ap.autoconfig_state) {
            command_run(row->start_line);
        }
    }
    command_run(AUTOCONFIG_CLOSE);
}

bool autoconfig_result_get() {
    bool done = true;
    // Kept from record to record on purpose: an AP without files to test (upper 5 GHz, unknown
    // band) is judged by the results of the one before it.
    bool results_present = false;
    for (auto& record : intf_table_walk()) {
        if (record.follow_primary != 0 || !intf_type_is_service_ap(record.type)) {
            continue;
        }
        const autoconfig_row* const row = autoconfig_row_find(record.type, record.band);
        if (row != nullptr && row->output_path != nullptr) {
            const bool output_present = file_exists(row->output_path);
            results_present = file_exists(row->state_path) && output_present;
            record.autoconfig_state = output_present;
        }
        if (!results_present) {
            done = false;
        }
    }
    return done;
}
