// The lab's own stand-in tools against the kit that judges the tools of an image.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;
using testing::Not;

TEST(KitMesh, finds_nothing_wrong_with_the_tools_of_a_node_in_the_lab) {
    const std::string place =
        std::string(BACKHAUL_BUILD_DIR) + "/kit_mesh." + std::to_string(getpid());
    lab::folder_make(place);
    setenv("XDG_RUNTIME_DIR", place.c_str(), 1);
    ASSERT_EQ(lab_run("up line 2").code, 0);
    EXPECT_EQ(lab_run("do wait-until e1 status ready within 100").code, 0);
    EXPECT_EQ(lab_run("shell e1 -c 'pkill -9 backhaul_monito'").code, 0);
    // By its standard input: a node need not see the checkout.
    const Ended ended = lab_run("shell e1 <" BACKHAUL_SOURCE_DIR "/packaging/kit/backhaul_kit");
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_THAT(ended.out, Not(HasSubstr("WRONG")));
    EXPECT_THAT(ended.out, HasSubstr("ok         agent: ath10: configured, disabled is 0\n"));
    EXPECT_THAT(ended.out, HasSubstr("ok         cipher: openssl reads what it has enciphered\n"));
    EXPECT_EQ(lab_run("down").code, 0);
    lab::folder_remove(place);
}

}  // namespace
