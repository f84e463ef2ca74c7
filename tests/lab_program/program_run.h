// The lab's program from outside, run to its end. In no sandbox: it makes its own, and what it
// leaves lies below the build.
#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>

namespace harness {

struct Ended {
    int code = -1;    // -1: by a signal, or it could not be started
    std::string out;  // with the error output
};

// `words` as typed behind its name: a shell takes them apart.
inline Ended lab_run(const std::string& words) {
    Ended ended;
    FILE* const out =
        popen((BACKHAUL_BUILD_DIR "/lab/backhaul_lab " + words + " 2>&1").c_str(), "r");
    if (out == nullptr) {
        return ended;
    }
    for (int one = getc(out); one != EOF; one = getc(out)) {
        ended.out.push_back(static_cast<char>(one));
    }
    const int status = pclose(out);
    ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ended;
}

}  // namespace harness
