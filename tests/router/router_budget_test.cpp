// What the daemon may cost a router: its size, its libraries, its memory, how often it wakes up and
// what it writes while nothing happens.

#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/program.h"
#include "tests/harness/story.h"
#include "tests/router/memory_reading.h"

namespace {

using testing::AnyOf;
using testing::Each;
using testing::IsEmpty;
using testing::Not;

constexpr char DAEMON[] = BACKHAUL_BUILD_DIR "/router/backhaul_monitor";
constexpr long STRIPPED_BYTES = 72 * 1024;
constexpr long ANONYMOUS_KB = 400;
// What the daemon must give SQLite, when that takes it.
constexpr long LOOKASIDE_KB = 400;
constexpr long STACK_KB = 512;
// Of a stack, the part that the deepest way through the daemon and SQLite may take.
constexpr long STACK_TOUCHED_KB = STACK_KB / 4;

class RouterBudget : public harness::Story {
protected:
    void SetUp() override {
        setenv("BACKHAUL_DAEMON", DAEMON, 1);
    }
    void TearDown() override {
        Story::TearDown();
        unsetenv("BACKHAUL_DAEMON");
    }

    pid_t worker() {
        return router().daemon().worker();
    }
    pid_t supervisor() {
        return router().daemon().supervisor();
    }
    long awake() {
        return budget::times_awake(worker()) + budget::times_awake(supervisor());
    }
    long written() {
        return budget::bytes_written(worker()) + budget::bytes_written(supervisor());
    }
    // Whether somebody waits for the very next second, as the timer thread does for a timeout.
    bool next_second_is_awaited() {
        const std::vector<lab::Sleeper> sleepers = clock().sleepers();
        return std::any_of(sleepers.begin(), sleepers.end(), [this](const lab::Sleeper& sleeper) {
            return sleeper.deadline == now() + 1;
        });
    }

    // The 30-second wait for announcements ends in real time, as often as a slow machine lets it.
    static constexpr long ANNOUNCEMENT_WAITS = 2;
};

TEST(RouterProgram, is_no_larger_than_its_budget_when_stripped) {
    std::string error;
    ASSERT_TRUE(lab::run_program({"strip", "-o", "/tmp/stripped", DAEMON}, "", error)) << error;
    struct stat about {};
    ASSERT_EQ(stat("/tmp/stripped", &about), 0);
    RecordProperty("bytes", std::to_string(about.st_size));
    EXPECT_LE(about.st_size, STRIPPED_BYTES);
}

TEST(RouterProgram, needs_the_c_library_and_sqlite_alone) {
    const std::string line =
        "readelf -d " + std::string(DAEMON) + " | sed -n 's/.*(NEEDED).*\\[\\(.*\\)\\].*/\\1/p'";
    FILE* const reader = popen(line.c_str(), "r");
    ASSERT_NE(reader, nullptr);
    std::vector<std::string> libraries;
    for (char name[256]; std::fgets(name, sizeof name, reader) != nullptr;) {
        libraries.emplace_back(name, std::strcspn(name, "\n"));
    }
    pclose(reader);
    EXPECT_THAT(libraries, Not(IsEmpty()));
    EXPECT_THAT(libraries, Each(AnyOf("libsqlite3.so.0", "libc.so.6",
                                      testing::MatchesRegex("ld-.*\\.so\\.[0-9]"))));
}

TEST_F(RouterBudget, keeps_its_memory_within_the_budget_as_a_ready_extender) {
    start_ready_extender();
    const long all = budget::anonymous_kb(worker()) + budget::anonymous_kb(supervisor());
    std::printf("anonymous: worker %ld KB, supervisor %ld KB\n", budget::anonymous_kb(worker()),
                budget::anonymous_kb(supervisor()));
    EXPECT_GT(all, 0);
    const bool has_lookaside = sqlite3_compileoption_used("OMIT_LOOKASIDE") == 0;
    EXPECT_LE(all, ANONYMOUS_KB + (has_lookaside ? LOOKASIDE_KB : 0));
}

TEST_F(RouterBudget, gives_each_thread_a_stack_of_its_own_size_and_uses_a_quarter_at_most) {
    start_ready_extender();
    driver().lost("ath0");
    advance(300);
    const std::vector<budget::Stack> stacks = budget::thread_stacks(worker());
    // The first thread's stack is the kernel's.
    EXPECT_EQ(stacks.size(), router().daemon().worker_threads().size() - 1);
    for (const budget::Stack& stack : stacks) {
        std::printf("stack: %ld KB, touched %ld KB\n", stack.size, stack.touched);
        EXPECT_EQ(stack.size, STACK_KB);
        EXPECT_LE(stack.touched, STACK_TOUCHED_KB);
    }
}

TEST_F(RouterBudget, sleeps_while_no_timeout_is_pending) {
    start_extender();
    // Its first pause: nothing is watched yet.
    ASSERT_FALSE(next_second_is_awaited());
    const long before = awake();
    const long bytes = written();
    advance(9);
    EXPECT_LE(awake() - before, ANNOUNCEMENT_WAITS);
    EXPECT_EQ(written(), bytes);
}

TEST_F(RouterBudget, wakes_once_a_second_while_a_timeout_is_pending) {
    start_extender();
    advance(11);
    ASSERT_TRUE(next_second_is_awaited());
    const long before = awake();
    const long bytes = written();
    advance(100);
    std::printf("awake %ld times in 100 s\n", awake() - before);
    EXPECT_GE(awake() - before, 100);
    EXPECT_LE(awake() - before, 100 + ANNOUNCEMENT_WAITS);
    EXPECT_EQ(written(), bytes);
}

}  // namespace
