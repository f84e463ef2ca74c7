// Shell lines: run whole or not at all, except where the cut is asked for.

#include "runtime/command.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

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

/// Every byte that a text can hold, in texts of at most seven.
std::vector<std::string> texts_of_every_byte() {
    std::vector<std::string> texts = {"$(>/tmp/ran)", "`>/tmp/ran`", "a;>/tmp/ran", "a\n>/tmp/ran",
                                      "'\"'\"$(>/tmp/ran)"};
    for (int first = 1; first < 256; first += 7) {
        std::string text;
        for (int byte = first; byte < std::min(first + 7, 256); ++byte) {
            text += static_cast<char>(byte);
        }
        texts.push_back(text);
    }
    return texts;
}

TEST_F(Command, hands_every_text_to_the_tool_as_it_is) {
    for (const std::string& text : texts_of_every_byte()) {
        lab::records_clear("");
        EXPECT_EQ(command_format_run(COMMAND_SIZE_MEDIUM, "vlog a%s \"%s\" '%s' %d", text.c_str(),
                                     text.c_str(), text.c_str(), 7),
                  0);
        const auto calls = lab::call_records("");
        ASSERT_EQ(calls.size(), 1U) << text;
        EXPECT_THAT(calls[0].words, ElementsAre("a" + text, text, text, "7"));
        EXPECT_FALSE(harness::file_is_there("/tmp/ran")) << text;
    }
}

TEST_F(Command, refuses_a_line_whose_text_does_not_fit_with_what_covers_it) {
    const std::string word(29, '$');  // "true " and twice 29 are 63 characters
    EXPECT_EQ(command_format_run(64, "true %s", word.c_str()), 0);
    EXPECT_EQ(command_format_run(64, "true %s", (word + "a").c_str()), -1);
    EXPECT_EQ(recorded_lines().size(), 1U);
}

TEST_F(Command, cuts_a_text_so_that_its_quotes_close_and_its_covers_stay_whole) {
    // Room for 8 characters between the quotes.
    for (const auto& [text, kept] :
         {std::pair{"0123456789", "01234567"}, std::pair{"$$$$$", "\\$\\$\\$\\$"},
          std::pair{"0$$$$", "0\\$\\$\\$"}, std::pair{"01234567", "01234567"}}) {
        harness::take_lines();
        command_format_cut_run(16, "vlog \"%s\"", text);
        EXPECT_THAT(harness::take_lines(), ElementsAre(std::string("vlog \"") + kept + "\""));
    }
    EXPECT_EQ(lab::call_records("").size(), 4U) << "the shell refused a line";
}

/// What `action` writes to standard error.
template <typename Action>
std::string printed(Action action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

TEST_F(Command, leaves_the_own_configuration_as_it_is_and_names_it_once) {
    const auto run = [](const char* ssid) {
        return printed([&] {
            EXPECT_EQ(command_format_run(64, "vlog %s", own_value{ssid, "ath20", "ssid"}), 0);
        });
    };
    constexpr char NAMED[] =
        "command_run : the shell reads wireless.ath20.ssid as more than text: vlog %s\n";
    EXPECT_EQ(run("mesh"), "");
    EXPECT_EQ(run("mesh$(echo 1)"), NAMED);
    EXPECT_EQ(run("mesh$(echo 1)"), "");
    EXPECT_EQ(run("mesh$(echo 2)"), NAMED) << "another value";
    EXPECT_EQ(run("mesh$(echo 1)"), "");
    EXPECT_THAT(recorded_lines(),
                ElementsAre("vlog mesh", "vlog mesh$(echo 1)", "vlog mesh$(echo 1)",
                            "vlog mesh$(echo 2)", "vlog mesh$(echo 1)"));
}

TEST_F(Command, names_an_own_value_where_its_quotes_do_not_hold_it) {
    const own_value own{"a'b", "ath20", "WPAPSKkey"};
    EXPECT_EQ(printed([&] { command_format_run(64, "vlog \"%s\"", own); }), "");
    EXPECT_EQ(printed([&] { command_format_run(64, "vlog '%s' '", own); }),
              "command_run : the shell reads wireless.ath20.WPAPSKkey as more than text: "
              "vlog '%s' '\n");
}

TEST_F(Command, pipe_ends_an_endless_word_at_its_bound) {
    std::array<char, 8> word{};
    {
        const CommandPipe pipe("exec tr '\\0' w < /dev/zero");
        EXPECT_TRUE(file_first_word(pipe.file(), word));
    }
    EXPECT_STREQ(word.data(), "wwwwwww");
    const CommandPipe blank("exec tr '\\0' ' ' < /dev/zero");
    EXPECT_FALSE(file_first_word(blank.file(), word));
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
