#include "tests/fuzz/lives/life_fuzz.h"

#include <cstdio>
#include <cstdlib>

#include "intake/netlink_intake.h"
#include "tests/fuzz/lives/life.h"
#include "tests/fuzz/lives/steps.h"

// Of the address sanitizer's runtime. What the stack of a worker that has ended still held is lost,
// as in a process that ends; what a living one should have given back is a rule's affair.
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}

namespace lives {
namespace {

void prepare_once() {
    static bool is_ready = false;
    if (is_ready) {
        return;
    }
    is_ready = true;
    setenv("TZ", "UTC0", 1);
    if (!Rules::prepare(BACKHAUL_SOURCE_DIR "/tests/contract/commands.txt")) {
        std::fputs("the contract's lines cannot be read\n", stderr);
        std::abort();
    }
}

// Whether all rules held.
bool told(const std::vector<Step>& steps, bool master, bool tells) {
    Life life(master, tells);
    for (const Step& step : steps) {
        if (!step_run(life, step)) {
            break;
        }
    }
    life.intake_rest();
    return !life.is_broken;
}

}  // namespace

void life_live(std::span<const uint8_t> bytes, bool master) {
    prepare_once();
    const Silence silence;
    const std::vector<Step> steps = steps_read(bytes);
    const bool tells = std::getenv("LIVES_TELL") != nullptr;
    if (told(steps, master, tells)) {
        return;
    }
    if (!tells && told(steps, master, true)) {
        std::fputs("The same life again broke no rule.\n", story_stream);
    }
    std::abort();
}

}  // namespace lives
