#include "tests/router/memory_reading.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace budget {
namespace {

std::string proc(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

// Sum of the numbers behind `key` at the start of a line.
long sum_of(const std::string& path, const std::string& key) {
    std::ifstream file(path);
    long sum = 0;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            sum += std::stol(line.substr(key.size()));
        }
    }
    return sum;
}

}  // namespace

long anonymous_kb(pid_t pid) {
    return sum_of(proc(pid) + "/smaps_rollup", "Anonymous:");
}

std::vector<Stack> thread_stacks(pid_t pid) {
    std::vector<Stack> stacks;
    std::ifstream file(proc(pid) + "/smaps");
    unsigned long guard_end = 0;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        unsigned long from = 0;
        unsigned long to = 0;
        char mode[5] = "";
        char name[8] = "";
        const int fields =
            std::sscanf(line.c_str(), "%lx-%lx %4s %*s %*s %*s %7s", &from, &to, mode, name);
        if (fields >= 3) {
            const std::string access = mode;
            inside = access == "rw-p" && fields == 3 && from == guard_end;
            guard_end = access == "---p" && fields == 3 ? to : 0;
            if (inside) {
                stacks.push_back({static_cast<long>(to - from) / 1024, 0});
            }
        } else if (inside && line.starts_with("Anonymous:")) {
            stacks.back().touched = std::stol(line.substr(10));
        }
    }
    return stacks;
}

long times_awake(pid_t pid) {
    long sum = 0;
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator(proc(pid) + "/task", gone)) {
        sum += sum_of(task.path() / "status", "voluntary_ctxt_switches:");
    }
    return sum;
}

long bytes_written(pid_t pid) {
    return sum_of(proc(pid) + "/io", "wchar:");
}

}  // namespace budget
