// A run that is ended by a signal tells what it has seen so far.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using testing::HasSubstr;

// The program in a process group of its own, as a terminal's foreground job is. Its error output
// goes to a terminal, its standard output to the test.
class Job {
public:
    explicit Job(const std::string& command) {
        std::array<int, 2> ends{-1, -1};
        int slave = -1;
        EXPECT_EQ(pipe(ends.data()), 0);
        EXPECT_EQ(openpty(&terminal_, &slave, nullptr, nullptr, nullptr), 0);
        pid_ = fork();
        if (pid_ == 0) {
            setpgid(0, 0);
            dup2(ends[1], STDOUT_FILENO);
            dup2(slave, STDERR_FILENO);
            close(ends[0]);
            close(ends[1]);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        close(ends[1]);
        close(slave);
        out_ = fdopen(ends[0], "r");
    }
    ~Job() {
        if (!over_) {
            kill(-pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        fclose(out_);
        close(terminal_);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    // The next line, or nothing when the program has ended.
    std::string line() {
        std::array<char, 1024> text{};
        return fgets(text.data(), text.size(), out_) == nullptr ? "" : text.data();
    }

    // Waits until it shows that text on its terminal, as it does every few seconds while it plays;
    // false when it has ended before.
    bool await(const std::string& text) {
        std::string shown;
        std::array<char, 256> block{};
        while (shown.find(text) == std::string::npos) {
            const ssize_t got = read(terminal_, block.data(), block.size());
            if (got <= 0) {
                return false;
            }
            shown.append(block.data(), static_cast<std::size_t>(got));
        }
        return true;
    }

    // Sends the signal to the whole job, as a terminal does at Ctrl-C, or to the process alone that
    // was started; the rest of what the program says.
    harness::Ended end(int number, bool whole) {
        kill(whole ? -pid_ : pid_, number);
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
    int terminal_ = -1;
    bool over_ = false;
};

class Ending : public testing::TestWithParam<int> {};

TEST_P(Ending, of_chaos_leaves_a_report_of_what_was_played) {
    Job job("exec " BACKHAUL_BUILD_DIR "/lab/backhaul_lab chaos --nodes 2 --hours 24 --seed 1");
    EXPECT_EQ(job.line(), "2 nodes, 24 hours, seed 1\n");
    EXPECT_TRUE(job.await("2 nodes"));
    const harness::Ended ended = job.end(GetParam(), GetParam() != SIGTERM);
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr("chaos-1: good, ended early, "));
    EXPECT_THAT(ended.out, HasSubstr("seed 1\n"));
}

TEST_P(Ending, of_check_leaves_evidence_of_what_differed) {
    const std::string folder = std::string(BACKHAUL_BUILD_DIR) + "/interrupt_test." +
                               std::to_string(getpid()) + "." + std::to_string(GetParam());
    lab::folder_make(folder);
    lab::file_write(folder + "/story.scn",
                    "line 2\nexpect e1 hops 7\nwait 1000000\nwait 1000000\n");
    Job job("exec " BACKHAUL_BUILD_DIR "/lab/backhaul_lab check " + folder +
            "/story.scn --evidence " + folder + "/left");
    EXPECT_TRUE(job.await("failed 1"));
    const harness::Ended ended = job.end(GetParam(), GetParam() != SIGTERM);
    EXPECT_EQ(ended.code, 1) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr("story.scn: DIFFERS, ended early, "));
    EXPECT_THAT(ended.out, HasSubstr("story.scn:2: expect e1 hops 7"));
    EXPECT_TRUE(lab::path_exists(folder + "/left/story.1/e1/journal")) << ended.out;
    lab::folder_remove(folder);
}

INSTANTIATE_TEST_SUITE_P(BySignal, Ending, testing::Values(SIGINT, SIGTERM, SIGHUP));

}  // namespace
