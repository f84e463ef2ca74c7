#include "device/station_link.h"

#include "device/intf_enable.h"
#include "device/pid_file.h"
#include "device/supplicant.h"
#include "runtime/command.h"

void device_sta_disconnect(const intf_record* record) {
    const char* const name = record->name.data();
    command_format_run(COMMAND_SIZE_LONG, "wpa_cli -i %s -p /var/run/wpa_supplicant-%s disconnect",
                       name, name);
}

void device_sta_reconnect(intf_record* record) {
    // An unreadable pid file counts as a running supplicant.
    if (!pid_file_alive(SUPPLICANT_PID_PATH)) {
        dev_intf_enable_set(record, INTF_ENABLE);
        return;
    }
    const char* const name = record->name.data();
    command_format_run(COMMAND_SIZE_SHORT, "ifconfig %s down", name);
    command_format_run(COMMAND_SIZE_SHORT, "ifconfig %s up", name);
    command_format_run(COMMAND_SIZE_LONG, "wpa_cli -i %s -p /var/run/wpa_supplicant-%s reconnect",
                       name, name);
}
