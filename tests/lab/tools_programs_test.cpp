// The two programs themselves, started as the daemon's shell lines start them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>

#include "lab/sandbox/exec_words.h"
#include "lab/tools/answer.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

const std::string TOOL = std::string(BACKHAUL_BUILD_DIR) + "/lab/lab_tool";
const std::string SHELL = std::string(BACKHAUL_BUILD_DIR) + "/lab/lab_sh";

class ProgramsTest : public ToolsTest {
protected:
    pid_t start(const std::string& program, const std::vector<std::string>& words) const {
        const std::vector<char*> arguments = lab::exec_words(words);
        std::string root_setting = "LAB_ROOT=" + root;
        std::string path = "PATH=" + root + "/bin:/usr/bin:/bin";
        std::string shell = "LAB_REAL_SH=/usr/bin/dash";
        std::array<char*, 4> environment = {root_setting.data(), path.data(), shell.data(),
                                            nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, (root + "/out").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (root + "/err").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = -1;
        EXPECT_EQ(posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments.data(),
                              environment.data()),
                  0)
            << program;
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    }

    static int finish(pid_t pid) {
        int status = -1;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Links of the tools' names on the PATH of the started programs.
    void install(const std::vector<std::string>& names) const {
        ASSERT_TRUE(lab::folder_make(root + "/bin"));
        for (const std::string& name : names) {
            ASSERT_EQ(symlink(TOOL.c_str(), (root + "/bin/" + name).c_str()), 0);
        }
    }

    std::string lab_sh(const std::string& line) const {
        EXPECT_EQ(finish(start(SHELL, {"sh", "-c", line})), 0) << line;
        return file("/out");
    }
};

TEST_F(ProgramsTest, tells_the_tools_apart_by_the_name_they_are_called_by) {
    lab::uci_store_set(root, "wireless.ath0.ssid", "two words");
    EXPECT_EQ(finish(start(TOOL, {"/run/lab/bin/uci", "get", "wireless.ath0.ssid"})), 0);
    EXPECT_EQ(file("/out"), "two words\n");
    EXPECT_EQ(finish(start(TOOL, {"/etc/init.d/hyd", "start"})), 0);
    EXPECT_EQ(finish(start(TOOL, {"lab_tool", "iwpriv", "ath0", "get_whc_dist"})), 0);
    EXPECT_EQ(file("/out"), "ath0      get_whc_dist:1  \n");
    EXPECT_TRUE(lab::hyd_is_running(root));
}

TEST_F(ProgramsTest, prints_errors_to_standard_error_and_returns_the_exit_code) {
    EXPECT_EQ(finish(start(TOOL, {"uci", "get", "no.such.option"})), 1);
    EXPECT_EQ(file("/out"), "");
    EXPECT_EQ(file("/err"), "uci: Entry not found\n");
}

TEST_F(ProgramsTest, records_each_shell_line_exactly_before_running_it) {
    const std::vector<std::string> lines = {
        "echo 'single' \"double\" \\$x `echo y` $((1+1))",
        "echo one\necho two\t# tab",
        "  echo   blanks  ",
        "true && echo \\\\",
    };
    for (const std::string& line : lines) {
        lab_sh(line);
    }
    EXPECT_EQ(lab::recorded_line_texts(root), lines);
}

TEST_F(ProgramsTest, runs_the_line_with_the_real_shell_in_the_same_process) {
    const pid_t pid = start(SHELL, {"sh", "-c", "echo $$; exit 7"});
    EXPECT_EQ(finish(pid), 7);
    EXPECT_EQ(file("/out"), std::to_string(pid) + "\n");
    EXPECT_EQ(lab::line_records(root).at(0).stamp.pid, pid);
    EXPECT_EQ(lab::line_records(root).at(0).stamp.parent, getpid());
}

TEST_F(ProgramsTest, hands_the_words_behind_the_line_on) {
    EXPECT_EQ(finish(start(SHELL, {"sh", "-c", "echo $0 $1", "name", "word"})), 0);
    EXPECT_EQ(file("/out"), "name word\n");
    EXPECT_EQ(finish(start(SHELL, {"sh", "-c", "--", "echo dashes"})), 0);
    EXPECT_THAT(lab::recorded_line_texts(root), ElementsAre("echo $0 $1", "echo dashes"));
}

TEST_F(ProgramsTest, does_not_record_a_script_that_it_runs) {
    lab::file_write(root + "/script", "echo from a script\n");
    EXPECT_EQ(finish(start(SHELL, {"sh", root + "/script"})), 0);
    EXPECT_EQ(file("/out"), "from a script\n");
    EXPECT_THAT(lab::recorded_line_texts(root), IsEmpty());
}

TEST_F(ProgramsTest, lists_a_descriptor_that_the_line_inherited_and_no_other) {
    const int kept = open("/dev/null", O_RDONLY);
    ASSERT_GT(kept, 2);
    const int closed = open("/dev/null", O_RDONLY | O_CLOEXEC);
    lab_sh("true");
    close(kept);
    close(closed);
    lab_sh("true");
    const std::vector<lab::LineRecord> records = lab::line_records(root);
    ASSERT_EQ(records.size(), 2U);
    std::vector<std::string> with = records[0].stamp.descriptors;
    const std::vector<std::string>& without = records[1].stamp.descriptors;
    EXPECT_THAT(with, testing::Contains(std::to_string(kept) + "=/dev/null"));
    std::erase(with, std::to_string(kept) + "=/dev/null");
    EXPECT_EQ(with, without) << "what the test runner itself leaves open";
}

TEST_F(ProgramsTest, serves_a_pipeline_of_tool_and_real_programs) {
    install({"iwconfig", "ps"});
    EXPECT_EQ(
        lab_sh("iwconfig ath0 | grep Not-Associated > $LAB_ROOT/result; cat $LAB_ROOT/result"),
        "          Mode:Managed  Frequency:5.18 GHz  Access Point: Not-Associated   \n");
    lab::hyd_running_set(root, true);
    EXPECT_EQ(lab_sh("ps | grep hyd | grep -v grep"),
              " 2345 root      4120 S    /usr/sbin/hyd -d -C /tmp/hyd.conf -P 7777\n");
}

TEST_F(ProgramsTest, keeps_the_length_of_the_flow_log_with_every_line) {
    lab_sh(
        "printf 12345 > $LAB_ROOT/log && mkdir -p $LAB_ROOT/var/log && "
        "mv $LAB_ROOT/log $LAB_ROOT/var/log/backhaul_flow_log");
    lab_sh("true");
    EXPECT_EQ(lab::line_records(root).at(0).stamp.flow_log_inode, 0U);
    EXPECT_EQ(lab::line_records(root).at(1).stamp.flow_log_size, 5U);
}

TEST_F(ProgramsTest, loses_no_record_of_programs_that_run_at_once) {
    std::vector<std::string> expected;
    std::vector<pid_t> pids;
    for (int number = 0; number < 40; ++number) {
        const std::string word = std::to_string(number) + std::string(500, 'x');
        pids.push_back(start(TOOL, {"vlog", word}));
        expected.push_back("vlog " + word);
    }
    for (const pid_t pid : pids) {
        EXPECT_EQ(finish(pid), 0);
    }
    EXPECT_THAT(lab::recorded_call_texts(root), UnorderedElementsAreArray(expected));
}

TEST_F(ProgramsTest, sleeps_in_the_kernel_while_it_waits_at_a_gate) {
    lab::answer_hold(root, "hyd.restart", "slow");
    const pid_t pid = start(TOOL, {"hyd", "restart"});
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    std::string state;
    // Blocked in the read of the watch is what a moved clock takes for being at rest.
    while (state.find(") S ") == std::string::npos && std::chrono::steady_clock::now() < deadline) {
        lab::file_read("/proc/" + std::to_string(pid) + "/stat", &state);
    }
    EXPECT_NE(state.find(") S "), std::string::npos) << state;
    EXPECT_FALSE(lab::hyd_is_running(root));
    lab::gate_open(root, "slow");
    EXPECT_EQ(finish(pid), 0);
    EXPECT_TRUE(lab::hyd_is_running(root));
}

}  // namespace
