#include "lab/node/daemon.h"

#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/layout.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

constexpr std::chrono::seconds END_PATIENCE{10};

bool is_gone(pid_t pid) {
    std::string stat;
    if (!file_read("/proc/" + std::to_string(pid) + "/stat", &stat)) {
        return true;
    }
    const size_t at = stat.rfind(") ");
    return at == std::string::npos || strchr("ZX", stat[at + 2]) != nullptr;
}

// Sends the signal and waits for the end that it should bring.
void end_by(pid_t pid, int signal, std::chrono::seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    kill(pid, signal);
    kill(pid, SIGCONT);
    while (!is_gone(pid) && std::chrono::steady_clock::now() < end) {
        usleep(200);
    }
}

}  // namespace

Daemon::~Daemon() {
    stop();
}

bool Daemon::start(const DaemonOptions& options, std::string& error) {
    if (!reaped_) {
        error = "the daemon runs already";
        return false;
    }
    SpawnPlan plan;
    plan.words = options.through;
    plan.words.push_back(LAB_DAEMON);
    plan.words.insert(plan.words.end(), options.arguments.begin(), options.arguments.end());
    plan.environment = options.environment;
    plan.out = DAEMON_OUT;
    plan.err = DAEMON_ERR;
    plan.moved_clock = !node_.options().real_time;
    supervisor_ = node_.spawn(plan, error);
    reaped_ = supervisor_ < 0;
    return !reaped_;
}

// In a build that counts executed lines: see cmake/coverage_end.cpp. The supervisor stands still
// meanwhile, or it would start the next worker.
void Daemon::counters_write() {
    if (getenv("GCOV_PREFIX") == nullptr) {
        return;
    }
    constexpr std::chrono::seconds PATIENCE{5};
    kill(supervisor_, SIGSTOP);
    const pid_t last = worker();
    if (last != 0) {
        end_by(last, SIGRTMAX, PATIENCE);
    }
    end_by(supervisor_, SIGRTMAX, PATIENCE);
}

void Daemon::stop() {
    if (reaped_) {
        return;
    }
    counters_write();
    kill(supervisor_, SIGKILL);
    while (waitpid(supervisor_, &status_, 0) < 0 && errno == EINTR) {
    }
    reaped_ = true;
    for (const ProcessInfo& process : node_processes(node_)) {
        if (process.pid != node_.init()) {
            kill(process.pid, SIGKILL);
        }
    }
    const auto end = std::chrono::steady_clock::now() + END_PATIENCE;
    while (node_processes(node_).size() > 1 && std::chrono::steady_clock::now() < end) {
        usleep(500);
    }
}

pid_t Daemon::worker() const {
    if (reaped_) {
        return 0;
    }
    for (const pid_t child : child_pids_of(node_, supervisor_)) {
        if (!is_gone(child)) {
            return child;
        }
    }
    return 0;
}

bool Daemon::has_ended(int& status) {
    if (!reaped_ && waitpid(supervisor_, &status_, WNOHANG) == supervisor_) {
        reaped_ = true;
    }
    status = status_;
    return reaped_;
}

bool Daemon::kill_worker(int signal, std::string& error) {
    const pid_t victim = worker();
    if (victim == 0) {
        error = "there is no worker to kill";
        return false;
    }
    kill(victim, signal);
    const auto end = std::chrono::steady_clock::now() + END_PATIENCE;
    while (!is_gone(victim)) {
        if (std::chrono::steady_clock::now() > end) {
            error = "the worker survives signal " + std::to_string(signal);
            return false;
        }
        usleep(200);
    }
    return true;
}

std::vector<std::string> Daemon::worker_descriptors() const {
    return descriptors_of(worker());
}

std::vector<std::string> Daemon::worker_threads() const {
    return threads_of(worker());
}

long Daemon::worker_resident_kb() const {
    const pid_t pid = worker();
    for (const ProcessInfo& process : node_processes(node_)) {
        if (process.pid == pid) {
            return process.resident_kb;
        }
    }
    return 0;
}

std::vector<std::string> environment_for_crashes() {
    const std::string options =
        "handle_segv=0:handle_sigbus=0:handle_abort=0:handle_sigfpe=0:"
        "handle_sigill=0:log_path=/run/lab/out/sanitizer";
    return {"ASAN_OPTIONS=" + options, "TSAN_OPTIONS=" + options, "UBSAN_OPTIONS=" + options};
}

std::vector<std::string> sanitizer_reports(const Node& node) {
    std::vector<std::string> reports;
    const std::string folder = node.at(LAB_OUT);
    DIR* open_folder = opendir(folder.c_str());
    if (open_folder == nullptr) {
        return reports;
    }
    while (const dirent* entry = readdir(open_folder)) {
        std::string text;
        if (strncmp(entry->d_name, "sanitizer", 9) == 0 &&
            file_read(folder + "/" + entry->d_name, &text) && !text.empty()) {
            reports.push_back(text);
        }
    }
    closedir(open_folder);
    std::sort(reports.begin(), reports.end());
    return reports;
}

std::vector<std::string> zombies(const Node& node) {
    std::vector<std::string> found;
    for (const ProcessInfo& process : node_processes(node)) {
        if (process.state == 'Z') {
            found.push_back(std::to_string(process.inner) + " " + process.name);
        }
    }
    return found;
}

}  // namespace lab
