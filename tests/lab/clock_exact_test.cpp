// Moved exactly: what the owner must not miss when a node's account says that it rests.
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <optional>
#include <vector>

#include "lab/clock/clock_control.h"
#include "lab/clock/processor_place.h"
#include "lab/tools/air_protocol.h"
#include "tests/harness/child.h"
#include "tests/harness/sandbox.h"

namespace {

constexpr std::uint32_t START = 1'700'000'000;

// Waits as for a disk: in a sleep that is none of the node's.
void wait_for_the_machine() {
    const auto child = static_cast<pid_t>(
        syscall(SYS_clone, CLONE_VFORK | SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (child == 0) {
        const timespec pause{0, 50'000'000};
        syscall(SYS_nanosleep, &pause, nullptr);
        syscall(SYS_exit_group, 0);
    }
    waitpid(child, nullptr, 0);
}

class ExactClock : public harness::SandboxTest {};

TEST_F(ExactClock, waits_for_a_tool_that_was_answered_and_then_waits_for_the_machine) {
    const auto place = lab::ProcessorPlace::take();
    if (place == nullptr) {
        GTEST_SKIP() << "this machine allows no real-time scheduling to who runs the test";
    }
    harness::clock_start(START, lab::CLOCK_HELD);
    lab::MovedClock clock;
    clock.be_exact(place.get());
    std::string error;
    ASSERT_TRUE(clock.add_node("", error, {getpid()})) << error;
    const int listener = lab::air_listen("");
    ASSERT_GE(listener, 0);
    clock.at_rest = [listener] {
        std::vector<int> served;
        if (lab::air_is_pending(listener)) {
            lab::air_serve_one(listener, [](const lab::AirRequest&) { return lab::AirReply{}; });
            served.push_back(0);
        }
        return served;
    };
    std::optional<harness::Child> tool;
    {
        const lab::NodePriority priority;
        tool.emplace([] {
            lab::air_ask("", {"iwconfig", {"ath0"}});
            wait_for_the_machine();
            harness::put_file("/tmp/end", std::to_string(time(nullptr)));
        });
    }
    EXPECT_TRUE(clock.advance(3, error)) << error;
    EXPECT_EQ(harness::file_text("/tmp/end"), std::to_string(START)) << "before time moved";
    close(listener);
}

}  // namespace
