#include "lab/sandbox/outside.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
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

}  // namespace lab
