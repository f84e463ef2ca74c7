// Where a mesh listens.
#include "lab/program/socket_place.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "tests/harness/sandbox.h"

namespace lab {
namespace {

class SocketPlace : public harness::SandboxTest {
protected:
    std::string path_ = "/tmp/place/control";
    std::string error_;
};

TEST_F(SocketPlace, is_below_the_run_time_folder_or_below_tmp) {
    EXPECT_EQ(socket_path("/run/user/1000", 1000), "/run/user/1000/backhaul_lab/control");
    EXPECT_EQ(socket_path(nullptr, 1000), "/tmp/backhaul_lab-1000/control");
    EXPECT_EQ(socket_path("", 0), "/tmp/backhaul_lab-0/control");
    EXPECT_EQ(socket_path("here", 7), "/tmp/backhaul_lab-7/control");
}

TEST_F(SocketPlace, is_made_private) {
    ASSERT_TRUE(socket_folder_make(path_, error_)) << error_;
    struct stat found {};
    ASSERT_EQ(stat("/tmp/place", &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0700U);
}

TEST_F(SocketPlace, that_others_may_enter_is_refused) {
    ASSERT_EQ(mkdir("/tmp/place", 0755), 0);
    EXPECT_FALSE(socket_folder_make(path_, error_));
    EXPECT_EQ(error_,
              "/tmp/place is not a folder of your own with mode 0700: name another --socket");
}

TEST_F(SocketPlace, behind_a_link_is_refused) {
    ASSERT_EQ(mkdir("/tmp/other", 0700), 0);
    ASSERT_EQ(symlink("/tmp/other", "/tmp/place"), 0);
    EXPECT_FALSE(socket_folder_make(path_, error_));
}

TEST_F(SocketPlace, has_room_for_one_mesh) {
    ASSERT_TRUE(socket_folder_make(path_, error_)) << error_;
    const int first = socket_listen(path_, error_);
    ASSERT_GE(first, 0) << error_;
    EXPECT_EQ(socket_listen(path_, error_), -1);
    EXPECT_EQ(error_,
              "a mesh is already up at /tmp/place/control: end it with `backhaul_lab down "
              "--socket /tmp/place/control`");
    close(first);
}

TEST_F(SocketPlace, is_taken_over_from_a_mesh_that_died) {
    ASSERT_TRUE(socket_folder_make(path_, error_)) << error_;
    close(socket_listen(path_, error_));
    const int next = socket_listen(path_, error_);
    EXPECT_GE(next, 0) << error_;
    close(next);
}

TEST_F(SocketPlace, that_is_empty_is_told_with_a_command_that_helps) {
    EXPECT_EQ(no_mesh_text(path_, ECONNREFUSED),
              "no mesh is up (/tmp/place/control: Connection refused): start one with "
              "`backhaul_lab up line 3 --socket /tmp/place/control`");
}

TEST_F(SocketPlace, lets_nobody_else_in) {
    ASSERT_TRUE(socket_folder_make(path_, error_)) << error_;
    const int listener = socket_listen(path_, error_);
    ASSERT_GE(listener, 0) << error_;
    struct stat folder {};
    ASSERT_EQ(stat("/tmp/place", &folder), 0);
    EXPECT_EQ(folder.st_mode & 0777U, 0700U);
    EXPECT_EQ(folder.st_uid, geteuid());
    close(listener);
}

TEST_F(SocketPlace, has_a_log_that_no_mesh_beside_it_writes) {
    EXPECT_EQ(server_log_path(path_), "/tmp/place/control.log");
    EXPECT_NE(server_log_path(path_), server_log_path("/tmp/place/other"));
}

TEST_F(SocketPlace, with_too_long_a_path_is_refused) {
    EXPECT_EQ(socket_listen("/tmp/" + std::string(200, 'x'), error_), -1);
    EXPECT_TRUE(error_.starts_with("the path of the socket is too long")) << error_;
}

}  // namespace
}  // namespace lab
