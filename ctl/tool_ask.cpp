#include "ctl/tool_ask.h"

#include "runtime/descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace {

int64_t now_ms() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

/// Starts the shell in a process group of its own, which can be killed as one.
bool shell_start(const char* line, int out, pid_t& pid) {
    posix_spawn_file_actions_t files;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files, out, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    std::array<const char*, 4> words = {"sh", "-c", line, nullptr};
    const int error = posix_spawn(&pid, "/bin/sh", &files, &attributes,
                                  const_cast<char* const*>(words.data()), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
    return error == 0;
}

/// Reads to the end of the output. False when that has not come in time.
bool output_read(int fd, int64_t until_ms, tool_answer& answer) {
    for (;;) {
        pollfd one{.fd = fd, .events = POLLIN, .revents = 0};
        const int64_t left = until_ms - now_ms();
        const int ready = left <= 0 ? 0 : poll(&one, 1, static_cast<int>(left));
        if (ready == 0) {
            return false;
        }
        if (ready < 0) {
            continue;
        }
        std::array<char, 4096> block{};
        const ssize_t got = read(fd, block.data(), block.size());
        if (got <= 0) {
            return true;
        }
        const size_t room = answer.text.size() - answer.size;
        const size_t taken = std::min(room, static_cast<size_t>(got));
        std::copy_n(block.data(), taken, answer.text.data() + answer.size);
        answer.size += taken;
    }
}

}  // namespace

ask_result tool_ask(const char* line, int limit_ms, tool_answer& answer) {
    answer.size = 0;
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return ask_result::failed;
    }
    const Descriptor in(ends[0]);
    Descriptor out(ends[1]);
    pid_t pid = 0;
    if (!shell_start(line, out.get(), pid)) {
        return ask_result::failed;
    }
    out.close_now();
    const bool in_time = output_read(in.get(), now_ms() + limit_ms, answer);
    // Also what the shell left in the background: the group is there until the shell is waited for.
    kill(-pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    return in_time ? ask_result::answered : ask_result::hangs;
}
