#include "lab/clock/proc_entries.h"

#include <dirent.h>

#include <cstdlib>

namespace lab {

std::vector<pid_t> proc_entries(const std::string& path) {
    std::vector<pid_t> numbers;
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) {
        return numbers;
    }
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] >= '0' && entry->d_name[0] <= '9') {
            numbers.push_back(static_cast<pid_t>(strtol(entry->d_name, nullptr, 10)));
        }
    }
    closedir(folder);
    return numbers;
}

}  // namespace lab
