#include "lab/sandbox/sandbox.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "lab/sandbox/mounts.h"
#include "lab/sandbox/network.h"

namespace lab {
namespace {

// Written by process 1 when all went well; anything else it writes is the reason why not.
constexpr char READY[] = "ready";

bool write_file(const char* path, const std::string& text) {
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    const ssize_t put = write(fd, text.data(), text.size());
    close(fd);
    return put == static_cast<ssize_t>(text.size());
}

// A fork into new namespaces. unshare() cannot do it: a thread sanitizer's own thread makes the
// process multi-threaded, which a new user namespace does not allow.
pid_t fork_into_namespaces(bool user) {
    unsigned long flags = CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWIPC | CLONE_NEWPID | SIGCHLD;
    if (user) {
        flags |= CLONE_NEWUSER;
    }
    return static_cast<pid_t>(syscall(SYS_clone, flags, nullptr, nullptr, nullptr, nullptr));
}

std::string why_no_namespaces(int reason, bool user) {
    std::string text = "the tests and the lab need private namespaces, which this machine refuses";
    text += user ? " to an ordinary user (user namespaces are off): run as root"
                 : " (a container without CAP_SYS_ADMIN?)";
    return text + ": " + strerror(reason);
}

struct NewSandbox {
    pid_t pid = -1;   // process 1 as seen by the caller; 0 in process 1 itself
    int report = -1;  // process 1 writes how it went; the caller reads it
};

bool clone_sandbox(NewSandbox& made, std::string& error) {
    std::array<int, 2> report{-1, -1};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        error = std::string("no pipe: ") + strerror(errno);
        return false;
    }
    const bool user = geteuid() != 0;
    const uid_t uid = geteuid();
    const gid_t gid = getegid();
    fflush(nullptr);
    made.pid = fork_into_namespaces(user);
    const int reason = errno;
    if (made.pid < 0) {
        close(report[0]);
        close(report[1]);
        error = why_no_namespaces(reason, user);
        return false;
    }
    made.report = report[made.pid == 0 ? 1 : 0];
    close(report[made.pid == 0 ? 0 : 1]);
    if (made.pid == 0) {
        std::string ignored;
        if (user) {
            user_namespace_root(uid, gid, ignored);
        }
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        prctl(PR_SET_NAME, "lab_init");
    }
    return true;
}

bool furnish(const SandboxOptions& options, std::string& error) {
    umask(022);
    std::array<char, PATH_MAX> here{};
    if (getcwd(here.data(), here.size()) == nullptr) {
        here[0] = '\0';
    }
    if (!mounts_make_private(error) || !mounts_furnish(options, error) ||
        !network_furnish(options.network, error)) {
        return false;
    }
    // By name: what it was may be hidden now, and what is kept visible has a new mount.
    return chdir(here.data()) == 0 || chdir("/") == 0;
}

void report_ready(int fd, bool worked, const std::string& error) {
    const std::string text = worked ? std::string(READY) : error;
    [[maybe_unused]] const ssize_t put = write(fd, text.data(), text.size());
    close(fd);
}

bool await_ready(const NewSandbox& made, std::string& error) {
    std::string text;
    std::array<char, 512> block{};
    ssize_t got = 0;
    while ((got = read(made.report, block.data(), block.size())) > 0 ||
           (got < 0 && errno == EINTR)) {
        if (got > 0) {
            text.append(block.data(), static_cast<size_t>(got));
        }
    }
    close(made.report);
    if (text == READY) {
        return true;
    }
    error = "no sandbox: " + (text.empty() ? "its first process died" : text);
    waitpid(made.pid, nullptr, 0);
    return false;
}

// Reaps until `child` has ended and returns its status; with -1 reaps for ever.
int reap_until(pid_t child) {
    int status = 0;
    for (;;) {
        const pid_t ended = waitpid(-1, &status, 0);
        if (ended == child && child > 0) {
            return status;
        }
        if (ended < 0 && errno == ECHILD) {
            // Nobody to reap yet: orphans announce themselves with the signal.
            sigset_t children;
            sigemptyset(&children);
            sigaddset(&children, SIGCHLD);
            sigwaitinfo(&children, nullptr);
        }
    }
}

void block_child_signal() {
    sigset_t children;
    sigemptyset(&children);
    sigaddset(&children, SIGCHLD);
    sigprocmask(SIG_BLOCK, &children, nullptr);
}

int exit_code_of(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

bool user_namespace_root(uid_t uid, gid_t gid, std::string& error) {
    write_file("/proc/self/setgroups", "deny");
    if (!write_file("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") ||
        !write_file("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1")) {
        error = std::string("cannot become root of a user namespace: ") + strerror(errno);
        return false;
    }
    return true;
}

pid_t sandbox_start(const SandboxOptions& options, std::string& error) {
    NewSandbox made;
    if (!clone_sandbox(made, error)) {
        return -1;
    }
    if (made.pid == 0) {
        const bool furnished = furnish(options, error);
        report_ready(made.report, furnished, error);
        if (!furnished) {
            _exit(1);
        }
        block_child_signal();
        close_range(3, ~0U, 0);
        reap_until(-1);
    }
    return await_ready(made, error) ? made.pid : -1;
}

bool sandbox_enter(const SandboxOptions& options, std::string& error) {
    std::array<char, 16> name{};
    prctl(PR_GET_NAME, name.data());
    NewSandbox made;
    if (!clone_sandbox(made, error)) {
        return false;
    }
    if (made.pid != 0) {
        if (!await_ready(made, error)) {
            return false;
        }
        int status = 0;
        while (waitpid(made.pid, &status, 0) < 0 && errno == EINTR) {
        }
        _exit(exit_code_of(status));
    }
    if (!furnish(options, error)) {
        report_ready(made.report, false, error);
        _exit(1);
    }
    const pid_t inside = fork();
    if (inside == 0) {
        close(made.report);
        prctl(PR_SET_NAME, name.data());
        // What the caller was started with, a lock or a pipe of its own starter, is no router's.
        close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
        return true;
    }
    report_ready(made.report, inside >= 0, "no second process");
    block_child_signal();
    _exit(inside < 0 ? 1 : exit_code_of(reap_until(inside)));
}

}  // namespace lab
