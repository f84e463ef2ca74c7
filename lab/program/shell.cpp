#include "lab/program/shell.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/layout.h"

namespace lab {
namespace {

struct Place {
    const char* path;  // below /proc/PID
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

/// An ordinary user owns the node's user namespace and gets its rights there. Root has all rights
/// where it is: entering the user namespace it is in is an error that does no harm.
void user_namespace_enter(int fd) {
    if (geteuid() != 0) {
        [[maybe_unused]] const int ignored = setns(fd, CLONE_NEWUSER);
    }
}

int namespaces_enter(const std::vector<int>& descriptors) {
    user_namespace_enter(descriptors.back());
    for (std::size_t at = 1; at + 1 < PLACES.size(); ++at) {
        if (setns(descriptors[at], PLACES[at].kind) != 0) {
            return -1;
        }
    }
    return fchdir(descriptors[0]) == 0 && chroot(".") == 0 && chdir("/") == 0 ? 0 : -1;
}

std::string environment_value(const char* name, const char* otherwise) {
    const char* value = getenv(name);
    return value == nullptr ? otherwise : value;
}

std::vector<std::string> environment_of(const std::string& node) {
    const std::string path = environment_value("PATH", "/usr/bin:/bin");
    return {std::string("PATH=") + kLabBin + ":" + path + ":/usr/sbin:/sbin",
            "TERM=" + environment_value("TERM", "dumb"),
            "LANG=" + environment_value("LANG", "C"),
            "TZ=UTC0",
            "HOME=/",
            "LAB_NODE=" + node,
            "PS1=" + node + ":\\w# "};
}

[[noreturn]] void become_shell(const std::string& node, const std::string& command) {
    std::vector<std::string> environment = environment_of(node);
    std::vector<std::string> words;
    const bool has_bash = access("/bin/bash", X_OK) == 0;
    if (has_bash) {
        words = {"/bin/bash", "--noprofile", "--norc"};
    } else {
        // The plain shell knows no directory in its prompt.
        words = {kLabRealShell};
        environment.back() = "PS1=" + node + "# ";
    }
    if (!command.empty()) {
        words.insert(words.end(), {"-c", command});
    }
    std::vector<char*> argv;
    std::vector<char*> envp;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    for (std::string& one : environment) {
        envp.push_back(one.data());
    }
    argv.push_back(nullptr);
    envp.push_back(nullptr);
    execve(argv[0], argv.data(), envp.data());
    fprintf(stderr, "cannot run %s in %s: %s\n", argv[0], node.c_str(), strerror(errno));
    _exit(127);
}

}  // namespace

bool shell_descriptors_open(pid_t init, std::vector<int>* descriptors, std::string* error) {
    for (const Place& place : PLACES) {
        const std::string path = "/proc/" + std::to_string(init) + "/" + place.path;
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            *error = std::string("the node cannot be entered: ") + strerror(errno);
            for (const int opened : *descriptors) {
                close(opened);
            }
            descriptors->clear();
            return false;
        }
        descriptors->push_back(fd);
    }
    return true;
}

int shell_run(const std::string& node, const std::vector<int>& descriptors,
              const std::string& command, std::string* error) {
    if (descriptors.size() != PLACES.size()) {
        *error = "the mesh did not say how to enter " + node;
        return -1;
    }
    if (namespaces_enter(descriptors) != 0) {
        *error = "cannot enter " + node + ": " + strerror(errno);
        return -1;
    }
    const pid_t child = fork();
    if (child < 0) {
        *error = std::string("cannot start a shell: ") + strerror(errno);
        return -1;
    }
    if (child == 0) {
        become_shell(node, command);
    }
    // The keys that end a program of the shell are not for us.
    signal(SIGINT, SIG_IGN);
    signal(SIGQUIT, SIG_IGN);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            *error = std::string("lost the shell: ") + strerror(errno);
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace lab
