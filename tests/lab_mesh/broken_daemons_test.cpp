// Random trouble finds a daemon that is broken in one place (broken/CMakeLists.txt) within an hour
// of the mesh, and nothing in the sound one that goes through the same.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;

class Chaos : public testing::Test {
protected:
    void SetUp() override {
        folder = std::string(BACKHAUL_BUILD_DIR) + "/broken_test." +
                 testing::UnitTest::GetInstance()->current_test_info()->name();
        setenv("BACKHAUL_EVIDENCE", folder.c_str(), 1);
    }

    void TearDown() override {
        unsetenv("BACKHAUL_DAEMON");
        unsetenv("BACKHAUL_EVIDENCE");
        lab::folder_remove(folder);
    }

    std::string folder;
};

// The rules that have to be named are those that tell what is wrong, not what follows from it.
struct Broken {
    const char* daemon;
    const char* rule;
};

class ChaosFinds : public Chaos, public testing::WithParamInterface<Broken> {};

TEST_P(ChaosFinds, the_broken_daemon) {
    const auto& [daemon, rule] = GetParam();
    setenv("BACKHAUL_DAEMON", (std::string(BACKHAUL_BUILD_DIR "/tests/broken/") + daemon).c_str(),
           1);
    const Ended ended = lab_run(std::string("chaos --nodes 8 --hours 1 --seed 1 --until ") + rule);
    EXPECT_EQ(ended.code, 1) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr(std::string(": ") + rule + " e"));
}

INSTANTIATE_TEST_SUITE_P(
    All, ChaosFinds,
    testing::Values(Broken{"no_reconnect", "liveness"}, Broken{"no_backup", "time-limits"},
                    Broken{"backup_stays", "one-uplink"}, Broken{"no_parking", "one-uplink"},
                    Broken{"no_timeout", "time-limits"}, Broken{"broken_table", "transitions"}),
    [](const auto& one) { return std::string(one.param.daemon); });

TEST_F(Chaos, finds_nothing_in_the_sound_daemon) {
    const Ended ended = lab_run("chaos --nodes 8 --hours 1 --seed 1");
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr("chaos-1: good"));
}

}  // namespace
