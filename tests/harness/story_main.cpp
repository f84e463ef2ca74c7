// main() of process tests: moves the test program into a sandbox of its own, in which its routers
// are nested and whose bridge "lab-switch" connects them. Listing tests needs none.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "lab/sandbox/sandbox.h"

namespace {

bool only_lists(int argc, char** argv) {
    for (int at = 1; at < argc; ++at) {
        const std::string_view word = argv[at];
        if (word == "--gtest_list_tests" || word == "--help") {
            return true;
        }
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (!only_lists(argc, argv)) {
        lab::SandboxOptions options;
        options.programs = BACKHAUL_BUILD_DIR "/lab";
        options.keep = {BACKHAUL_BUILD_DIR, BACKHAUL_SOURCE_DIR};
        options.tools = false;
        options.network.switch_bridge = true;
        options.network.address = "192.168.1.1/24";
        options.network.gateway = "";
        std::string error;
        if (lab::sandbox_enter(options, error) != 0) {
            fprintf(stderr, "FAILED: %s\n", error.c_str());
            return 1;
        }
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
