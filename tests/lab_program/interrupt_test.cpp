// A run that is ended from the terminal tells what it has seen so far.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include "tests/lab_program/program_run.h"

namespace {

using testing::HasSubstr;

// The program in a process group of its own, as a terminal's foreground job is.
class Job {
public:
    explicit Job(const char* command) {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(pipe(ends.data()), 0);
        pid_ = fork();
        if (pid_ == 0) {
            setpgid(0, 0);
            dup2(ends[1], STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            close(ends[0]);
            close(ends[1]);
            execl("/bin/sh", "sh", "-c", command, nullptr);
            _exit(127);
        }
        close(ends[1]);
        out_ = fdopen(ends[0], "r");
    }
    ~Job() {
        if (!over_) {
            kill(-pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        fclose(out_);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // The next line, or nothing when the program has ended.
    std::string line() {
        std::array<char, 1024> text{};
        return fgets(text.data(), text.size(), out_) == nullptr ? "" : text.data();
    }

    // What a terminal does at Ctrl-C; the rest of what the program says.
    harness::Ended interrupt() {
        kill(-pid_, SIGINT);
        harness::Ended ended;
        for (std::string next = line(); !next.empty(); next = line()) {
            ended.out += next;
        }
        int status = 0;
        waitpid(pid_, &status, 0);
        over_ = true;
        ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return ended;
    }

private:
    pid_t pid_ = -1;
    FILE* out_ = nullptr;
    bool over_ = false;
};

TEST(Interrupt, of_chaos_leaves_a_report_of_what_was_played) {
    Job job("exec " BACKHAUL_BUILD_DIR "/lab/backhaul_lab chaos --nodes 2 --hours 24 --seed 1");
    EXPECT_EQ(job.line(), "2 nodes, 24 hours, seed 1\n");
    // It shows its progress only while it plays.
    EXPECT_THAT(job.line(), HasSubstr("2 nodes"));
    const harness::Ended ended = job.interrupt();
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr("chaos-1: good, ended early, "));
    EXPECT_THAT(ended.out, HasSubstr("seed 1\n"));
}

}  // namespace
