// Small files written whole.

#include "runtime/file_io.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(FileIo, file_is_close_on_exec_in_every_mode) {
    harness::put_file("/tmp/file", "one\n");
    for (const char* const mode : {"r", "rb"}) {
        const File file("/tmp/file", mode);
        ASSERT_TRUE(file) << mode;
        EXPECT_NE(fcntl(fileno(file.get()), F_GETFD) & FD_CLOEXEC, 0) << mode;
        std::array<char, 8> word{};
        EXPECT_TRUE(file_first_word(file.get(), word));
        EXPECT_STREQ(word.data(), "one");
    }
}

TEST_F(FileIo, file_is_no_file_unless_it_is_a_regular_one) {
    mkdir("/tmp/folder", 0755);
    ASSERT_EQ(mkfifo("/tmp/fifo", 0666), 0);
    ASSERT_EQ(symlink("/dev/zero", "/tmp/zero"), 0);
    for (const char* const path : {"/tmp/folder", "/tmp/fifo", "/tmp/zero", "/dev/zero"}) {
        for (const char* const mode : {"r", "rb"}) {
            EXPECT_FALSE(File(path, mode)) << path << " " << mode;
        }
    }
    EXPECT_TRUE(File("/proc/self/comm", "r"));
    EXPECT_TRUE(File("/sys/class/net/lo/mtu", "r"));
}

unsigned mode_of(const char* path) {
    struct stat about {};
    EXPECT_EQ(lstat(path, &about), 0) << path;
    EXPECT_TRUE(S_ISREG(about.st_mode)) << path;
    return about.st_mode & 07777U;
}

/// The files in /tmp. A folder is none: a checkout that lies in /tmp shows there as well.
std::set<std::string> names_in_tmp() {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator("/tmp")) {
        if (!entry.is_directory()) {
            names.insert(entry.path().filename());
        }
    }
    return names;
}

TEST_F(FileIo, rewrite_lets_nobody_else_write_whatever_the_umask) {
    harness::put_file("/tmp/open", "old");
    chmod("/tmp/open", 0666);
    for (const mode_t mask : {0U, 022U, 0177U}) {
        const mode_t before = umask(mask);
        EXPECT_TRUE(file_rewrite("/tmp/open", "x"));
        EXPECT_TRUE(file_rewrite("/tmp/secret", "x", file_readers::owner));
        umask(before);
        EXPECT_EQ(mode_of("/tmp/open"), 0644U & ~mask) << mask;
        EXPECT_EQ(mode_of("/tmp/secret"), 0600U) << mask;
    }
}

TEST_F(FileIo, rewrite_replaces_a_planted_link) {
    harness::put_file("/tmp/victim", "victim\n");
    for (const char* const target : {"/tmp/victim", "/tmp/dangling"}) {
        unlink("/tmp/status");
        ASSERT_EQ(symlink(target, "/tmp/status"), 0);
        EXPECT_TRUE(file_rewrite("/tmp/status", "ready\n"));
        EXPECT_EQ(mode_of("/tmp/status"), 0644U);
    }
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    unlink("/tmp/status");
    ASSERT_EQ(link("/tmp/victim", "/tmp/status"), 0);
    EXPECT_TRUE(file_rewrite("/tmp/status", "ready\n"));
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    EXPECT_THAT(names_in_tmp(), ElementsAre("status", "victim"));
}

TEST_F(FileIo, rewrite_replaces_a_fifo_without_waiting_for_its_reader) {
    ASSERT_EQ(mkfifo("/tmp/status", 0666), 0);
    EXPECT_TRUE(file_rewrite("/tmp/status", "ready\n"));
    EXPECT_EQ(file_text("/tmp/status"), "ready\n");
}

/// The name beside `path` that is tried first in this thread.
std::string first_new_path(const char* path) {
    const FileRewrite file(path);
    for (const std::string& name : names_in_tmp()) {
        if (name.find(".new") != std::string::npos) {
            return "/tmp/" + name;
        }
    }
    ADD_FAILURE() << "no file beside " << path;
    return "";
}

TEST_F(FileIo, rewrite_gets_past_what_stands_in_its_way) {
    const std::string beside = first_new_path("/tmp/status");
    harness::put_file("/tmp/victim", "victim\n");
    ASSERT_EQ(symlink("/tmp/victim", beside.c_str()), 0);
    EXPECT_TRUE(file_rewrite("/tmp/status", "one\n"));
    EXPECT_EQ(file_text("/tmp/victim"), "victim\n");
    EXPECT_EQ(mode_of("/tmp/status"), 0644U);

    ASSERT_EQ(mkdir(beside.c_str(), 0755), 0);
    harness::put_file(beside + "/kept", "");
    EXPECT_TRUE(file_rewrite("/tmp/status", "two\n"));
    EXPECT_EQ(file_text("/tmp/status"), "two\n");
    std::filesystem::remove_all(beside);

    harness::put_file(beside, "left by a worker that was killed");
    EXPECT_TRUE(file_rewrite("/tmp/status", "three\n"));
    EXPECT_EQ(file_text("/tmp/status"), "three\n");
    EXPECT_THAT(names_in_tmp(), ElementsAre("status", "victim"));
}

TEST_F(FileIo, rewrite_puts_nothing_in_place_that_is_not_its_own) {
    harness::put_file("/tmp/status", "old\n");
    const std::string beside = first_new_path("/tmp/status");
    FileRewrite file("/tmp/status");
    std::fputs("new\n", file.get());
    std::filesystem::remove(beside);
    harness::put_file(beside, "of another daemon");
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file_text("/tmp/status"), "old\n");
    EXPECT_EQ(file_text(beside), "of another daemon");
}

TEST_F(FileIo, rewrite_keeps_the_old_content_when_there_is_no_room) {
    ASSERT_EQ(mkdir("/tmp/full", 0755), 0);
    ASSERT_EQ(mount("full", "/tmp/full", "tmpfs", 0, "size=8192"), 0) << std::strerror(errno);
    EXPECT_TRUE(file_rewrite("/tmp/full/status", "old\n"));
    EXPECT_FALSE(file_rewrite("/tmp/full/status", std::string(100000, 'x')));
    EXPECT_EQ(file_text("/tmp/full/status"), "old\n");
    EXPECT_TRUE(std::filesystem::equivalent("/tmp/full/status",
                                            (*std::filesystem::directory_iterator("/tmp/full"))));
    EXPECT_TRUE(file_rewrite("/tmp/full/status", "new\n"));
    EXPECT_EQ(umount("/tmp/full"), 0);
}

TEST_F(FileIo, rewrite_drops_what_is_not_committed) {
    harness::put_file("/tmp/status", "old\n");
    {
        const FileRewrite file("/tmp/status");
        std::fputs("half", file.get());
    }
    EXPECT_EQ(file_text("/tmp/status"), "old\n");
    EXPECT_THAT(names_in_tmp(), ElementsAre("status"));
}

TEST_F(FileIo, rewrite_shows_a_reader_one_content_or_the_other) {
    const std::string ready = "ready\n";
    const std::string not_ready = "not ready\n";
    ASSERT_TRUE(file_rewrite("/tmp/status", ready));
    std::atomic<bool> done{false};
    std::set<std::string> seen;
    std::thread reader([&] {
        while (!done) {
            seen.insert(file_text("/tmp/status"));
        }
    });
    std::thread other([&] {
        for (int i = 0; i < 2000; ++i) {
            file_rewrite("/tmp/status", not_ready);
        }
    });
    for (int i = 0; i < 2000; ++i) {
        file_rewrite("/tmp/status", ready);
    }
    other.join();
    done = true;
    reader.join();
    seen.erase(ready);
    seen.erase(not_ready);
    EXPECT_THAT(seen, IsEmpty());
    EXPECT_THAT(names_in_tmp(), ElementsAre("status"));
}

}  // namespace
