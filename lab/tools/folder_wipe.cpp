#include "lab/tools/folder_wipe.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace lab {
namespace {

constexpr int MOST_FOLDERS_DEEP = 64;  // each keeps a descriptor open

int open_folder(int from, const char* path, unsigned long long resolve) {
    open_how how{};
    how.flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    how.resolve = resolve;
    return static_cast<int>(syscall(SYS_openat2, from, path, &how, sizeof how));
}

// Asked before anything is removed: the kernel lets a file go on which another namespace has
// mounted something.
bool is_mount_point(int folder, const char* name) {
    struct statx about {};
    return statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &about) != 0 ||
           (about.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

bool wipe_open_folder(int fd, const std::vector<std::string>& but, int depth);

bool wipe_entry(int folder, const char* name, int depth) {
    if (is_mount_point(folder, name)) {
        return true;
    }
    if (unlinkat(folder, name, 0) == 0 || errno == ENOENT) {
        return true;
    }
    if (errno != EISDIR) {
        return false;
    }
    const int inner = open_folder(folder, name, RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS);
    if (inner < 0) {
        return false;
    }
    // Not removed when something below it is a mount point, which is as it should be.
    return wipe_open_folder(inner, {}, depth + 1) &&
           (unlinkat(folder, name, AT_REMOVEDIR) == 0 || errno == ENOTEMPTY || errno == EBUSY);
}

// Takes the descriptor over.
bool wipe_open_folder(int fd, const std::vector<std::string>& but, int depth) {
    DIR* const entries = depth > MOST_FOLDERS_DEEP ? nullptr : fdopendir(fd);
    if (entries == nullptr) {
        close(fd);
        return false;
    }
    bool all = true;
    while (const dirent* entry = readdir(entries)) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && std::find(but.begin(), but.end(), name) == but.end()) {
            all = wipe_entry(fd, name.c_str(), depth) && all;
        }
    }
    closedir(entries);
    return all;
}

}  // namespace

bool folder_wipe(const std::string& root, const std::string& path,
                 const std::vector<std::string>& but) {
    if (root.empty()) {
        const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        return folder >= 0 && wipe_open_folder(folder, but, 0);
    }
    const int above = open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    // A link on the way to the folder means what it means to the router.
    const int folder = open_folder(above, path.c_str(), RESOLVE_IN_ROOT);
    close(above);
    return folder >= 0 && wipe_open_folder(folder, but, 0);
}

}  // namespace lab
