#include "lab/clock/quiet.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

#include "lab/clock/proc_entries.h"

namespace lab {
namespace {

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

bool is_off_its_processor(const WatchedThread& thread) {
    std::array<char, 256> text{};
    const ssize_t got = pread(thread.call_fd, text.data(), text.size() - 1, 0);
    return has_left_its_processor({text.data(), got > 0 ? static_cast<size_t>(got) : 0});
}

void forget(const WatchedThread& thread) {
    if (thread.fd >= 0) {
        close(thread.fd);
        close(thread.call_fd);
    }
}

// Running, or in a wait so short that the thread counts as running (disk, vfork).
bool may_run(char state) {
    return strchr("SITtZX", state) == nullptr;
}

// A line a processor, of hexadecimal numbers; this one counts what waits there to be delivered.
constexpr int BACKLOG_COLUMN = 11;

}  // namespace

bool has_left_its_processor(std::string_view syscall) {
    return !syscall.starts_with("running");
}

bool packets_under_way(std::string_view softnet_stat) {
    std::istringstream lines{std::string(softnet_stat)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        for (int column = 0; column <= BACKLOG_COLUMN; ++column) {
            words >> word;
        }
        // An older kernel has fewer columns.
        if (words && word.find_first_not_of('0') != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool packets_under_way() {
    std::array<char, 32768> text{};
    const int fd = open("/proc/net/softnet_stat", O_RDONLY | O_CLOEXEC);
    const ssize_t got = fd < 0 ? 0 : read(fd, text.data(), text.size());
    close(fd);
    return got > 0 && packets_under_way({text.data(), static_cast<size_t>(got)});
}

QuietWatch::QuietWatch(std::string proc, std::vector<pid_t> except)
    : proc_(std::move(proc)),
      except_(std::move(except)),
      loadavg_(open("/proc/loadavg", O_RDONLY | O_CLOEXEC)) {}

QuietWatch::~QuietWatch() {
    for (const WatchedThread& thread : threads_) {
        forget(thread);
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

// Adds the threads of a process; true when one of them was not known before.
bool QuietWatch::watch_process(pid_t pid, std::vector<WatchedThread>& found) {
    const std::string tasks = proc_ + "/" + std::to_string(pid) + "/task";
    bool news = false;
    for (const pid_t tid : proc_entries(tasks)) {
        if (std::find(except_.begin(), except_.end(), tid) != except_.end()) {
            continue;
        }
        const auto known = std::find_if(threads_.begin(), threads_.end(), [tid](const auto& one) {
            return one.tid == tid && one.fd >= 0;
        });
        WatchedThread thread;
        if (known != threads_.end()) {
            thread = *known;
            known->fd = -1;
        } else {
            const std::string task = tasks + "/" + std::to_string(tid);
            thread.pid = pid;
            thread.tid = tid;
            thread.fd = open((task + "/status").c_str(), O_RDONLY | O_CLOEXEC);
            thread.call_fd = open((task + "/syscall").c_str(), O_RDONLY | O_CLOEXEC);
            news = true;
        }
        if (thread.fd >= 0) {
            found.push_back(thread);
        }
    }
    return news;
}

// Lists all threads anew; true when one of them was not known before.
bool QuietWatch::list_threads() {
    std::vector<WatchedThread> found;
    bool news = false;
    for (const pid_t pid : proc_entries(proc_)) {
        news = watch_process(pid, found) || news;
    }
    for (const WatchedThread& gone : threads_) {
        forget(gone);
    }
    threads_ = std::move(found);
    return news;
}

bool QuietWatch::look(bool compare) {
    for (WatchedThread& thread : threads_) {
        const std::uint64_t before = thread.switches;
        if (!read_status(thread)) {
            // It is gone. Its number may be in use again, by a thread that is not known.
            forget(thread);
            thread.fd = -1;
            std::erase_if(threads_, [](const WatchedThread& one) { return one.fd < 0; });
            complete_at_ = 0;
            return false;
        }
        if (may_run(thread.state) || (compare && thread.switches != before)) {
            return false;
        }
    }
    return true;
}

bool QuietWatch::is_quiet() {
    const std::uint64_t newest = newest_pid();
    if (newest != complete_at_) {
        complete_at_ = 0;
        list_threads();
    }
    if (!look(false)) {
        return false;
    }
    if (complete_at_ == 0 && list_threads()) {
        return false;
    }
    // Nobody that has come to rest runs again between the two looks, so the list is complete now.
    if (!std::all_of(threads_.begin(), threads_.end(), is_off_its_processor) || !look(true) ||
        newest_pid() != newest) {
        return false;
    }
    complete_at_ = newest;
    return true;
}

bool QuietWatch::rests() {
    const std::uint64_t newest = newest_pid();
    if (newest != complete_at_) {
        list_threads();
    }
    // Who waits for the machine may be about to start somebody who has a number already and is not
    // in the list yet.
    complete_at_ = 0;
    bool gone = false;
    for (WatchedThread& thread : threads_) {
        if (!read_status(thread)) {
            gone = true;
        } else if (may_run(thread.state)) {
            return false;
        }
    }
    // Who is gone leaves nobody behind: a new thread would have a newer number.
    complete_at_ = gone ? 0 : newest;
    return true;
}

bool QuietWatch::is_quiet_still() {
    return look(true) && newest_pid() == complete_at_;
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
    for (const pid_t pid : proc_entries(proc_)) {
        const std::string tasks = proc_ + "/" + std::to_string(pid) + "/task";
        for (const pid_t tid : proc_entries(tasks)) {
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
