#include "tests/harness/child.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "tests/harness/wait.h"

namespace harness {
namespace {

void output_redirect(ChildOutput output) {
    const int fd = open(output.file, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    dup2(fd, STDOUT_FILENO);
    close(fd);
    std::setvbuf(stdout, nullptr, output.buffer, BUFSIZ);
}

}  // namespace

Child::Child(const std::function<void()>& body, ChildOutput output) : pid_(fork()) {
    // Both do it: neither may find the group missing.
    setpgid(pid_, pid_);
    if (pid_ == 0) {
        if (output.file != nullptr) {
            output_redirect(output);
        }
        body();
        _exit(BODY_RETURNED);
    }
    EXPECT_GT(pid_, 0) << "no process";
}

Child::~Child() {
    if (is_over_ || pid_ <= 0) {
        return;
    }
    kill(-pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    EXPECT_TRUE(wait_until([this] { return kill(-pid_, 0) != 0; })) << "a tool of it goes on";
}

bool Child::is_running() const {
    siginfo_t about{};
    return !is_over_ &&
           waitid(P_PID, static_cast<id_t>(pid_), &about, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           about.si_pid == 0;
}

int Child::wait() {
    if (!wait_until([this] { return !is_running(); })) {
        ADD_FAILURE() << "process " << pid_ << " does not end";
        kill(-pid_, SIGKILL);
    }
    int status = -1;
    waitpid(pid_, &status, 0);
    is_over_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int exit_code(const std::function<void()>& body, ChildOutput output) {
    return Child(body, output).wait();
}

}  // namespace harness
