// Small files written whole.

#include "runtime/file_io.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;

class FileIo : public harness::SandboxTest {};

TEST_F(FileIo, rewrite_makes_the_content_the_whole_of_the_file) {
    harness::put_file("/tmp/status", "something longer\nthan that\n");
    EXPECT_TRUE(file_rewrite("/tmp/status", "ready\n"));
    EXPECT_EQ(file_text("/tmp/status"), "ready\n");
    EXPECT_TRUE(file_rewrite("/tmp/status", ""));
    EXPECT_EQ(file_text("/tmp/status"), "");
    EXPECT_TRUE(file_rewrite("/tmp/new", "x"));
    EXPECT_EQ(file_text("/tmp/new"), "x");
}

TEST_F(FileIo, rewrite_makes_a_file_that_others_may_read) {
    const mode_t before = umask(022);
    EXPECT_TRUE(file_rewrite("/tmp/status", "ready\n"));
    umask(before);
    struct stat about {};
    ASSERT_EQ(stat("/tmp/status", &about), 0);
    EXPECT_EQ(about.st_mode & 0777U, 0644U);
}

TEST_F(FileIo, rewrite_fails_when_the_file_cannot_be_opened) {
    mkdir("/tmp/folder", 0755);
    EXPECT_FALSE(file_rewrite("/tmp/folder", "x"));
    EXPECT_FALSE(file_rewrite("/tmp/missing/file", "x"));
}

TEST_F(FileIo, exists_is_1_for_files_and_folders_and_else_0) {
    harness::put_file("/tmp/file", "");
    EXPECT_EQ(file_exists("/tmp/file"), 1);
    EXPECT_EQ(file_exists("/tmp"), 1);
    EXPECT_EQ(file_exists("/tmp/none"), 0);
}

TEST_F(FileIo, stream_modes_append_truncate_and_read) {
    {
        const File file("/tmp/file", "w");
        std::fputs("one\n", file.get());
    }
    {
        const File file("/tmp/file", "a+");
        std::fputs("two\n", file.get());
    }
    EXPECT_EQ(file_text("/tmp/file"), "one\ntwo\n");
    {
        const File file("/tmp/file", "wb");
        std::fputs("three\n", file.get());
    }
    EXPECT_EQ(file_text("/tmp/file"), "three\n");
}

}  // namespace
