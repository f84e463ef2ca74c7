#include "device/hyd.h"

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <cstdio>

namespace {

constexpr char HYD_ALIVE_PATH[] = "/tmp/hyd_alive";

}  // namespace

void hyd_alive_check() {
    std::remove(HYD_ALIVE_PATH);
    command_run("ps | grep hyd | grep -v grep > /tmp/hyd_alive");
    const File file(HYD_ALIVE_PATH, "r");
    if (!file) {
        return;
    }
    int pid = 0;
    if (file_first_number(file.get(), pid) && pid != 0) {
        return;
    }
    flow_log("restart hyd\n");
    // No commit here, unlike the settings reload.
    command_run("uci set hyd.config.Enable=1");
    command_run("/etc/init.d/hyd restart");
}

void hyd_bcast_reset(const intf_record* record, intf_switch on) {
    // Also called for the wired record, whose bridge port hyd does not manage.
    if (record->type != BACKHAUL_STA) {
        return;
    }
    if (on == INTF_ENABLE) {
        flow_log("%s : enable bcast in %s\n", __func__, record->name.data());
        command_format_run(COMMAND_SIZE_SHORT, "hyctl setifbcast br-lan %s enable",
                           record->name.data());
    } else {
        flow_log("%s : disable bcast in %s\n", __func__, record->name.data());
        command_format_run(COMMAND_SIZE_SHORT, "hyctl setifbcast br-lan %s disable",
                           record->name.data());
    }
}
