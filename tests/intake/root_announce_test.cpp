// The extender's listener: the root's address and its file, and the ways in which it cannot start.

#include "intake/root_announce.h"

#include "runtime/runtime_block.h"
#include "runtime/thread_start.h"
#include "tests/msg/msg_fixture.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <optional>

namespace {

using harness::exit_code;
using harness::file_is_there;
using harness::file_text;
using lab::message_seal;

constexpr char FILE_PATH[] = "/tmp/rootap_ip";
constexpr char HERE[] = "192.168.1.10";
const Journal ENTERED = {"loop_slave_handle : Enter"};

/// The listener as a worker runs it: a thread of its own, which only the end of the process stops.
[[noreturn]] void listener_run() {
    thread_start(loop_slave_handle, nullptr);
    for (;;) {
        pause();
    }
}

class RootAnnounce : public MsgTest {
protected:
    void TearDown() override {
        listener_.reset();
        MsgTest::TearDown();
    }

    static void handle(const std::string& bytes, const char* from) {
        in_addr sender{};
        sender.s_addr = inet_addr(from);
        root_announce_handle(
            std::span(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()), sender);
    }
    static void handle_word(const std::string& word, const char* from) {
        handle(message_seal(word, "mesh"), from);
    }
    static std::string root_ip() {
        return runtime.rootap_ip.get().data();
    }

    /// Runs the listener in a process of its own.
    void start_listener() {
        intf_add("eth", ETHERNET, BAND_NONE);
        listener_.emplace(listener_run);
        ASSERT_TRUE(harness::wait_until([] { return port_is_taken(); }));
        expect_journal({ENTERED});
    }
    static bool port_is_taken() {
        return file_text("/proc/net/udp").find(":8CA2 ") != std::string::npos;
    }
    /// Descriptor number of the listener's socket.
    std::string socket_number() const {
        for (int fd = 3; fd < 100; ++fd) {
            std::array<char, 64> target{};
            const std::string path =
                "/proc/" + std::to_string(listener_->pid()) + "/fd/" + std::to_string(fd);
            if (readlink(path.c_str(), target.data(), target.size() - 1) > 0 &&
                std::string(target.data()).find("socket") == 0) {
                return std::to_string(fd);
            }
        }
        return "none";
    }

    std::optional<harness::Child> listener_;
};

TEST_F(RootAnnounce, notes_the_root_that_it_hears_first) {
    handle_word("ImRootAP", "192.168.1.20");
    EXPECT_EQ(root_ip(), "192.168.1.20");
    EXPECT_EQ(file_text(FILE_PATH), "192.168.1.20\n");
    expect_journal({deciphered()});
}

TEST_F(RootAnnounce, writes_the_file_once_for_one_root) {
    handle_word("ImRootAP", "192.168.1.20");
    unlink(FILE_PATH);
    handle_word("ImRootAP", "192.168.1.20");
    EXPECT_FALSE(file_is_there(FILE_PATH));
    EXPECT_EQ(root_ip(), "192.168.1.20");
}

TEST_F(RootAnnounce, follows_a_second_root) {
    handle_word("ImRootAP", "192.168.1.200");
    handle_word("ImRootAP", "192.168.1.20");
    EXPECT_EQ(root_ip(), "192.168.1.20");
    EXPECT_EQ(file_text(FILE_PATH), "192.168.1.20\n");
    handle_word("ImRootAP", "192.168.1.2");
    EXPECT_EQ(root_ip(), "192.168.1.2");
    EXPECT_EQ(file_text(FILE_PATH), "192.168.1.2\n");
}

TEST_F(RootAnnounce, holds_the_longest_address) {
    handle_word("ImRootAP", "255.255.255.254");
    EXPECT_EQ(root_ip(), "255.255.255.254");
    EXPECT_EQ(file_text(FILE_PATH), "255.255.255.254\n");
}

TEST_F(RootAnnounce, ignores_every_other_word) {
    for (const char* const word : {"UPLINKSCAN", "imrootap", "ImRootAP2", "ImRootA", ""}) {
        handle_word(word, "192.168.1.20");
    }
    handle(message_seal("ImRootAP", "other"), "192.168.1.20");
    handle("ImRootAP", "192.168.1.20");
    handle(std::string(256, 'g'), "192.168.1.20");
    EXPECT_EQ(root_ip(), "");
    EXPECT_FALSE(file_is_there(FILE_PATH));
}

TEST_F(RootAnnounce, takes_the_first_word_of_a_longer_text) {
    handle_word("ImRootAP and more", "192.168.1.20");
    EXPECT_EQ(root_ip(), "192.168.1.20");
}

TEST_F(RootAnnounce, does_not_take_an_old_word_for_a_new_one) {
    handle_word("ImRootAP", "192.168.1.20");
    handle("garbage", "192.168.1.21");
    EXPECT_EQ(root_ip(), "192.168.1.20");
}

TEST_F(RootAnnounce, keeps_the_address_when_the_file_cannot_be_written) {
    ASSERT_EQ(mkdir(FILE_PATH, 0755), 0);
    handle_word("ImRootAP", "192.168.1.20");
    EXPECT_EQ(root_ip(), "192.168.1.20");
}

TEST_F(RootAnnounce, hears_a_root_on_its_port_and_writes_the_file) {
    start_listener();
    const auto root = neighbour(40000, "192.168.1.20");
    ASSERT_TRUE(root->send("192.168.1.255", 36002, message_seal("ImRootAP", "mesh")));
    EXPECT_TRUE(harness::wait_until([] { return file_text(FILE_PATH) == "192.168.1.20\n"; }));
    expect_journal({deciphered()});
}

TEST_F(RootAnnounce, waits_on_after_empty_broken_and_long_datagrams) {
    start_listener();
    const auto root = neighbour(40000, "192.168.1.20");
    for (const std::string& bytes :
         {std::string(), std::string("x"), std::string(256, 'g'), std::string(257, 'g'),
          std::string(1400, 'g'), message_seal("ImRootAP", "mesh")}) {
        ASSERT_TRUE(root->send(HERE, 36002, bytes));
    }
    EXPECT_TRUE(harness::wait_until([] { return file_text(FILE_PATH) == "192.168.1.20\n"; }));
    // All but the empty one were looked at.
    expect_journal({deciphered(), deciphered(), deciphered(), deciphered(), deciphered()});
}

TEST_F(RootAnnounce, closes_its_socket_in_the_tools_that_it_runs) {
    start_listener();
    const std::string info =
        file_text("/proc/" + std::to_string(listener_->pid()) + "/fdinfo/" + socket_number());
    EXPECT_NE(info.find("flags:\t02000002"), std::string::npos) << info;
}

TEST_F(RootAnnounce, only_waits_again_after_a_time_without_announcements) {
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const timeval soon{0, 1000};
    setsockopt(sock, SOL_SOCKET, SO_RCVTIMEO, &soon, sizeof(soon));
    root_announce_recv(sock);
    root_announce_recv(sock);
    close(sock);
    root_announce_recv(-1);
    expect_journal({});
    EXPECT_FALSE(file_is_there(FILE_PATH));
}

TEST_F(RootAnnounce, detaches_the_thread_that_it_runs_on) {
    intf_add("eth", ETHERNET, BAND_NONE);
    const int code = exit_code([] {
        pthread_t thread{};
        pthread_create(&thread, nullptr, loop_slave_handle, nullptr);
        const bool listening = harness::wait_until([] { return port_is_taken(); });
        pthread_attr_t attributes{};
        int state = -1;
        pthread_getattr_np(thread, &attributes);
        pthread_attr_getdetachstate(&attributes, &state);
        _exit(listening && state == PTHREAD_CREATE_DETACHED ? 7 : 8);
    });
    EXPECT_EQ(code, 7);
}

TEST_F(RootAnnounce, waits_30_seconds_at_a_time) {
    const int code = exit_code([] {
        sockets().on_option = [](const socket_script::option& option) {
            const timeval limit{30, 0};
            const std::string bytes(reinterpret_cast<const char*>(&limit), sizeof(limit));
            _exit(option == socket_script::option{SOL_SOCKET, SO_RCVTIMEO, bytes} ? 7 : 8);
        };
        listener_run();
    });
    EXPECT_EQ(code, 7);
}

TEST_F(RootAnnounce, says_so_and_goes_on_when_the_waiting_time_is_refused) {
    const std::string err = printed_err([] {
        EXPECT_EQ(exit_code([] {
                      sockets().fail_options = true;
                      listener_run();
                  }),
                  1);
    });
    EXPECT_EQ(err, "set sock rcv timeout: Operation not permitted\n");
    expect_journal({ENTERED, {"loop_slave_handle : Can not get ethernet interface"}});
}

TEST_F(RootAnnounce, ends_the_worker_without_a_wired_interface) {
    intf_add("eth0", ETHERNET, BAND_NONE);
    EXPECT_EQ(exit_code([] { listener_run(); }), 1);
    expect_journal({ENTERED, {"loop_slave_handle : Can not get ethernet interface"}});
}

TEST_F(RootAnnounce, ends_the_worker_when_its_port_is_taken_before_it_looks_for_the_interface) {
    const int other = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(36002);
    ASSERT_EQ(bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    const std::string err = printed_err([] { EXPECT_EQ(exit_code([] { listener_run(); }), 1); });
    close(other);
    EXPECT_EQ(err, "bind: Address already in use\n");
    expect_journal({ENTERED});
}

TEST_F(RootAnnounce, tries_every_second_for_a_socket_and_says_so_each_time) {
    const std::string err = printed_err([] {
        EXPECT_EQ(exit_code([] {
                      sockets().fail_sockets = 3;
                      listener_run();
                  }),
                  1);
    });
    EXPECT_EQ(err,
              "socket: Too many open files\n"
              "socket: Too many open files\n"
              "socket: Too many open files\n");
    EXPECT_EQ(harness::clock_now(), START_TIME + 3);
    expect_journal({ENTERED,
                    ENTERED,
                    ENTERED,
                    ENTERED,
                    {"loop_slave_handle : Can not get ethernet interface"}});
}

}  // namespace
