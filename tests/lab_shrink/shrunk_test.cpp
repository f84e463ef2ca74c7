// Random trouble of eight nodes that a daemon fails, which is wrong in one place, becomes a
// scenario of a few lines that it fails as well, and that the sound daemon passes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;

struct Fault {
    const char* daemon;
    const char* rule;
};

class Shrunk : public testing::TestWithParam<Fault> {
protected:
    void SetUp() override {
        folder = std::string(BACKHAUL_BUILD_DIR) + "/shrunk_test." + GetParam().daemon;
        lab::folder_remove(folder);
        lab::folder_make(folder);
        setenv("BACKHAUL_EVIDENCE", folder.c_str(), 1);
    }

    void TearDown() override {
        unsetenv("BACKHAUL_DAEMON");
        unsetenv("BACKHAUL_EVIDENCE");
        lab::folder_remove(folder);
    }

    static void daemon_set(const std::string& name) {
        setenv("BACKHAUL_DAEMON", (BACKHAUL_BUILD_DIR "/tests/broken/" + name).c_str(), 1);
    }

    std::string folder;
};

TEST_P(Shrunk, to_ten_lines_at_most) {
    const std::string file = folder + "/short.scn";
    daemon_set(GetParam().daemon);
    const Ended ended = lab_run("shrink chaos --nodes 8 --hours 1 --seed 1 --rule " +
                                std::string(GetParam().rule) + " --output " + file);
    ASSERT_EQ(ended.code, 0) << ended.out;
    std::string text;
    ASSERT_TRUE(lab::file_read(file, &text));
    EXPECT_LE(std::ranges::count(text, '\n'), 10) << text;

    const Ended broken = lab_run("check " + file);
    EXPECT_EQ(broken.code, 1) << broken.out;
    EXPECT_THAT(broken.out, HasSubstr(std::string(": ") + GetParam().rule));
    unsetenv("BACKHAUL_DAEMON");
    const Ended sound = lab_run("check " + file);
    EXPECT_EQ(sound.code, 0) << text << sound.out;
}

// A reaction left out, a timeout that is wrong, and two steps of a reaction in the wrong order.
INSTANTIATE_TEST_SUITE_P(All, Shrunk,
                         testing::Values(Fault{"no_reconnect", "liveness"},
                                         Fault{"no_timeout", "time-limits"},
                                         Fault{"late_clear", "time-limits"}),
                         [](const auto& one) { return std::string(one.param.daemon); });

}  // namespace
