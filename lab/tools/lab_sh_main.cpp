// lab_sh: the recording shell, bound over /bin/sh in a sandbox.
//
// `sh -c LINE` is recorded before the real shell takes over in the same process. Any other use is
// handed on unrecorded. The preloaded clock is not handed on: what a line starts needs no moved
// time, and starts faster without it. LAB_REAL_SH names another real shell.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "lab/sandbox/layout.h"
#include "lab/tools/record.h"

namespace {

// The text behind -c (and behind "--", which some libraries put in between), or null.
const char* shell_line(int argc, char** argv) {
    if (argc < 3 || std::strcmp(argv[1], "-c") != 0) {
        return nullptr;
    }
    const int at = std::strcmp(argv[2], "--") == 0 ? 3 : 2;
    return at < argc ? argv[at] : nullptr;
}

}  // namespace

int main(int argc, char** argv) {
    const char* root = std::getenv("LAB_ROOT");
    const char* line = shell_line(argc, argv);
    if (line != nullptr) {
        lab::line_record_append(root == nullptr ? "" : root, line);
    }
    unsetenv("LD_PRELOAD");
    const char* named = std::getenv("LAB_REAL_SH");
    const std::array<std::string, 3> shells = {named == nullptr ? "" : named, lab::LAB_REAL_SHELL,
                                               "/usr/bin/dash"};
    for (const std::string& shell : shells) {
        if (!shell.empty()) {
            execv(shell.c_str(), argv);
        }
    }
    std::fputs("lab_sh: there is no real shell to run\n", stderr);
    return 127;
}
