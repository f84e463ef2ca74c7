#include "lab/tools/small_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <ctime>

#include "lab/tools/folder_wipe.h"

namespace lab {
namespace {

constexpr mode_t FILE_MODE = 0644;
constexpr mode_t FOLDER_MODE = 0755;

std::string parent_of(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos || slash == 0 ? std::string("/") : path.substr(0, slash);
}

// Opens for writing; a missing parent folder is made on the way.
int open_making_parents(const std::string& path, int flags) {
    int descriptor = open(path.c_str(), flags | O_CLOEXEC, FILE_MODE);
    if (descriptor < 0 && errno == ENOENT && (flags & O_CREAT) != 0 &&
        folder_make(parent_of(path))) {
        descriptor = open(path.c_str(), flags | O_CLOEXEC, FILE_MODE);
    }
    return descriptor;
}

bool write_and_close(int descriptor, std::string_view text) {
    if (descriptor < 0) {
        return false;
    }
    const bool written = write_all(descriptor, text);
    return close(descriptor) == 0 && written;
}

}  // namespace

bool write_all(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool file_read(const std::string& path, std::string* text) {
    return file_read_from(path, 0, text);
}

bool file_read_from(const std::string& path, std::uint64_t offset, std::string* text) {
    text->clear();
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    if (offset > 0) {
        lseek(descriptor, static_cast<off_t>(offset), SEEK_SET);
    }
    std::array<char, 4096> buffer;
    bool good = true;
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            good = count == 0;
            break;
        }
        text->append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(descriptor);
    return good;
}

std::uint64_t file_size(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool file_write(const std::string& path, std::string_view text) {
    const std::string beside = parent_of(path) + "/" + private_name();
    if (!write_and_close(open_making_parents(beside, O_WRONLY | O_CREAT | O_EXCL), text) ||
        rename(beside.c_str(), path.c_str()) != 0) {
        unlink(beside.c_str());
        return false;
    }
    return true;
}

bool file_append(const std::string& path, std::string_view text) {
    return write_and_close(open_making_parents(path, O_WRONLY | O_CREAT | O_APPEND), text);
}

bool file_overwrite(const std::string& path, std::string_view text) {
    return write_and_close(open_making_parents(path, O_WRONLY | O_CREAT | O_TRUNC), text);
}

bool path_exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

bool file_remove(const std::string& path) {
    return unlink(path.c_str()) == 0 || errno == ENOENT;
}

bool file_rename(const std::string& from, const std::string& to) {
    return rename(from.c_str(), to.c_str()) == 0;
}

bool folder_make(const std::string& path) {
    if (mkdir(path.c_str(), FOLDER_MODE) == 0 || errno == EEXIST) {
        return true;
    }
    if (errno != ENOENT || path == "/" || !folder_make(parent_of(path))) {
        return false;
    }
    return mkdir(path.c_str(), FOLDER_MODE) == 0 || errno == EEXIST;
}

std::vector<std::string> folder_list(const std::string& path) {
    std::vector<std::string> names;
    DIR* folder = opendir(path.c_str());
    if (folder == nullptr) {
        return names;
    }
    while (const dirent* entry = readdir(folder)) {
        if (entry->d_name[0] != '.') {
            names.emplace_back(entry->d_name);
        }
    }
    closedir(folder);
    std::sort(names.begin(), names.end());
    return names;
}

void folder_remove(const std::string& path) {
    folder_wipe("", path);
    rmdir(path.c_str());
}

bool path_wait(const std::string& path) {
    if (path_exists(path)) {
        return true;
    }
    const int watch = inotify_init1(IN_CLOEXEC);
    if (watch < 0) {
        return false;
    }
    const std::string folder = parent_of(path);
    folder_make(folder);
    bool watched = inotify_add_watch(watch, folder.c_str(), IN_CREATE | IN_MOVED_TO) >= 0;
    // The file may have come between the first look and the watch.
    while (watched && !path_exists(path)) {
        std::array<char, 4096> events;
        const ssize_t count = read(watch, events.data(), events.size());
        watched = count > 0 || (count < 0 && errno == EINTR);
    }
    close(watch);
    return watched;
}

std::string private_name() {
    static std::atomic<unsigned> counter{0};
    return ".part." + std::to_string(getpid()) + "." + std::to_string(monotonic_ns()) + "." +
           std::to_string(counter.fetch_add(1));
}

std::uint64_t monotonic_ns() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000U +
           static_cast<std::uint64_t>(now.tv_nsec);
}

std::string without_line_end(std::string text) {
    if (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

}  // namespace lab
