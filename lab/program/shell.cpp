#include "lab/program/shell.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "lab/sandbox/exec_words.h"
#include "lab/sandbox/layout.h"

namespace lab {
namespace {

constexpr int SHELL_MISSING = 127;

struct Place {
    const char* path;  // below the process in /proc
    int kind;          // of namespace; 0: the root folder
};

// The mount namespace last: the others are entered by descriptors, it hides the old /proc.
constexpr std::array PLACES = {
    Place{"root", 0},
    Place{"ns/pid", CLONE_NEWPID},
    Place{"ns/net", CLONE_NEWNET},
    Place{"ns/ipc", CLONE_NEWIPC},
    Place{"ns/mnt", CLONE_NEWNS},
    Place{"ns/user", CLONE_NEWUSER},
};

std::string environment_value(const char* name, const char* otherwise) {
    const char* value = getenv(name);
    return value == nullptr ? otherwise : value;
}

std::vector<std::string> environment_of(const std::string& node, const std::string& prompt) {
    const std::string path = environment_value("PATH", "/usr/bin:/bin");
    return {std::string("PATH=") + LAB_BIN + ":" + path + ":/usr/sbin:/sbin",
            "TERM=" + environment_value("TERM", "dumb"),
            "LANG=" + environment_value("LANG", "C"),
            "TZ=UTC0",
            "HOME=/",
            "LAB_NODE=" + node,
            "PS1=" + node + prompt};
}

// Everything that the shell needs, laid out before its process exists.
struct Prepared {
    std::vector<std::string> words;        // with bash
    std::vector<std::string> plain_words;  // without
    std::vector<std::string> environment;
    std::vector<std::string> plain_environment;
    std::vector<int> descriptors;
    bool is_root = false;
};

Prepared prepare(const std::string& node, const std::vector<int>& descriptors,
                 const std::string& command) {
    Prepared plan;
    plan.words = {"/bin/bash", "--noprofile", "--norc"};
    plan.plain_words = {LAB_REAL_SHELL};
    if (!command.empty()) {
        plan.words.insert(plan.words.end(), {"-c", command});
        plan.plain_words.insert(plan.plain_words.end(), {"-c", command});
    }
    plan.environment = environment_of(node, ":\\w# ");
    // The plain shell knows no folder in its prompt.
    plan.plain_environment = environment_of(node, "# ");
    plan.descriptors = descriptors;
    plan.is_root = geteuid() == 0;
    return plan;
}

/// As fork(), but without what a sanitizer adds to it: a thread of its own, with which a process
/// may not change its mount or user namespace.
pid_t fork_plainly() {
    return static_cast<pid_t>(syscall(SYS_clone, static_cast<unsigned long>(SIGCHLD), nullptr,
                                      nullptr, nullptr, nullptr));
}

/// An ordinary user owns the node's user namespace and gets its rights there. Root has all rights
/// where it is, and is in that namespace already.
bool namespaces_enter(const Prepared& plan) {
    if (!plan.is_root && setns(plan.descriptors.back(), CLONE_NEWUSER) != 0) {
        return false;
    }
    for (std::size_t at = 1; at + 1 < PLACES.size(); ++at) {
        if (setns(plan.descriptors[at], PLACES[at].kind) != 0) {
            return false;
        }
    }
    return fchdir(plan.descriptors[0]) == 0 && chroot(".") == 0 && chdir("/") == 0;
}

[[noreturn]] void become_shell(const Prepared& plan, char* const* argv, char* const* envp,
                               char* const* plain_argv, char* const* plain_envp) {
    signal(SIGINT, SIG_DFL);
    signal(SIGQUIT, SIG_DFL);
    execve(plan.words[0].c_str(), argv, envp);
    execve(plan.plain_words[0].c_str(), plain_argv, plain_envp);
    _exit(SHELL_MISSING);
}

int exit_code_of(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int await(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return SHELL_MISSING;
        }
    }
    return exit_code_of(status);
}

/// Life of the process between: the pid namespace holds only for what it starts.
[[noreturn]] void lead_into_node(Prepared* plan, int report) {
    const std::vector<char*> argv = exec_words(plan->words);
    const std::vector<char*> envp = exec_words(plan->environment);
    const std::vector<char*> plain_argv = exec_words(plan->plain_words);
    const std::vector<char*> plain_envp = exec_words(plan->plain_environment);
    const bool entered = namespaces_enter(*plan);
    const pid_t child = entered ? fork_plainly() : -1;
    if (child == 0) {
        become_shell(*plan, argv.data(), envp.data(), plain_argv.data(), plain_envp.data());
    }
    if (child < 0) {
        const int reason = errno;
        [[maybe_unused]] const ssize_t put = write(report, &reason, sizeof(reason));
        _exit(SHELL_MISSING);
    }
    close(report);
    _exit(await(child));
}

/// False with a sentence, also when the server is not the one that named the process.
bool places_open(pid_t server, const NodeEntrance& entrance, std::vector<int>& descriptors,
                 std::string& error) {
    const std::string proc =
        "/proc/" + std::to_string(server) + "/root/proc/" + std::to_string(entrance.pid) + "/";
    struct stat space {};
    if (stat((proc + PLACES[1].path).c_str(), &space) != 0) {
        error = strerror(errno);
        return false;
    }
    if (space.st_ino != entrance.space) {
        error = "the mesh is only starting";
        return false;
    }
    for (const Place& place : PLACES) {
        descriptors.push_back(open((proc + place.path).c_str(), O_RDONLY | O_CLOEXEC));
        if (descriptors.back() < 0) {
            error = strerror(errno);
            return false;
        }
    }
    return true;
}

}  // namespace

int shell_run(const std::string& node, pid_t server, const NodeEntrance& entrance,
              const std::string& command, std::string& error) {
    std::vector<int> descriptors;
    std::array<int, 2> report{-1, -1};
    if (!places_open(server, entrance, descriptors, error)) {
        error = "cannot enter " + node + ": " + error;
        return -1;
    }
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        error = std::string("no pipe: ") + strerror(errno);
        return -1;
    }
    Prepared plan = prepare(node, descriptors, command);
    // The keys that end a program of the shell are not for us.
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    fflush(nullptr);
    const pid_t between = fork_plainly();
    if (between == 0) {
        lead_into_node(&plan, report[1]);
    }
    int reason = between < 0 ? errno : 0;
    close(report[1]);
    if (between > 0 && read(report[0], &reason, sizeof(reason)) != sizeof(reason)) {
        reason = 0;
    }
    close(report[0]);
    const int code = between < 0 ? -1 : await(between);
    if (reason != 0) {
        error = "cannot enter " + node + ": " + strerror(reason);
        return -1;
    }
    return code;
}

}  // namespace lab
