// Texts of others as they are written into a shell line.

#include "runtime/shell_text.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {

constexpr std::array PLACES = {shell_place::bare, shell_place::double_quotes,
                               shell_place::single_quotes};

std::string written(std::string_view value, shell_place place, size_t room = 64) {
    std::string out(room, '#');
    const shell_written result = shell_text(value, place, out);
    EXPECT_EQ(result.whole, result.length >= value.size());
    return out.substr(0, result.length);
}

TEST(ShellText, stands_as_it_is_without_a_character_that_a_shell_reads) {
    for (const shell_place place : PLACES) {
        for (const char* const value :
             {"", "ath20", "eth0.2@br-lan", "02:00:00:00:00:0a", "a/b,c+d=e%f_g-h",
              "K\xC3\xBC"
              "che"}) {
            EXPECT_FALSE(shell_reads(value, place)) << value;
            EXPECT_EQ(written(value, place), value);
        }
    }
    EXPECT_EQ(written("Bob's & Ann's (2.4 GHz); #1 *", shell_place::double_quotes),
              "Bob's & Ann's (2.4 GHz); #1 *");
    EXPECT_EQ(written("$(a) `b` \"c\" \\ d", shell_place::single_quotes), "$(a) `b` \"c\" \\ d");
}

TEST(ShellText, takes_the_meaning_off_each_character_that_a_shell_reads) {
    EXPECT_EQ(written("$(a);b|c>d'e\"f\\g", shell_place::bare),
              "\\$\\(a\\)\\;b\\|c\\>d\\'e\\\"f\\\\g");
    EXPECT_EQ(written("$(a)`b`\"c\"\\d", shell_place::double_quotes),
              "\\$(a)\\`b\\`\\\"c\\\"\\\\d");
    EXPECT_EQ(written("it's", shell_place::single_quotes), "it'\\''s");
}

TEST(ShellText, keeps_a_line_end) {
    EXPECT_EQ(written("a\nb", shell_place::bare), "a'\n'b");
    EXPECT_EQ(written("a\nb", shell_place::double_quotes), "a\nb");
    EXPECT_EQ(written("a\nb", shell_place::single_quotes), "a\nb");
}

TEST(ShellText, ends_before_the_character_that_does_not_fit_whole) {
    const std::string value = "a$\nb";
    const std::array<std::string, 8> bare = {"",     "a",    "a",        "a\\$",
                                             "a\\$", "a\\$", "a\\$'\n'", "a\\$'\n'b"};
    for (size_t room = 0; room < bare.size(); ++room) {
        std::string out(room, '#');
        const shell_written result = shell_text(value, shell_place::bare, out);
        EXPECT_EQ(out.substr(0, result.length), bare[room]) << room;
        EXPECT_EQ(result.whole, room == bare.size() - 1) << room;
    }
}

TEST(ShellText, knows_the_place_from_the_quotes_before_it) {
    const auto place_behind = [](std::string_view text) {
        shell_place place = shell_place::bare;
        for (const char c : text) {
            place = shell_place_after(place, c);
        }
        return place;
    };
    EXPECT_EQ(place_behind("vlog 0 0 "), shell_place::bare);
    EXPECT_EQ(place_behind("vlog 0 0 \""), shell_place::double_quotes);
    EXPECT_EQ(place_behind("a \"b\" "), shell_place::bare);
    EXPECT_EQ(place_behind("echo -n '"), shell_place::single_quotes);
    EXPECT_EQ(place_behind("echo '\"' "), shell_place::bare);
    EXPECT_EQ(place_behind("echo \"'"), shell_place::double_quotes);
}

}  // namespace
