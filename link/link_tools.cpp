#include "link/link_tools.h"

#include "device/intf_enable.h"
#include "intf/intf_table.h"
#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"
#include "runtime/runtime_block.h"

#include <array>
#include <cstdio>

int hop_distance_parse(const char* line) {
    int distance = 0;
    if (sscanf(line, "%*[^:]:%d\n", &distance) != 1) {
        return 0;
    }
    return distance;
}

int qca_dist_get(const intf_record* record) {
    command_format_run(COMMAND_SIZE_SHORT, "iwpriv %s get_whc_dist > /tmp/ath_dist",
                       record->name.data());
    std::array<char, 64> line{};
    {
        const File answer(ATH_DIST_PATH, "r");
        if (!answer) {
            return -1;
        }
        if (fgets(line.data(), static_cast<int>(line.size()), answer.get()) == nullptr) {
            line[0] = '\0';
        }
    }
    const int distance = hop_distance_parse(line.data());
    flow_log("%s : dist %d\n", __func__, distance);
    std::array<char, 16> text{};
    const int length = snprintf(text.data(), text.size(), "%d\n", distance);
    file_rewrite(ROOT_DISTANCE_PATH, {text.data(), static_cast<size_t>(length)});
    return distance;
}

void hyd_bcast_reset(const intf_record* record, uint8_t enable) {
    // Also called for the wired record, whose bridge port hyd does not manage.
    if (record->type != BACKHAUL_STA) {
        return;
    }
    if (enable != 0) {
        flow_log("%s : enable bcast in %s\n", __func__, record->name.data());
        command_format_run(COMMAND_SIZE_SHORT, "hyctl setifbcast br-lan %s enable",
                           record->name.data());
    } else {
        flow_log("%s : disable bcast in %s\n", __func__, record->name.data());
        command_format_run(COMMAND_SIZE_SHORT, "hyctl setifbcast br-lan %s disable",
                           record->name.data());
    }
}

void service_ap_enable_all(uint8_t on) {
    for (intf_record& record : intf_table_walk()) {
        const bool follows_backhaul = record.type == BACKHAUL_AP && runtime.backhaul_ap_enable != 0;
        if (intf_type_is_service_ap(record.type) || follows_backhaul) {
            dev_intf_enable_set(&record, on);
        }
    }
}
