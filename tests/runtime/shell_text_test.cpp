// Texts of others through the real shell: it reads each one back byte for byte. The fuzzers' own
// reading of a line is held against it.

#include "runtime/shell_text.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "runtime/command.h"
#include "tests/fuzz/bed/shell_read.h"
#include "tests/harness/sandbox.h"

namespace {

/// Parts the words of an answer; no text below holds it.
constexpr char PARTING = '\x1f';
constexpr std::string_view READ_BY_SHELLS = "|&;<>()$`\\\"' \t\n*?[]#~{}!^=-%";

class ShellText : public harness::SandboxTest {
protected:
    /// Every character alone and within a word, and every two that a shell reads side by side.
    static std::vector<std::string> texts() {
        std::vector<std::string> all;
        for (int code = 1; code < 256; ++code) {
            const char c = static_cast<char>(code);
            if (c != PARTING) {
                all.emplace_back(1, c);
                all.push_back(std::string("a") + c + "b");
            }
        }
        for (const char first : READ_BY_SHELLS) {
            for (const char second : READ_BY_SHELLS) {
                all.push_back(std::string{first, second});
            }
        }
        return all;
    }

    static std::string written(const std::string& text, shell_place place) {
        std::array<char, 32> out{};
        const shell_written result = shell_text(text, place, out);
        EXPECT_TRUE(result.whole) << text;
        return {out.data(), result.length};
    }

    static std::string line_of(const std::vector<std::string>& all, shell_place place) {
        static constexpr std::array<const char*, 3> QUOTES = {"", "\"", "'"};
        const std::string quote = QUOTES[static_cast<size_t>(place)];
        std::string line = "printf '%s\\037'";
        for (const std::string& text : all) {
            line += " " + quote + written(text, place) + quote;
        }
        return line;
    }

    static std::vector<std::string> answer_of(const std::string& line) {
        const CommandPipe pipe(line.c_str());
        std::vector<std::string> words(1);
        for (int c = std::getc(pipe.file()); c != EOF; c = std::getc(pipe.file())) {
            if (c == PARTING) {
                words.emplace_back();
            } else {
                words.back() += static_cast<char>(c);
            }
        }
        words.pop_back();
        return words;
    }
};

TEST_F(ShellText, is_read_back_by_the_shell_byte_for_byte) {
    const auto all = texts();
    for (const shell_place place :
         {shell_place::bare, shell_place::double_quotes, shell_place::single_quotes}) {
        const std::string line = line_of(all, place);
        EXPECT_EQ(answer_of(line), all);
        const auto read = fuzz::shell_read(line);
        ASSERT_TRUE(read.has_value());
        auto words = fuzz::shell_texts(*read);
        words.erase(words.begin(), words.begin() + 2);
        EXPECT_EQ(words, all);
    }
}

TEST(ShellRead, finds_what_a_shell_would_act_upon) {
    for (const char* const line :
         {"a $(b)", "a `b`", "a \"$b\"", "a \"`b`\"", "a; b", "a & b", "a && b", "a || b", "a >> b",
          "a\nb", "a *", "a \"b", "a 'b", "a \\", "a #b", "a ~", "(a)"}) {
        EXPECT_FALSE(fuzz::shell_read(line).has_value()) << line;
    }
    const auto read = fuzz::shell_read("a 'b c' \"\\$d\" \\; | e > /tmp/f");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(fuzz::shell_texts(*read),
              (std::vector<std::string>{"a", "b c", "$d", ";", "|", "e", ">", "/tmp/f"}));
}

}  // namespace
