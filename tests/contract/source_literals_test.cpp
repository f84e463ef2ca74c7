// What a C++ source can say.

#include "tests/contract/source_literals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> says(const char* source) {
    std::vector<std::string> all;
    for (const Literal& literal : literals_read(source)) {
        for (const std::string& text : literal_says(literal, {"iwconfig", "wifi"})) {
            all.push_back(text);
        }
    }
    return all;
}

TEST(SourceLiterals, join_when_nothing_but_blanks_and_comments_part_them) {
    const auto literals =
        literals_read("f(\"a \"\n  /* c */ \"b\", \"c\" // d\n \"d\\\"\", x + \"e\");");
    ASSERT_EQ(literals.size(), 3u);
    EXPECT_EQ(literals[0].text, "a b");
    EXPECT_EQ(literals[1].text, "cd\"");
    EXPECT_EQ(literals[2].text, "e");
}

TEST(SourceLiterals, know_their_line_and_the_call_whose_first_argument_they_are) {
    const auto literals = literals_read("\n\nstd::puts(\"a\");\ng(x, \"b\");");
    ASSERT_EQ(literals.size(), 2u);
    EXPECT_EQ(literals[0].call, "puts");
    EXPECT_EQ(literals[0].line, 3);
    EXPECT_EQ(literals[1].call, "");
    EXPECT_EQ(literals[1].line, 4);
}

TEST(SourceLiterals, leave_out_comments_includes_and_characters) {
    EXPECT_THAT(
        literals_read("#include \"a.h\"\n// \"b\"\n/* \"c\" */ char d = '\"'; int e = 1'000;"),
        IsEmpty());
}

TEST(SourceLiterals, say_lines_commands_and_what_is_printed) {
    EXPECT_THAT(says("x = \"one\\ntwo\\n\";"), ElementsAre("one\n", "two\n"));
    EXPECT_THAT(says("row{\"wifi up wifi0\", \"wifi0\"}"), ElementsAre("wifi up wifi0"));
    EXPECT_THAT(says("std::printf(\"no end: %s\", x);"), ElementsAre("no end: %s"));
    EXPECT_THAT(says("std::puts(\"Slave\"); std::perror(\"bind\");"),
                ElementsAre("Slave\n", "bind: %s\n"));
}

TEST(SourceLiterals, say_nothing_as_paths_words_measures_and_forms_for_reading) {
    EXPECT_THAT(says("fopen(\"/tmp/iwconfig.tmp\", \"r\"); sizeof(\"iwconfig  essid \");"),
                IsEmpty());
    EXPECT_THAT(says("x = \"%*[^:]:%d\\n\";"), IsEmpty());
}

}  // namespace
}  // namespace contract
