// System calls that the kernel refuses.

#include <gmock/gmock.h>

#include <atomic>
#include <memory>

#include "tests/process/call_gate.h"
#include "tests/process/fault_story.h"

namespace {

using testing::IsEmpty;

class FaultyCalls : public FaultStory {
protected:
    void start_gated() {
        add_extender();
        gate_ = std::make_unique<CallGate>(router().node());
        clock().also_busy = [this] {
            return gate_->is_busy();
        };
        start_whole(gate_->through());
    }

    void TearDown() override {
        router().daemon().stop();
        clock().also_busy = {};
        gate_.reset();
        FaultStory::TearDown();
    }

    CallGate& gate() {
        return *gate_;
    }

private:
    std::unique_ptr<CallGate> gate_;
};

TEST_F(FaultyCalls, no_process_left) {
    start_gated();
    std::atomic<int> refused{0};
    gate().decide([&refused](const GatedCall& call) {
        refused += call.name == "process" ? 1 : 0;
        return call.name == "process" ? call_verdict::refuse : call_verdict::go;
    });
    router().skip();
    live();
    EXPECT_GT(refused, 10);
    EXPECT_THAT(router().new_shell(), IsEmpty());
    const pid_t worker = router().daemon().worker();
    expect_event_handled();
    EXPECT_NE(worker, 0);
    EXPECT_EQ(router().daemon().worker(), worker);
    gate().decide({});
    expect_whole();
}

}  // namespace
