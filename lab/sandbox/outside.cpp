#include "lab/sandbox/outside.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace lab {

OutsidePlace::~OutsidePlace() {
    if (fd_ >= 0) {
        close(fd_);
    }
}

bool OutsidePlace::open(const std::string& path, std::string& error) {
    std::error_code failure;
    std::filesystem::path there = std::filesystem::absolute(path, failure).lexically_normal();
    if (!there.has_filename()) {
        there = there.parent_path();
    }
    name_ = there;
    std::filesystem::path missing;
    constexpr int HOW = O_PATH | O_DIRECTORY | O_CLOEXEC;
    while ((fd_ = ::open(there.c_str(), HOW)) < 0 && errno == ENOENT && there.has_filename()) {
        missing = missing.empty() ? there.filename() : there.filename() / missing;
        there = there.parent_path();
    }
    if (fd_ < 0) {
        error = "cannot open " + there.string() + ": " + strerror(errno);
        return false;
    }
    path_ = std::filesystem::path("/proc/self/fd") / std::to_string(fd_) / missing;
    return true;
}

void OutsidePlace::survive_exec() const {
    if (fd_ >= 0) {
        fcntl(fd_, F_SETFD, 0);
    }
}

namespace {

// Never closed: the counters are written after the last destructor.
OutsidePlace& counters_place() {
    static auto* const kept = new OutsidePlace;
    return *kept;
}

}  // namespace

bool counters_open([[maybe_unused]] std::string& error) {
#ifdef BACKHAUL_COUNTERS
    const std::string build = BACKHAUL_COUNTERS;
    if (getenv("GCOV_PREFIX") != nullptr) {
        return true;
    }
    if (!counters_place().open(build, error)) {
        return false;
    }
    setenv("GCOV_PREFIX", counters_place().path().c_str(), 1);
    setenv("GCOV_PREFIX_STRIP", std::to_string(std::ranges::count(build, '/')).c_str(), 1);
#endif
    return true;
}

void counters_survive_exec() {
    counters_place().survive_exec();
}

}  // namespace lab
