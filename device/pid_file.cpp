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
        // Without a number it stays 0, which no process has.
        std::array<char, 64> word{};
        if (file_first_word(file.get(), word)) {
            std::sscanf(word.data(), "%u", &pid);
        }
    }
    std::array<char, 64> comm_path{};
    std::snprintf(comm_path.data(), comm_path.size(), "/proc/%u/comm", pid);
    return file_exists(comm_path.data());
}
