// main() of process tests: moves the test program into a sandbox of its own, in which its routers
// are nested and whose bridge "lab-switch" connects them. Listing tests needs none.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "lab/node/evidence.h"
#include "lab/sandbox/sandbox.h"
#include "tests/harness/outside.h"
#include "tests/harness/test_arguments.h"

namespace harness {

lab::OutsidePlace& evidence_place() {
    static lab::OutsidePlace place;
    return place;
}

}  // namespace harness

int main(int argc, char** argv) {
    harness::BuildPlaces places;
    if (!harness::only_lists(argc, argv)) {
        lab::SandboxOptions options;
        options.programs = BACKHAUL_BUILD_DIR "/lab";
        options.keep = {BACKHAUL_BUILD_DIR, BACKHAUL_SOURCE_DIR};
        options.tools = false;
        options.network.switch_bridge = true;
        options.network.address = "192.168.1.1/24";
        options.network.gateway = "";
        std::string error;
        if (!places.open(BACKHAUL_BUILD_DIR, error) ||
            !lab::evidence_place_open("", BACKHAUL_BUILD_DIR "/evidence",
                                      &harness::evidence_place(), error) ||
            !lab::sandbox_enter(options, error)) {
            fprintf(stderr, "FAILED: %s\n", error.c_str());
            return 1;
        }
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
