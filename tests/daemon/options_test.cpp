// The one-shot hint of a start.

#include "daemon/options.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "runtime/runtime_block.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_is_there;

constexpr char HINT[] = "/tmp/backhaul_init_conf";

class StartHint : public harness::SandboxTest {
protected:
    void SetUp() override {
        SandboxTest::SetUp();
        runtime.intf_init = 1;
    }
    void TearDown() override {
        runtime.intf_init = 1;
        SandboxTest::TearDown();
    }

    /// `intf_init` after a start with that hint, which is gone afterwards.
    static int intf_init_after(const std::string& hint) {
        runtime.intf_init = 1;
        harness::put_file(HINT, hint);
        intf_init_skip();
        EXPECT_FALSE(file_is_there(HINT)) << hint;
        return runtime.intf_init;
    }
};

TEST_F(StartHint, clears_intf_init_when_the_keyword_ends_with_its_line) {
    EXPECT_EQ(intf_init_after("intf_init_skip\n"), 0);
    EXPECT_EQ(intf_init_after("intf_init_skip "), 0);
}

TEST_F(StartHint, has_no_effect_when_the_keyword_ends_the_file) {
    EXPECT_EQ(intf_init_after("intf_init_skip"), 1);
    EXPECT_EQ(intf_init_after("other intf_init_skip"), 1);
}

TEST_F(StartHint, counts_any_word_of_the_file) {
    EXPECT_EQ(intf_init_after("other\nintf_init_skip\nmore\n"), 0);
    EXPECT_EQ(intf_init_after("intf_init_skip other"), 0);
}

TEST_F(StartHint, has_no_effect_for_other_words) {
    EXPECT_EQ(intf_init_after(""), 1);
    EXPECT_EQ(intf_init_after("\n"), 1);
    EXPECT_EQ(intf_init_after("intf_init\nskip\nINTF_INIT_SKIP\nintf_init_skips\n"), 1);
}

TEST_F(StartHint, does_not_take_the_tail_of_a_long_word_for_the_keyword) {
    for (size_t length = 50; length < 140; ++length) {
        EXPECT_EQ(intf_init_after(std::string(length, 'x') + "intf_init_skip\n"), 1) << length;
    }
}

TEST_F(StartHint, changes_nothing_when_there_is_none) {
    intf_init_skip();
    EXPECT_EQ(runtime.intf_init, 1);
    runtime.intf_init = 0;
    intf_init_skip();
    EXPECT_EQ(runtime.intf_init, 0);
}

TEST_F(StartHint, ends_on_a_read_error) {
    mkdir(HINT, 0755);
    intf_init_skip();
    EXPECT_EQ(runtime.intf_init, 1);
}

TEST_F(StartHint, has_no_effect_unless_it_is_a_file) {
    ASSERT_EQ(mkfifo(HINT, 0666), 0);
    intf_init_skip();
    EXPECT_EQ(runtime.intf_init, 1);
    unlink(HINT);
    ASSERT_EQ(symlink("/dev/zero", HINT), 0);
    intf_init_skip();
    EXPECT_EQ(runtime.intf_init, 1);
}

}  // namespace
