// The flow log: its lines, its rotation, and what it does when it cannot be written.

#include "runtime/flow_log.h"

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <string>

#include "runtime/runtime_block.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_is_there;
using harness::file_text;
using testing::Each;
using testing::ElementsAre;

constexpr char LIVE[] = "/var/log/backhaul_flow_log";
constexpr char OLD[] = "/var/log/backhaul_flow_log.1";

class FlowLog : public harness::SandboxTest {
protected:
    void SetUp() override {
        SandboxTest::SetUp();
        setenv("TZ", "UTC0", 1);
        tzset();
        harness::clock_start(1000000000);
        runtime.flow_log_lines = 0;
    }

    /// Makes `count` calls numbered from `first`.
    static void write_numbers(int first, int count) {
        for (int i = first; i < first + count; ++i) {
            flow_log("%d\n", i);
        }
    }

    /// Numbers in a file of such calls: first, last and how many, or "" when a line is no number
    /// or out of order.
    static std::string numbers(const char* path) {
        const auto lines = harness::without_dates(file_text(path));
        if (lines.empty()) {
            return "";
        }
        const int first = std::atoi(lines.front().c_str());
        for (size_t i = 0; i < lines.size(); ++i) {
            if (lines[i] != std::to_string(first + static_cast<int>(i))) {
                return "";
            }
        }
        return std::to_string(first) + ".." + lines.back();
    }
};

TEST_F(FlowLog, line_is_24_characters_of_ctime_a_colon_and_the_text) {
    flow_log("%s : Enter\n", "backhaul_monitor");
    harness::clock_start(1000000007);
    flow_log("number %d of %s\n", 2, "two");
    EXPECT_EQ(file_text(LIVE),
              "Sun Sep  9 01:46:40 2001 : backhaul_monitor : Enter\n"
              "Sun Sep  9 01:46:47 2001 : number 2 of two\n");
}

TEST_F(FlowLog, date_is_local_time) {
    setenv("TZ", "EAST-2", 1);
    tzset();
    flow_log("x\n");
    EXPECT_EQ(file_text(LIVE), "Sun Sep  9 03:46:40 2001 : x\n");
}

TEST_F(FlowLog, text_without_a_line_end_runs_on_into_the_next_entry) {
    flow_log("no end");
    flow_log("next\n");
    EXPECT_EQ(file_text(LIVE),
              "Sun Sep  9 01:46:40 2001 : no endSun Sep  9 01:46:40 2001 : next\n");
}

TEST_F(FlowLog, keeps_300_calls_in_the_first_file) {
    write_numbers(1, 300);
    EXPECT_EQ(numbers(LIVE), "1..300");
    EXPECT_FALSE(file_is_there(OLD));
}

TEST_F(FlowLog, rotates_before_it_writes_the_301st_call) {
    write_numbers(1, 301);
    EXPECT_EQ(numbers(OLD), "1..300");
    EXPECT_EQ(numbers(LIVE), "301..301");
    EXPECT_EQ(runtime.flow_log_lines, 0);
}

TEST_F(FlowLog, rotates_again_after_301_more_and_replaces_the_older_file) {
    write_numbers(1, 601);
    EXPECT_EQ(numbers(OLD), "1..300");
    EXPECT_EQ(numbers(LIVE), "301..601");
    write_numbers(602, 1);
    EXPECT_EQ(numbers(OLD), "301..601");
    EXPECT_EQ(numbers(LIVE), "602..602");
}

TEST_F(FlowLog, counts_calls_and_not_lines) {
    for (int i = 0; i < 300; ++i) {
        flow_log("a\nb\n");
    }
    EXPECT_FALSE(file_is_there(OLD));
    flow_log("no line end");
    EXPECT_TRUE(file_is_there(OLD));
}

TEST_F(FlowLog, adds_to_the_file_of_the_worker_before) {
    write_numbers(1, 10);
    runtime.flow_log_lines = 0;
    write_numbers(11, 300);
    EXPECT_EQ(numbers(LIVE), "1..310");
    EXPECT_FALSE(file_is_there(OLD));
}

TEST_F(FlowLog, loses_an_entry_silently_but_counts_it_when_the_file_cannot_be_opened) {
    mkdir(LIVE, 0755);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    flow_log("lost\n");
    flow_log("lost\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(runtime.flow_log_lines, 2);
    rmdir(LIVE);
    flow_log("kept\n");
    EXPECT_THAT(harness::flow_log_lines(), ElementsAre("kept"));
}

TEST_F(FlowLog, follows_no_link_and_waits_for_no_fifo) {
    harness::put_file("/tmp/victim", "victim\n");
    ASSERT_EQ(symlink("/tmp/victim", LIVE), 0);
    flow_log("lost\n");
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    unlink(LIVE);
    ASSERT_EQ(mkfifo(LIVE, 0666), 0);
    flow_log("lost\n");
    unlink(LIVE);
    flow_log("kept\n");
    EXPECT_THAT(harness::flow_log_lines(), ElementsAre("kept"));
}

TEST_F(FlowLog, writes_nothing_to_the_console) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    flow_log("text\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

void* log_100_entries(void*) {
    for (int i = 0; i < 100; ++i) {
        flow_log("%s : an entry of some length, as they are\n", __func__);
    }
    return nullptr;
}

TEST_F(FlowLog, entries_of_several_threads_stay_whole) {
    std::array<pthread_t, 3> threads{};
    for (auto& thread : threads) {
        ASSERT_EQ(pthread_create(&thread, nullptr, log_100_entries, nullptr), 0);
    }
    for (const auto& thread : threads) {
        pthread_join(thread, nullptr);
    }
    const auto lines = harness::flow_log_lines();
    EXPECT_EQ(lines.size(), 300U);
    EXPECT_THAT(lines, Each("log_100_entries : an entry of some length, as they are"));
}

}  // namespace
