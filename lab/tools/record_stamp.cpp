#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "lab/tools/lab_time.h"
#include "lab/tools/record.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

// True when 0 to 2 are all that is open, and the kernel says how many are (since Linux 6.2): most
// lines are such, and to list what they have open would be a third of what they cost.
bool none_inherited() {
    int usual = 0;
    for (int number = 0; number <= 2; ++number) {
        usual += fcntl(number, F_GETFD) < 0 ? 0 : 1;
    }
    struct stat folder {};
    return usual > 0 && stat("/proc/self/fd", &folder) == 0 && folder.st_size == usual;
}

std::vector<std::string> open_descriptors() {
    if (none_inherited()) {
        return {};
    }
    DIR* folder = opendir("/proc/self/fd");
    if (folder == nullptr) {
        return {};
    }
    std::vector<std::pair<int, std::string>> found;
    while (const dirent* entry = readdir(folder)) {
        const int number = std::atoi(entry->d_name);
        if (number <= 2 || number == dirfd(folder)) {
            continue;
        }
        std::array<char, 256> target{};
        const ssize_t length =
            readlinkat(dirfd(folder), entry->d_name, target.data(), target.size() - 1);
        found.emplace_back(number, length > 0 ? target.data() : "?");
    }
    closedir(folder);
    std::sort(found.begin(), found.end());
    std::vector<std::string> texts;
    for (const auto& [number, target] : found) {
        texts.push_back(std::to_string(number) + "=" + target);
    }
    return texts;
}

}  // namespace

RecordStamp record_stamp_now(const std::string& root) {
    RecordStamp stamp;
    stamp.descriptors = open_descriptors();
    stamp.time = node_time();
    stamp.pid = getpid();
    stamp.parent = getppid();
    struct stat log {};
    if (stat((root + "/var/log/backhaul_flow_log").c_str(), &log) == 0) {
        stamp.flow_log_inode = log.st_ino;
        stamp.flow_log_size = static_cast<std::uint64_t>(log.st_size);
    }
    return stamp;
}

bool line_record_append(const std::string& root, const std::string& line) {
    return file_append(lines_path(root), line_record_encode({record_stamp_now(root), line}));
}

bool call_record_append(const std::string& root, const std::string& note, const std::string& tool,
                        const std::vector<std::string>& words) {
    return file_append(calls_path(root),
                       call_record_encode({record_stamp_now(root), note, tool, words}));
}

}  // namespace lab
