// The role file, and the role that a word of it stands for.

#include "runtime/mode_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;

constexpr char ROLE[] = "/tmp/backhaul_mode_change";

class RoleFile : public harness::SandboxTest {
protected:
    static std::string word_of(const std::string& content) {
        harness::put_file(ROLE, content);
        std::array<char, MODE_WORD_SIZE> word;
        word.fill('x');
        EXPECT_TRUE(mode_file_read(word));
        EXPECT_EQ(file_text(ROLE), content) << "the file stays";
        return word.data();
    }
};

TEST_F(RoleFile, holds_one_word_with_a_line_end) {
    mode_file_write("master");
    EXPECT_EQ(file_text(ROLE), "master\n");
    mode_file_write("slave");
    EXPECT_EQ(file_text(ROLE), "slave\n");
}

TEST_F(RoleFile, gives_its_first_word) {
    EXPECT_EQ(word_of("master\n"), "master");
    EXPECT_EQ(word_of("slave"), "slave") << "also without a line end";
    EXPECT_EQ(word_of("\n slave master\n"), "slave");
    EXPECT_EQ(word_of(""), "");
    EXPECT_EQ(word_of(std::string(100, 'm') + "\n"), std::string(31, 'm'));
}

TEST_F(RoleFile, gives_nothing_when_there_is_none) {
    std::array<char, MODE_WORD_SIZE> word;
    word.fill('x');
    EXPECT_FALSE(mode_file_read(word));
}

TEST_F(RoleFile, gives_nothing_unless_it_is_a_file) {
    std::array<char, MODE_WORD_SIZE> word{};
    ASSERT_EQ(mkfifo(ROLE, 0666), 0);
    EXPECT_FALSE(mode_file_read(word));
    unlink(ROLE);
    ASSERT_EQ(symlink("/dev/zero", ROLE), 0);
    EXPECT_FALSE(mode_file_read(word));
    mode_file_write("slave");
    EXPECT_EQ(file_text(ROLE), "slave\n");
}

TEST_F(RoleFile, is_skipped_silently_when_it_cannot_be_written) {
    mkdir(ROLE, 0755);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    mode_file_write("master");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ModeRole, is_root_for_master_and_extender_for_slave) {
    EXPECT_EQ(mode_role("master", 0), 1);
    EXPECT_EQ(mode_role("master", 1), 1);
    EXPECT_EQ(mode_role("slave", 0), 0);
    EXPECT_EQ(mode_role("slave", 1), 0);
}

TEST(ModeRole, stays_as_it_is_for_any_other_word) {
    for (const char* const word : {"", "Master", "SLAVE", "masters", "maste", "1"}) {
        EXPECT_EQ(mode_role(word, 0), 0) << word;
        EXPECT_EQ(mode_role(word, 1), 1) << word;
    }
}

}  // namespace
