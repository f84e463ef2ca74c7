#include "lab/sandbox/mounts.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/layout.h"

namespace lab {
namespace {

bool fail(std::string& error, const std::string& what) {
    error = what + ": " + strerror(errno);
    return false;
}

bool is_directory(const std::string& path) {
    struct stat about {};
    return stat(path.c_str(), &about) == 0 && S_ISDIR(about.st_mode);
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

// The place itself, all links followed; the path as it is when there is none.
std::string real_place(const std::string& path) {
    std::array<char, PATH_MAX> resolved{};
    return realpath(path.c_str(), resolved.data()) == nullptr ? path : resolved.data();
}

bool lies_under(const std::string& path, const std::string& folder) {
    return path == folder || path.rfind(folder + "/", 0) == 0;
}

void make_folders_above(const std::string& path) {
    for (size_t at = path.find('/', 1); at != std::string::npos; at = path.find('/', at + 1)) {
        mkdir(path.substr(0, at).c_str(), 0755);
    }
}

void make_folders(const std::string& path) {
    make_folders_above(path);
    mkdir(path.c_str(), 0755);
}

void make_file(const std::string& path) {
    const int fd = open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
    if (fd >= 0) {
        close(fd);
    }
}

// A file or folder held open across the mounts that will hide its name.
class Held {
public:
    explicit Held(const std::string& path) : fd_(open(path.c_str(), O_PATH | O_CLOEXEC)) {}
    ~Held() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Held(Held&& other) noexcept : fd_(other.fd_) {
        other.fd_ = -1;
    }
    bool open_failed() const {
        return fd_ < 0;
    }
    bool show_at(const std::string& place) const {
        const std::string source = "/proc/self/fd/" + std::to_string(fd_);
        return mount(source.c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
    }

private:
    int fd_;
};

// What a covered place was before any sandbox covered it: a node inside a test's own sandbox must
// not take the outer stand-ins for the real things.
std::string original_of(const std::string& place) {
    const std::string kept = std::string(LAB_REAL) + place;
    struct stat about {};
    struct stat above {};
    // A folder that only leads to something kept is still on the outer sandbox's own file system.
    const bool is_kept = stat(kept.c_str(), &about) == 0 && stat(LAB_REAL, &above) == 0 &&
                         about.st_dev != above.st_dev;
    return is_kept ? kept : place;
}

struct Cover {
    std::string folder;              // real place of a folder
    std::vector<std::string> added;  // names in it that become the stand-in tool
};

// Splits a path into the folder that is there, all links followed, and the rest.
void split_at_existing(const std::string& path, std::string& folder, std::string& rest) {
    size_t slash = path.rfind('/');
    while (slash > 0 && !is_directory(path.substr(0, slash))) {
        slash = path.rfind('/', slash - 1);
    }
    folder = real_place(path.substr(0, slash));
    rest = path.substr(slash + 1);
}

std::vector<Cover> covers_for_tool_places() {
    std::vector<Cover> covers;
    for (const std::string_view place : TOOL_PLACES) {
        std::string folder;
        std::string name;
        split_at_existing(std::string(place), folder, name);
        size_t at = 0;
        while (at < covers.size() && covers[at].folder != folder) {
            ++at;
        }
        if (at == covers.size()) {
            covers.push_back({folder, {}});
        }
        covers[at].added.push_back(name);
    }
    return covers;
}

// Fills `over` with a link for every entry of `real`, links copied as they are so that relative
// ones still mean the same, and puts the tool under the added names.
void fill_cover(const std::string& real, const std::string& over,
                const std::vector<std::string>& added) {
    for (const std::string& name : added) {
        make_folders_above(over + "/" + name);
        [[maybe_unused]] const int linked = symlink(LAB_TOOL, (over + "/" + name).c_str());
    }
    DIR* folder = opendir(real.c_str());
    if (folder == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(folder)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        std::array<char, PATH_MAX> target{};
        const ssize_t length =
            readlink((real + "/" + name).c_str(), target.data(), target.size() - 1);
        const std::string aim = length > 0 ? std::string(target.data()) : real + "/" + name;
        [[maybe_unused]] const int linked = symlink(aim.c_str(), (over + "/" + name).c_str());
    }
    closedir(folder);
}

bool lay_over(const Cover& cover, const Held& original, std::string& error) {
    const std::string real = std::string(LAB_REAL) + cover.folder;
    const std::string over = std::string(LAB_OVER) + cover.folder;
    make_folders(real);
    make_folders(over);
    if (!original.show_at(real)) {
        return fail(error, "cannot keep " + cover.folder + " at " + real);
    }
    fill_cover(real, over, cover.added);
    if (mount(over.c_str(), cover.folder.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        return fail(error, "cannot lay over " + cover.folder);
    }
    return true;
}

bool empty_place(const char* place, const char* mode, std::string& error) {
    if (mount("lab", place, "tmpfs", MS_NOSUID | MS_NODEV, mode) != 0) {
        return fail(error, std::string("cannot mount an empty ") + place);
    }
    return true;
}

bool mount_empty_places(std::string& error) {
    if (!empty_place("/tmp", "mode=1777", error) || !empty_place("/var/log", "mode=755", error) ||
        !empty_place("/run", "mode=755", error)) {
        return false;
    }
    if (real_place("/var/run") != "/run" &&
        mount("/run", "/var/run", nullptr, MS_BIND, nullptr) != 0) {
        return fail(error, "cannot show /run at /var/run");
    }
    for (const char* folder : {LAB_ROOT, LAB_BIN, LAB_LIB, LAB_STATE, LAB_RECORD, LAB_TIMERS,
                               LAB_REAL, LAB_OVER, LAB_OUT}) {
        make_folders(folder);
    }
    chmod(LAB_RECORD, 0777);
    return true;
}

bool show_file(const Held& file, const std::string& name, const std::string& place,
               std::string& error) {
    if (file.open_failed()) {
        error = name + " is missing: build the target lab_programs";
        return false;
    }
    make_file(place);
    return file.show_at(place) || fail(error, "cannot show " + name + " at " + place);
}

bool furnish_tools(const Held& tool, const Held& shell, const Held& recorder,
                   const std::string& programs, std::string& error) {
    if (!show_file(tool, programs + "/lab_tool", LAB_TOOL, error)) {
        return false;
    }
    for (const std::string_view name : TOOL_NAMES) {
        const std::string place = std::string(LAB_BIN) + "/" + std::string(name);
        [[maybe_unused]] const int linked = symlink(LAB_TOOL, place.c_str());
    }
    if (!show_file(shell, "/bin/sh", LAB_REAL_SHELL, error)) {
        return false;
    }
    return show_file(recorder, programs + "/lab_sh", real_place("/bin/sh"), error);
}

// What process 1 hands on to all others.
void set_environment(bool tools) {
    // An outer sandbox's clock page does not exist in here.
    unsetenv("LAB_CLOCK");
    unsetenv("LD_PRELOAD");
    const char* old = getenv("PATH");
    std::string path = old == nullptr ? "/usr/bin:/bin" : old;
    path += ":/usr/sbin:/sbin";
    if (tools && path.rfind(std::string(LAB_BIN) + ":", 0) != 0) {
        path = std::string(LAB_BIN) + ":" + path;
    }
    setenv("PATH", path.c_str(), 1);
}

// Everything that is the machine's, or an outer sandbox's, can only be read from here on: what runs
// inside cannot change it, whatever it does. What is mounted afterwards is the sandbox's own.
bool make_read_only(std::string& error) {
    mount_attr wanted{};
    wanted.attr_set = MOUNT_ATTR_RDONLY;
    return mount_setattr(AT_FDCWD, "/", AT_RECURSIVE, &wanted, sizeof wanted) == 0 ||
           fail(error, "cannot make the machine's files read-only (a kernel before 5.12?)");
}

struct Kept {
    std::string place;
    Held held;
};

// Folders that one of the empty places would hide, held open while they can still be found.
std::vector<Kept> hold_hidden(const SandboxOptions& options) {
    std::vector<Kept> kept;
    std::vector<std::string> places = options.keep;
    // Outer folders first: an inner one is then already visible.
    std::sort(places.begin(), places.end());
    for (const std::string& folder : places) {
        const std::string place = real_place(folder);
        if (lies_under(place, "/tmp") || lies_under(place, "/run") ||
            lies_under(place, "/var/log")) {
            kept.push_back({place, Held(place)});
        }
    }
    return kept;
}

bool show_kept(const std::vector<Kept>& kept, std::string& error) {
    for (const Kept& one : kept) {
        if (one.held.open_failed() || is_directory(one.place)) {
            continue;
        }
        make_folders(one.place);
        if (!one.held.show_at(one.place)) {
            return fail(error, "cannot keep " + one.place + " visible");
        }
    }
    return true;
}

bool mount_kernel_views(std::string& error) {
    if (mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) != 0) {
        return fail(error,
                    "cannot mount a fresh /proc (a container that hides parts of /proc "
                    "allows this to root only)");
    }
    if (mount("sysfs", "/sys", "sysfs", MS_NOSUID | MS_NODEV | MS_NOEXEC | MS_RDONLY, nullptr) !=
        0) {
        return fail(error, "cannot mount a fresh /sys");
    }
    return true;
}

}  // namespace

bool mounts_make_private(std::string& error) {
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0) {
        return true;
    }
    if (errno != EINVAL) {
        return fail(error, "cannot make mounts private");
    }
    // In a change-rooted folder "/" is no mount point, and what its file system shares with the
    // outside cannot be cut off from in here. So the whole tree is shown once more below a mount
    // that can be cut off, and becomes the root from there.
    constexpr char STAGE[] = "/proc/fs";
    if (mount(nullptr, "/proc", nullptr, MS_PRIVATE, nullptr) != 0 ||
        mount("/", STAGE, nullptr, MS_BIND | MS_REC, nullptr) != 0 ||
        mount(nullptr, STAGE, nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 || chroot(STAGE) != 0 ||
        chdir("/") != 0) {
        return fail(error, "cannot make the mounts of a changed root private (is /proc mounted?)");
    }
    return true;
}

bool mounts_furnish(const SandboxOptions& options, std::string& error) {
    if (!make_read_only(error) || !mount_kernel_views(error)) {
        return false;
    }
    const Held tool(options.programs + "/lab_tool");
    const Held recorder(options.programs + "/lab_sh");
    const Held clock(options.programs + "/liblab_clock.so");
    const Held daemon(options.daemon);
    const Held shell(exists(LAB_REAL_SHELL) ? std::string(LAB_REAL_SHELL) : real_place("/bin/sh"));
    const std::vector<Kept> kept = hold_hidden(options);
    const std::vector<Cover> covers =
        options.tools ? covers_for_tool_places() : std::vector<Cover>{};
    std::vector<Held> originals;
    for (const Cover& cover : covers) {
        originals.emplace_back(original_of(cover.folder));
    }
    if (!mount_empty_places(error) || !show_kept(kept, error)) {
        return false;
    }
    if (!show_file(clock, options.programs + "/liblab_clock.so", LAB_CLOCK_MODULE, error)) {
        return false;
    }
    if (!options.daemon.empty() && !show_file(daemon, options.daemon, LAB_DAEMON, error)) {
        return false;
    }
    for (size_t at = 0; at < covers.size(); ++at) {
        if (!lay_over(covers[at], originals[at], error)) {
            return false;
        }
    }
    if (options.tools && !furnish_tools(tool, shell, recorder, options.programs, error)) {
        return false;
    }
    set_environment(options.tools);
    return true;
}

}  // namespace lab
