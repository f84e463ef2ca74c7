// Memory used up: each allocation of the whole daemon in turn refused, at its start and in its
// life.

#include <gmock/gmock.h>

#include "tests/process/fault_story.h"
#include "tests/process/scarce_memory.h"

namespace {

using testing::HasSubstr;

class ScarceMemory : public FaultStory {
protected:
    void SetUp() override {
        lab::NodeOptions options;
        options.daemon = std::string(BACKHAUL_BUILD_DIR) + "/tests/scarce_memory";
        add_extender(options).start();
    }
    std::string refused() {
        return router().file(SCARCE_REFUSED);
    }
    /// Lives and new workers until nothing is refused any more that was not before.
    void live_while_scarce() {
        constexpr int LIVES_MAX = 40;
        router().put_file(SCARCE_NOW, "");
        std::string before = "none yet";
        for (int life = 0; life < LIVES_MAX && refused() != before; ++life) {
            before = refused();
            live();
            router().daemon().worker() != 0 ? next_worker() : advance(2);
            live();
        }
        EXPECT_EQ(refused(), before) << "in the last life something new was refused";
        router().remove_file(SCARCE_NOW);
    }
};

TEST_F(ScarceMemory, is_survived_allocation_by_allocation) {
    start_whole_running();
    live_while_scarce();
    for (const char* kind : {"calloc\n", "fdopen\n", "popen\n", "sqlite\n", "thread\n"}) {
        EXPECT_THAT(refused(), HasSubstr(kind));
    }
    next_worker();
    expect_whole();
}

}  // namespace
