// Lines for the shell that are one call of one program, which the recording shell can do by itself:
// most of what a daemon runs. Function of values; used by lab_sh and its tests.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

struct ShellLine {
    std::string input;  // what `echo -n` in front hands to the program
    bool has_input = false;
    std::vector<std::string> words;  // the program and what it is given
    std::string wanted;              // what `grep` behind it looks for, plain text; empty: none
    std::string out;                 // file for its standard output; empty: none
    bool in_background = false;
};

// [echo -n WORD |] WORD... [| grep WORD] [> FILE] [&]. Nothing where a shell would read anything as
// more than text, or where the line is of another form.
std::optional<ShellLine> shell_line_parse(std::string_view line);

// What `grep` lets through of a text: the lines with the word, each with a line end.
std::string lines_with(std::string_view text, std::string_view word);

}  // namespace lab
