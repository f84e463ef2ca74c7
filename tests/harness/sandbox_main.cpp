// main() of in-process tests: moves the whole program into a sandbox of its own, then runs it anew
// there with the clock preloaded. Listing tests needs neither.

#include <gtest/gtest.h>
#include <linux/close_range.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "lab/clock/clock_control.h"
#include "lab/sandbox/layout.h"
#include "lab/sandbox/sandbox.h"
#include "tests/harness/outside.h"
#include "tests/harness/test_arguments.h"

namespace {

constexpr char INSIDE[] = "BACKHAUL_TEST_INSIDE";

int enter_and_run_anew(char** argv) {
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    options.keep = {BACKHAUL_BUILD_DIR, BACKHAUL_SOURCE_DIR};
    options.network.radios = {"ath0", "ath1", "ath10", "ath11", "ath14", "ath20"};
    std::string error;
    harness::BuildPlaces places;
    if (!places.open(BACKHAUL_BUILD_DIR, error) || !lab::sandbox_enter(options, error) ||
        !lab::clock_page_create(lab::LAB_CLOCK, lab::CLOCK_REAL, 0, error)) {
        fprintf(stderr, "FAILED: %s\n", error.c_str());
        return 1;
    }
    places.survive_exec();
    setenv(INSIDE, "1", 1);
    setenv("LAB_CLOCK", lab::LAB_CLOCK, 1);
    setenv("LD_PRELOAD", lab::LAB_CLOCK_MODULE, 1);
    execv("/proc/self/exe", argv);
    perror("cannot run the tests anew");
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (!harness::only_lists(argc, argv) && getenv(INSIDE) == nullptr) {
        return enter_and_run_anew(argv);
    }
    // The places outside are this program's alone.
    close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
