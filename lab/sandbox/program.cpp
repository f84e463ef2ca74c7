#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/exec_words.h"
#include "lab/sandbox/program.h"

namespace lab {
namespace {

struct Pipe {
    std::array<int, 2> end{-1, -1};
    Pipe() {
        opened = pipe2(end.data(), O_CLOEXEC) == 0;
    }
    ~Pipe() {
        shut(0);
        shut(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    void shut(size_t which) {
        if (end[which] >= 0) {
            close(end[which]);
            end[which] = -1;
        }
    }
    bool opened = false;
};

void write_all(int fd, const std::string& text) {
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t put = write(fd, text.data() + done, text.size() - done);
        if (put <= 0 && errno != EINTR) {
            return;
        }
        done += put < 0 ? 0 : static_cast<size_t>(put);
    }
}

int spawn_with_pipes(const std::vector<std::string>& words, const Pipe& in, const Pipe& out,
                     bool errors_too, pid_t& child) {
    const std::vector<char*> argv = exec_words(words);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in.end[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out.end[1], STDOUT_FILENO);
    if (errors_too) {
        posix_spawn_file_actions_adddup2(&actions, out.end[1], STDERR_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    // Of a group of its own: Ctrl-C is for us, who end in order, and not for what we are about.
    posix_spawnattr_t apart;
    posix_spawnattr_init(&apart);
    posix_spawnattr_setflags(&apart, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&apart, 0);
    const int result = posix_spawnp(&child, argv[0], &actions, &apart, argv.data(), environ);
    posix_spawnattr_destroy(&apart);
    posix_spawn_file_actions_destroy(&actions);
    return result;
}

bool run(const std::vector<std::string>& words, const std::string& input, bool errors_too,
         std::string* said, std::string& error) {
    Pipe in;
    Pipe out;
    if (!in.opened || !out.opened) {
        error = std::string("no pipe: ") + strerror(errno);
        return false;
    }
    pid_t child = -1;
    const int result = spawn_with_pipes(words, in, out, errors_too, child);
    if (result != 0) {
        error = "cannot run `" + words[0] + "`: " + strerror(result);
        return false;
    }
    in.shut(0);
    out.shut(1);
    write_all(in.end[1], input);
    in.shut(1);
    *said = read_to_end(out.end[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return true;
    }
    error = "`" + words[0] + "` failed: " + *said;
    return false;
}

}  // namespace

std::string place_on_path(const std::string& name) {
    const char* set = getenv("PATH");
    const std::string path =
        (set == nullptr ? std::string() : std::string(set)) + ":/usr/sbin:/sbin:";
    for (std::size_t at = 0; at < path.size();) {
        const std::size_t colon = path.find(':', at);
        std::string place = path.substr(at, colon - at) + "/" + name;
        if (colon > at && access(place.c_str(), X_OK) == 0) {
            return place;
        }
        at = colon + 1;
    }
    return {};
}

std::string read_to_end(int descriptor) {
    std::string text;
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t got = read(descriptor, block.data(), block.size());
        if (got == 0 || (got < 0 && errno != EINTR)) {
            return text;
        }
        text.append(block.data(), got < 0 ? 0 : static_cast<size_t>(got));
    }
}

bool run_program(const std::vector<std::string>& words, const std::string& input,
                 std::string& error) {
    std::string said;
    return run(words, input, true, &said, error);
}

bool program_output(const std::vector<std::string>& words, const std::string& input,
                    std::string* output, std::string& error) {
    return run(words, input, false, output, error);
}

}  // namespace lab
