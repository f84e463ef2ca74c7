#include "lab/clock/quiet.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace lab {
namespace {

std::vector<pid_t> numbered_entries(const std::string& path) {
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

std::string first_line(const std::string& path) {
    std::array<char, 256> text{};
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return "?";
    }
    const ssize_t got = read(fd, text.data(), text.size() - 1);
    close(fd);
    const std::string all(text.data(), got > 0 ? static_cast<size_t>(got) : 0);
    return all.substr(0, all.find('\n'));
}

std::uint64_t number_after(const char* text, const char* key) {
    const char* at = strstr(text, key);
    return at == nullptr ? 0 : strtoull(at + strlen(key), nullptr, 10);
}

// False when the thread is gone.
bool read_status(WatchedThread& thread) {
    std::array<char, 4096> text{};
    const ssize_t got = pread(thread.fd, text.data(), text.size() - 1, 0);
    const char* state = got > 0 ? strstr(text.data(), "State:\t") : nullptr;
    if (state == nullptr) {
        return false;
    }
    thread.state = state[7];
    thread.switches = number_after(text.data(), "\nvoluntary_ctxt_switches:") +
                      number_after(text.data(), "\nnonvoluntary_ctxt_switches:");
    return true;
}

// Running, or in a wait so short that the thread counts as running (disk, vfork).
bool may_run(char state) {
    return strchr("SITtZX", state) == nullptr;
}

}  // namespace

QuietWatch::QuietWatch(std::string proc, std::vector<pid_t> except)
    : proc_(std::move(proc)),
      except_(std::move(except)),
      loadavg_(open("/proc/loadavg", O_RDONLY | O_CLOEXEC)) {}

QuietWatch::~QuietWatch() {
    for (const WatchedThread& thread : threads_) {
        close(thread.fd);
    }
    close(loadavg_);
}

// The last pid given out in the caller's pid namespace, of which the node's is a part: while it
// stays the same, no process or thread was added.
std::uint64_t QuietWatch::newest_pid() const {
    std::array<char, 128> text{};
    const ssize_t got = pread(loadavg_, text.data(), text.size() - 1, 0);
    const char* last = got > 0 ? strrchr(text.data(), ' ') : nullptr;
    return last == nullptr ? 0 : strtoull(last, nullptr, 10);
}

void QuietWatch::watch_process(pid_t pid, std::vector<WatchedThread>& found) {
    const std::string tasks = proc_ + "/" + std::to_string(pid) + "/task";
    for (const pid_t tid : numbered_entries(tasks)) {
        if (std::find(except_.begin(), except_.end(), tid) != except_.end()) {
            continue;
        }
        const auto known = std::find_if(threads_.begin(), threads_.end(),
                                        [tid](const WatchedThread& one) { return one.tid == tid; });
        WatchedThread thread;
        thread.pid = pid;
        thread.tid = tid;
        if (known != threads_.end()) {
            thread = *known;
            known->fd = -1;
        } else {
            const std::string status = tasks + "/" + std::to_string(tid) + "/status";
            thread.fd = open(status.c_str(), O_RDONLY | O_CLOEXEC);
        }
        if (thread.fd >= 0) {
            found.push_back(thread);
        }
    }
}

bool QuietWatch::list_threads() {
    const size_t before = threads_.size();
    std::vector<WatchedThread> found;
    for (const pid_t pid : numbered_entries(proc_)) {
        watch_process(pid, found);
    }
    size_t kept = before;
    for (const WatchedThread& gone : threads_) {
        if (gone.fd >= 0) {
            close(gone.fd);
            --kept;
        }
    }
    threads_ = std::move(found);
    return kept == before && threads_.size() == before;
}

void QuietWatch::refresh() {
    const std::uint64_t newest = newest_pid();
    if (!stale_ && newest == refreshed_at_) {
        return;
    }
    stale_ = false;
    refreshed_at_ = newest;
    list_threads();
}

bool QuietWatch::look(bool compare) {
    for (WatchedThread& thread : threads_) {
        const std::uint64_t before = thread.switches;
        if (!read_status(thread)) {
            // Its number may be in use again, by a thread that is not watched yet.
            stale_ = true;
            return false;
        }
        if (may_run(thread.state) || (compare && thread.switches != before)) {
            return false;
        }
    }
    return true;
}

// The state of a thread that is about to wait reads as blocked while it still runs (one that
// collects an ended child for as long as that takes). This file waits until the thread has left
// its processor and says "running" when it has not come to rest.
bool QuietWatch::is_at_rest(const WatchedThread& thread) const {
    const std::string task =
        proc_ + "/" + std::to_string(thread.pid) + "/task/" + std::to_string(thread.tid);
    return strchr("ZX", thread.state) != nullptr || first_line(task + "/syscall") != "running";
}

bool QuietWatch::is_quiet() {
    refresh();
    if (!look(false)) {
        return false;
    }
    // A new process has its number before it can be listed, so the list may lack one whose parent
    // has come to rest since. That parent does not run again between the two looks: what is listed
    // now is everything.
    if (!list_threads()) {
        stale_ = true;
        return false;
    }
    return std::all_of(threads_.begin(), threads_.end(),
                       [this](const WatchedThread& thread) { return is_at_rest(thread); }) &&
           look(true) && newest_pid() == refreshed_at_;
}

bool QuietWatch::thread_exists(pid_t pid, pid_t tid) const {
    const std::string path =
        proc_ + "/" + std::to_string(pid) + "/task/" + std::to_string(tid) + "/stat";
    // A thread that was killed but not yet buried still has an entry.
    const std::string stat = first_line(path);
    const size_t at = stat.rfind(") ");
    return at != std::string::npos && strchr("ZX", stat[at + 2]) == nullptr;
}

std::string QuietWatch::describe() const {
    std::string text;
    for (const pid_t pid : numbered_entries(proc_)) {
        const std::string tasks = proc_ + "/" + std::to_string(pid) + "/task";
        for (const pid_t tid : numbered_entries(tasks)) {
            const std::string task = tasks + "/" + std::to_string(tid);
            const std::string stat = first_line(task + "/stat");
            const size_t at = stat.rfind(") ");
            text += "  pid " + std::to_string(pid) + " tid " + std::to_string(tid) + " " +
                    first_line(task + "/comm") + " " +
                    (at == std::string::npos ? "?" : stat.substr(at + 2, 1)) + " in " +
                    first_line(task + "/wchan") + " call " + first_line(task + "/syscall") + "\n";
        }
    }
    return text;
}

}  // namespace lab
