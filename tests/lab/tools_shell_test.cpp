// Lines that the recording shell does by itself, and messages sealed without the real openssl.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "lab/tools/shell_line.h"
#include "lab/tools/small_file.h"
#include "lab/tools/tool_openssl.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::ElementsAre;

class ShellLine : public testing::Test {};

TEST_F(ShellLine, is_taken_apart_as_a_shell_would) {
    const auto line = lab::shell_line_parse("wpa_cli  -g /x 'a b'\"c\"d \"\" > /tmp/o");
    ASSERT_TRUE(line);
    EXPECT_THAT(line->words, ElementsAre("wpa_cli", "-g", "/x", "a bcd", ""));
    EXPECT_EQ(line->out, "/tmp/o");
    EXPECT_FALSE(line->has_input);
    EXPECT_FALSE(line->in_background);
}

TEST_F(ShellLine, keeps_what_echo_hands_on_and_what_runs_in_the_background) {
    const auto message = lab::shell_line_parse("echo -n 'Im\"x' | openssl -k '' > /tmp/o");
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->has_input);
    EXPECT_EQ(message->input, "Im\"x");
    EXPECT_THAT(message->words, ElementsAre("openssl", "-k", ""));
    const auto led = lab::shell_line_parse("/sbin/led on &");
    ASSERT_TRUE(led);
    EXPECT_TRUE(led->in_background);
}

TEST_F(ShellLine, knows_a_search_for_a_plain_word_behind_it) {
    const auto line = lab::shell_line_parse("iwconfig ath0 | grep Not-Associated > /tmp/o");
    ASSERT_TRUE(line);
    EXPECT_THAT(line->words, ElementsAre("iwconfig", "ath0"));
    EXPECT_EQ(line->wanted, "Not-Associated");
    EXPECT_EQ(line->out, "/tmp/o");
}

TEST_F(ShellLine, lets_through_what_grep_would) {
    EXPECT_EQ(lab::lines_with("one\ntwo\nbone", "one"), "one\nbone\n");
    EXPECT_EQ(lab::lines_with("\n\none", "one"), "one\n");
    EXPECT_EQ(lab::lines_with("two\n", "one"), "");
    EXPECT_EQ(lab::lines_with("", "one"), "");
}

class LeftToAShell : public testing::TestWithParam<const char*> {};

TEST_P(LeftToAShell, is_whatever_is_more_than_one_call) {
    EXPECT_FALSE(lab::shell_line_parse(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(All, LeftToAShell,
                         testing::Values("", "uci get a; uci get b", "uci get $x", "uci get \"$x\"",
                                         "uci get `x`", "uci get \"a\\b\"", "uci 'get", "a | b",
                                         "echo a | b", "a 2> /tmp/x > /tmp/y", "a >> b", "a > b c",
                                         "a && b", "A=b c", "a <b", "(a)", "a *", "# a", "a & b",
                                         "echo -n 'a\\n' | b", "a | grep -v b", "a | grep b*",
                                         "a | grep b | grep c", "a | grep b c", "a | grep ''",
                                         "a\nb", "~/a"));

class OpensslTest : public ToolsTest {
protected:
    std::string real(const std::string& words) const {
        const std::string line = "openssl aes-128-cbc " + words + " 2>/dev/null";
        EXPECT_EQ(std::system(line.c_str()), 0);
        std::string out;
        lab::file_read(root + "/out", &out);
        return out;
    }
};

TEST_F(OpensslTest, reads_what_the_real_program_has_sealed) {
    for (const std::string message : {"", "ImRootAP", "sixteen-letters!", "a word of two blocks"}) {
        lab::file_write(root + "/in", message);
        const auto opened = lab::openssl_open(
            real("-e -k 'mesh-x' -in " + root + "/in -out " + root + "/out"), "mesh-x");
        ASSERT_TRUE(opened);
        EXPECT_TRUE(opened->good);
        EXPECT_EQ(opened->out, message);
    }
}

TEST_F(OpensslTest, seals_what_the_real_program_reads) {
    for (const std::string message : {"", "ImRootAP", "sixteen-letters!", "a word of two blocks"}) {
        lab::file_write(root + "/in", lab::openssl_seal(message, "mesh-x", "salt").value());
        EXPECT_EQ(real("-d -k 'mesh-x' -in " + root + "/in -out " + root + "/out"), message);
    }
}

TEST_F(OpensslTest, seals_the_same_way_each_time_and_another_way_with_another_salt) {
    const auto sealed = lab::openssl_seal("word", "phrase", "1");
    EXPECT_EQ(sealed, lab::openssl_seal("word", "phrase", "1"));
    EXPECT_NE(sealed, lab::openssl_seal("word", "phrase", "2"));
}

TEST_F(OpensslTest, refuses_another_pass_phrase_and_what_is_no_message) {
    const std::string sealed = lab::openssl_seal("ImRootAP", "phrase", "1").value();
    EXPECT_FALSE(lab::openssl_open(sealed, "other")->good);
    EXPECT_EQ(lab::openssl_open(sealed, "other")->out, "");
    EXPECT_FALSE(lab::openssl_open("ImRootAP", "phrase")->good);
    EXPECT_FALSE(lab::openssl_open(sealed.substr(0, sealed.size() - 1), "phrase")->good);
    EXPECT_FALSE(lab::openssl_open("", "phrase")->good);
}

}  // namespace
