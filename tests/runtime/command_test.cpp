// Shell lines: run whole or not at all, except where the cut is asked for.

#include "runtime/command.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>

#include "lab/tools/record.h"
#include "runtime/file_io.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;
using harness::recorded_lines;
using testing::ElementsAre;
using testing::IsEmpty;

class Command : public harness::SandboxTest {};

TEST_F(Command, runs_the_line_as_it_stands) {
    command_run("echo \"a  'b'\" $((1 + 1)) > /tmp/out");
    EXPECT_THAT(recorded_lines(), ElementsAre("echo \"a  'b'\" $((1 + 1)) > /tmp/out"));
    EXPECT_EQ(file_text("/tmp/out"), "a  'b' 2\n");
}

TEST_F(Command, waits_until_the_line_is_done) {
    command_run(
        "for i in 1 2 3 4 5 6 7 8 9; do cat /proc/self/status > /dev/null; done; "
        "echo done > /tmp/out");
    EXPECT_EQ(file_text("/tmp/out"), "done\n");
}

TEST_F(Command, does_not_look_at_the_exit_status) {
    command_run("exit 3");
    EXPECT_EQ(command_format_run(COMMAND_SIZE_SHORT, "exit %d", 4), 0);
    EXPECT_THAT(recorded_lines(), ElementsAre("exit 3", "exit 4"));
}

TEST_F(Command, runs_a_formatted_line_that_just_fits_its_buffer) {
    const std::string word(58, 'w');  // "true " and 58 are 63 characters
    EXPECT_EQ(command_format_run(64, "true %s", word.c_str()), 0);
    EXPECT_THAT(recorded_lines(), ElementsAre("true " + word));
}

TEST_F(Command, refuses_a_formatted_line_that_does_not_fit) {
    const std::string word(59, 'w');
    EXPECT_EQ(command_format_run(64, "true %s", word.c_str()), -1);
    const std::string longer(300, 'w');
    EXPECT_EQ(command_format_run(COMMAND_SIZE_LONG, "true %s", longer.c_str()), -1);
    EXPECT_EQ(command_format_run(4096, "true %s", longer.c_str()), -1)
        << "no line is longer than the largest buffer";
    EXPECT_THAT(recorded_lines(), IsEmpty());
}

TEST_F(Command, cuts_a_line_only_where_the_cut_is_asked_for) {
    command_format_cut_run(16, "true %s", "0123456789abcdef");
    command_format_cut_run(16, "true %s", "0");
    EXPECT_THAT(recorded_lines(), ElementsAre("true 0123456789", "true 0"));
}

TEST_F(Command, lets_no_descriptor_into_the_shell) {
    command_run("true");
    harness::put_file("/tmp/in", "text\n");
    {
        const File file("/tmp/in", "r");
        const CommandPipe outer("cat");
        command_run("true");
        const CommandPipe inner("true");
    }
    const auto records = lab::line_records("");
    ASSERT_EQ(records.size(), 4U);
    for (const auto& record : records) {
        // What whoever runs the tests left open is in all of them.
        EXPECT_EQ(record.stamp.descriptors, records[0].stamp.descriptors) << record.line;
    }
}

TEST_F(Command, pipe_reads_what_the_line_prints) {
    const CommandPipe pipe("echo one; echo two");
    ASSERT_NE(pipe.file(), nullptr);
    std::array<char, 8> word{};
    EXPECT_EQ(file_first_word(pipe.file(), word), 1);
    EXPECT_STREQ(word.data(), "one");
    EXPECT_EQ(file_first_word(pipe.file(), word), 1);
    EXPECT_STREQ(word.data(), "two");
    EXPECT_EQ(file_first_word(pipe.file(), word), 0);
    EXPECT_THAT(recorded_lines(), ElementsAre("echo one; echo two"));
}

TEST_F(Command, pipe_waits_for_its_line_when_it_goes) {
    { const CommandPipe pipe("exec 1>&-; cat /proc/self/status > /dev/null; echo x > /tmp/done"); }
    EXPECT_EQ(file_text("/tmp/done"), "x\n");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left over";
}

TEST_F(Command, prints_before_the_line_what_was_printed_before_it) {
    const int code = harness::exit_code(
        [] {
            std::fputs("before the line\n", stdout);
            command_run("echo the line");
            std::fputs("before the pipe\n", stdout);
            { const CommandPipe pipe("echo the pipe >> /tmp/out"); }
            std::fflush(stdout);
        },
        harness::WHOLE_OUT);
    EXPECT_EQ(code, harness::BODY_RETURNED);
    EXPECT_EQ(file_text("/tmp/out"), "before the line\nthe line\nbefore the pipe\nthe pipe\n");
}

}  // namespace
