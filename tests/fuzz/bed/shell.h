// The shell as the targets have it: no line is run. system() and popen() of the daemon come here
// instead; each line is read as a POSIX shell would read it, kept, and given the answer that the
// target chose. The flow log is kept as well.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tests/fuzz/bed/shell_read.h"

namespace fuzz {

// What the daemon did since shell_reset().
struct Shell {
    std::vector<std::string> lines;
    std::vector<std::string> log;  // flow log, as formatted
    // What a line prints, into the file behind its ">" or to whoever reads it. None: it was killed
    // before it opened the file. Without this every line prints nothing.
    std::function<std::optional<std::string>(const std::string& line)> answer;
};
Shell& shell();
void shell_reset();

// Of all lines so far: none that shell_read() could not read.
void require_lines_are_words();

}  // namespace fuzz
