#include "device/system_probe.h"

#include "runtime/command.h"
#include "runtime/file_io.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

int pid_file_alive(const char* path) {
    if (file_exists(path) == 0) {
        return 0;
    }
    unsigned int pid = 0;
    {
        const File file(path, "r");
        if (!file) {
            return -1;
        }
        if (std::fscanf(file.get(), "%u", &pid) != 1) {
            pid = 0;  // no process has this number
        }
    }
    std::array<char, 64> comm_path{};
    std::snprintf(comm_path.data(), comm_path.size(), "/proc/%u/comm", pid);
    return file_exists(comm_path.data());
}

int intf_is_ath20(const char* name) {
    return std::string_view(name) == "ath20" ? 1 : 0;
}

double time_diff_sec(const timeval& start, const timeval& end) {
    const auto seconds = static_cast<int32_t>(end.tv_sec - start.tv_sec);
    const auto microseconds = static_cast<int32_t>(end.tv_usec - start.tv_usec);
    return static_cast<double>(seconds) + static_cast<double>(microseconds) * 1e-6;
}

int bridge_port_state_get(const char* name) {
    std::array<char, 128> path{};
    std::snprintf(path.data(), path.size(), "/sys/devices/virtual/net/br-lan/brif/%s/state", name);
    const File file(path.data(), "r");
    int state = 0;
    if (!file || std::fscanf(file.get(), "%d", &state) != 1) {
        return 0;
    }
    return state;
}

void wifi_channel_monitor_once(void* /*unused*/, void* /*unused*/) {
    command_run("wifi_channel_monitor once");
}
