#include "ctl/daemon_process.h"

#include "ctl/logs.h"
#include "runtime/file_io.h"

#include <dirent.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

daemon_processes daemons_find(const char* root) {
    std::array<int, 64> pids{};
    std::array<int, 64> parents{};
    size_t count = 0;
    daemon_processes found;
    DIR* const folder = opendir(path_below(root, "/proc").data());
    for (const dirent* entry = nullptr;
         folder != nullptr && count < pids.size() && (entry = readdir(folder)) != nullptr;) {
        std::array<char, LOG_PATH_SIZE> path{};
        std::snprintf(path.data(), path.size(), "/proc/%.40s/stat", entry->d_name);
        if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0) {
            continue;
        }
        const File file(path_below(root, path.data()).data(), "r");
        std::array<char, 24> name{};
        char state = 'Z';
        if (file && std::fscanf(file.get(), "%d (%23[^)]) %c %d", &pids[count], name.data(), &state,
                                &parents[count]) == 4) {
            found.known = true;
            count += state != 'Z' && std::strcmp(name.data(), "backhaul_monito") == 0 ? 1 : 0;
        }
    }
    if (folder != nullptr) {
        closedir(folder);
    }
    for (size_t i = 0; i < count; ++i) {
        int* const end = pids.data() + count;
        found.supervisors += std::find(pids.data(), end, parents[i]) == end ? 1 : 0;
    }
    return found;
}
