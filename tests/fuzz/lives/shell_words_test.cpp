// How a line is taken apart, and what is found out of place in it.

#include "tests/fuzz/lives/shell_words.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lives {
namespace {

using testing::ElementsAre;

std::vector<std::string> texts(std::string_view line) {
    std::vector<std::string> out;
    for (const ShellToken& token : shell_split(line).value_or(std::vector<ShellToken>())) {
        out.push_back((token.is_operator ? "op:" : "") + token.text);
    }
    return out;
}

class ContractLinesTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(lines.read(BACKHAUL_SOURCE_DIR "/tests/contract/commands.txt"));
    }
    ContractLines lines;
};

TEST(ShellSplit, gives_words_without_their_quotes_and_operators_apart) {
    EXPECT_THAT(texts("a 'b c' \"d\\\"e\" f\\ g >h 2>&1"),
                ElementsAre("a", "b c", "d\"e", "f g", "op:>", "h", "2", "op:>", "op:&", "1"));
    EXPECT_THAT(texts("a ''"), ElementsAre("a", ""));
}

TEST(ShellSplit, refuses_what_is_expanded_or_left_open) {
    for (const char* line :
         {"$(a)", "`a`", "\"$a\"", "\"`a`\"", "a*", "~", "#a", "a 'b", "a \"b", "a\\", "a\\\nb"}) {
        EXPECT_FALSE(shell_split(line).has_value()) << line;
    }
    EXPECT_TRUE(shell_split("'$(a)`b`*~#'").has_value());
}

TEST_F(ContractLinesTest, hold_a_line_whose_values_are_one_word_each) {
    EXPECT_TRUE(lines.hold("iwpriv ath0 set_whc_dist -1", {}));
    EXPECT_TRUE(lines.hold("ifconfig ath0\\;reboot down", {}));
    EXPECT_FALSE(lines.hold("vlog 0 0 \"\\$(reboot)(02:00:00", {}));
    EXPECT_TRUE(lines.hold("vlog 0 0 \"\\$(reboot)(02:00:00\"", {}));
}

TEST_F(ContractLinesTest, hold_no_line_that_another_value_changes) {
    EXPECT_FALSE(lines.hold("ifconfig ath0;reboot down", {}));
    EXPECT_FALSE(lines.hold("ifconfig ath0 x down", {}));
    EXPECT_FALSE(lines.hold("iwpriv ath0 set_whc_dist x", {}));
    EXPECT_FALSE(lines.hold("vlog 0 0 \"$(reboot)(a) join\"", {}));
    EXPECT_FALSE(lines.hold("reboot", {}));
}

TEST_F(ContractLinesTest, hold_the_own_configuration_as_it_is_and_nothing_beside_it) {
    EXPECT_TRUE(lines.hold("iwconfig ath0 essid a;b", {"a;b"}));
    EXPECT_FALSE(lines.hold("iwconfig ath0;c essid a;b", {"a;b"}));
    EXPECT_FALSE(lines.hold("iwconfig ath0 essid a;b", {}));
}

}  // namespace
}  // namespace lives
