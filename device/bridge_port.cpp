#include "device/bridge_port.h"

#include "runtime/file_io.h"

#include <array>
#include <cstdio>

int bridge_port_state_get(const char* name) {
    std::array<char, 128> path{};
    std::snprintf(path.data(), path.size(), "/sys/devices/virtual/net/br-lan/brif/%s/state", name);
    const File file(path.data(), "r");
    int state = 0;
    if (file) {
        file_first_number(file.get(), state);
    }
    return state;
}
