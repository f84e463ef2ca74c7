#include "device/channel_monitor.h"

#include "runtime/command.h"

void wifi_channel_monitor_once() {
    command_run("wifi_channel_monitor once");
}
