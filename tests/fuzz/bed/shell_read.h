// A POSIX shell's first step over a line: which words it would hand on. A function of values, for
// any thread; tests/runtime/shell_text_test.cpp holds it against the real shell.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

struct ShellWord {
    std::string text;
    bool is_operator = false;  // "|", "<", ">"
};

// The words of one simple line, quotes and escapes taken away. Nothing when the shell would find
// more in it than words, a pipe and redirections: an expansion, another command, an open quote.
std::optional<std::vector<ShellWord>> shell_read(std::string_view line);

// Words only, the operators as themselves.
std::vector<std::string> shell_texts(const std::vector<ShellWord>& words);

}  // namespace fuzz
