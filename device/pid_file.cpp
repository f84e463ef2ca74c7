#include "device/pid_file.h"

#include "runtime/file_io.h"

#include <array>
#include <cstdio>

bool pid_file_alive(const char* path) {
    if (!file_exists(path)) {
        return false;
    }
    unsigned int pid = 0;
    {
        const File file(path, "r");
        if (!file) {
            return true;
        }
        if (std::fscanf(file.get(), "%u", &pid) != 1) {
            pid = 0;  // no process has this number
        }
    }
    std::array<char, 64> comm_path{};
    std::snprintf(comm_path.data(), comm_path.size(), "/proc/%u/comm", pid);
    return file_exists(comm_path.data());
}
