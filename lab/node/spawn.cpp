#include "lab/node/spawn.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <sys/personality.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "lab/clock/processor_place.h"
#include "lab/sandbox/exec_words.h"
#include "lab/sandbox/layout.h"

namespace lab {
namespace {

// Where a build that counts executed lines leaves them, as the test's own process reaches it.
constexpr char COUNTERS[] = "GCOV_PREFIX";

// Reports go to files of the node, where the harness looks for them after every test.
constexpr char SANITIZER_LOG[] = "log_path=/run/lab/out/sanitizer";

std::vector<std::string> full_environment(const SpawnPlan& plan) {
    const char* path = getenv("PATH");
    std::vector<std::string> all = {
        std::string("PATH=") + LAB_BIN + ":" + (path == nullptr ? "/usr/bin:/bin" : path),
        "LANG=C",
        "TZ=UTC0",
        std::string("ASAN_OPTIONS=detect_leaks=1:") + SANITIZER_LOG,
        std::string("UBSAN_OPTIONS=print_stacktrace=1:") + SANITIZER_LOG,
        // Without its own pause of a real second in a process that ends: it would pass for quiet.
        std::string("TSAN_OPTIONS=second_deadlock_stack=1:atexit_sleep_ms=0:") + SANITIZER_LOG,
    };
    if (plan.moved_clock) {
        all.push_back(std::string("LD_PRELOAD=") + LAB_CLOCK_MODULE);
        all.push_back(std::string("LAB_CLOCK=") + LAB_CLOCK);
    }
    for (const char* name : {COUNTERS, "GCOV_PREFIX_STRIP"}) {
        const char* value = getenv(name);
        if (value != nullptr) {
            all.push_back(std::string(name) + "=" + value);
        }
    }
    // Later ones win: the reader of an environment is free to take the first.
    for (const std::string& one : plan.environment) {
        const std::string name = one.substr(0, one.find('=') + 1);
        std::erase_if(all, [&name](const std::string& old) { return old.rfind(name, 0) == 0; });
        all.push_back(one);
    }
    return all;
}

// The one descriptor that a node's processes inherit, in a build that counts executed lines; else
// -1.
int counters_descriptor() {
    constexpr std::string_view OPEN_ONES = "/proc/self/fd/";
    const char* prefix = getenv(COUNTERS);
    return prefix == nullptr || std::string_view(prefix).substr(0, OPEN_ONES.size()) != OPEN_ONES
               ? -1
               : atoi(prefix + OPEN_ONES.size());
}

// Everything that the child needs, laid out before it exists: between fork and exec it may only
// make system calls.
struct Prepared {
    std::vector<std::string> words;
    std::vector<std::string> environment;
    std::vector<char*> argv;
    std::vector<char*> envp;
    const char* in;
    const char* out;
    const char* err;
    std::array<int, 5> inside;
    int report;
    int counters;
};

int stream(const char* path, int flags, int as) {
    const int fd = open(path, flags, 0644);
    if (fd < 0 || dup2(fd, as) < 0) {
        return -1;
    }
    if (fd != as) {
        close(fd);
    }
    return 0;
}

[[noreturn]] void become(const Prepared& plan) {
    const int append = O_WRONLY | O_CREAT | O_APPEND;
    sigset_t none;
    sigemptyset(&none);
    // A thread sanitizer of an older compiler cannot live with widely scattered addresses.
    personality(ADDR_NO_RANDOMIZE);
    if (setns(plan.inside[2], CLONE_NEWNET) == 0 && setns(plan.inside[3], CLONE_NEWIPC) == 0 &&
        setns(plan.inside[1], CLONE_NEWNS) == 0 && fchdir(plan.inside[4]) == 0 &&
        chroot(".") == 0 && chdir("/") == 0 && setsid() >= 0 &&
        stream(plan.in, O_RDONLY, STDIN_FILENO) == 0 &&
        stream(plan.out, append, STDOUT_FILENO) == 0 &&
        stream(plan.err, append, STDERR_FILENO) == 0) {
        // Nothing that the caller has open may be mistaken for a descriptor that the daemon leaks.
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        if (plan.counters >= 0) {
            fcntl(plan.counters, F_SETFD, 0);
        }
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvpe(plan.argv[0], plan.argv.data(), plan.envp.data());
    }
    const int reason = errno;
    [[maybe_unused]] const ssize_t put = write(plan.report, &reason, sizeof(reason));
    _exit(127);
}

pid_t fork_into(const Prepared& plan, int own_pid) {
    // The caller itself never enters the pid namespace; only what it forks meanwhile does.
    if (setns(plan.inside[0], CLONE_NEWPID) != 0) {
        return -1;
    }
    // A sanitizer's fork would start its own thread in the child, which then may not change its
    // mount namespace.
    const pid_t child = static_cast<pid_t>(syscall(SYS_clone, static_cast<unsigned long>(SIGCHLD),
                                                   nullptr, nullptr, nullptr, nullptr));
    if (child == 0) {
        become(plan);
    }
    const int reason = errno;
    setns(own_pid, CLONE_NEWPID);
    errno = reason;
    return child;
}

}  // namespace

pid_t spawn_inside(const SpawnPlan& plan, const std::array<int, 5>& inside, int own_pid,
                   std::string& error) {
    std::array<int, 2> report{-1, -1};
    if (plan.words.empty() || pipe2(report.data(), O_CLOEXEC) != 0) {
        error = "nothing to run, or no pipe";
        return -1;
    }
    Prepared prepared{plan.words,
                      full_environment(plan),
                      {},
                      {},
                      plan.in.c_str(),
                      plan.out.c_str(),
                      plan.err.empty() ? plan.out.c_str() : plan.err.c_str(),
                      inside,
                      report[1],
                      counters_descriptor()};
    prepared.argv = exec_words(prepared.words);
    prepared.envp = exec_words(prepared.environment);
    const NodePriority first;
    const pid_t child = fork_into(prepared, own_pid);
    int reason = child < 0 ? errno : 0;
    close(report[1]);
    if (child > 0 && read(report[0], &reason, sizeof(reason)) != sizeof(reason)) {
        reason = 0;
    }
    close(report[0]);
    if (reason != 0) {
        error = "cannot run " + plan.words[0] + " in the node: " + strerror(reason);
        return -1;
    }
    return child;
}

}  // namespace lab
