// The server over real sockets, with a mesh that only remembers.
#include "lab/program/server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <thread>

#include "lab/program/client.h"
#include "tests/lab_program/fake_mesh.h"

namespace lab {
namespace {

class ServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        control_.pace.speed = 1;
        server_.control = &control_;
    }
    void TearDown() override {
        server_close(&server_);
        for (const int fd : peers_) {
            close(fd);
        }
    }

    int connect_one() {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        server_client_add(&server_, ends[0]);
        peers_.push_back(ends[1]);
        return ends[1];
    }

    // Turns until the answer is there.
    std::string answer_at(int fd) {
        std::string text;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (text.find("\n= ") == std::string::npos && !text.starts_with("= ")) {
            if (std::chrono::steady_clock::now() > limit) {
                ADD_FAILURE() << "no answer in time, only: " << text;
                return text;
            }
            server_turn(&server_);
            std::array<char, 65536> block{};
            const ssize_t got = recv(fd, block.data(), block.size(), MSG_DONTWAIT);
            text.append(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
        return text;
    }

    void send_text(int fd, const std::string& text) {
        EXPECT_EQ(send(fd, text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }

    bool is_cut_off(int fd) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        control_.pace.speed = 1000;
        while (std::chrono::steady_clock::now() < limit) {
            server_turn(&server_);
            pollfd place{fd, POLLIN, 0};
            char byte = 0;
            if (poll(&place, 1, 0) > 0 && recv(fd, &byte, 1, MSG_DONTWAIT) <= 0) {
                return true;
            }
        }
        return false;
    }

    FakeMesh fake_;
    Control control_ = fake_.control();
    Server server_;
    std::vector<int> peers_;
};

TEST_F(ServerTest, answers_a_request_that_comes_in_pieces) {
    const int fd = connect_one();
    send_text(fd, "do\tdea");
    server_turn(&server_);
    send_text(fd, "uth\te1\n");
    EXPECT_EQ(answer_at(fd), "= 0 \n");
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1"}));
}

TEST_F(ServerTest, answers_requests_of_one_connection_in_their_order) {
    control_.pace.speed = 1000;
    const int fd = connect_one();
    send_text(fd, "do\twait\t3\ndo\tap-on\te1\n");
    // Both answers may come at once.
    std::string text = answer_at(fd);
    text += text == "= 0 \n" ? answer_at(fd) : "";
    EXPECT_EQ(text, "= 0 \n= 0 it was on\n");
    EXPECT_GE(fake_.seconds, 3);
}

TEST_F(ServerTest, serves_others_while_one_waits) {
    control_.pace.paused = true;
    control_.pace.speed = 1;
    const int waiting = connect_one();
    const int other = connect_one();
    send_text(waiting, "do\twait\t1000\n");
    send_text(other, "speed\t50\n");
    EXPECT_EQ(answer_at(other), "= 0 \n");
}

TEST_F(ServerTest, lets_nobody_wait_for_a_client_that_went_away) {
    control_.pace.paused = true;
    const int fd = connect_one();
    send_text(fd, "do\twait\t1000\n");
    server_turn(&server_);
    ASSERT_EQ(control_.jobs.size(), 1U);
    close(fd);
    peers_.clear();
    for (int turn = 0; turn < 5 && !server_.clients.empty(); ++turn) {
        server_turn(&server_);
    }
    EXPECT_TRUE(server_.clients.empty());
    EXPECT_TRUE(control_.jobs.empty());
}

TEST_F(ServerTest, cuts_off_a_request_without_an_end) {
    const int fd = connect_one();
    std::thread flood([fd] {
        const std::string much(LONGEST_LINE + 4096, 'x');
        send(fd, much.data(), much.size(), MSG_NOSIGNAL);
    });
    EXPECT_TRUE(is_cut_off(fd));
    flood.join();
}

TEST_F(ServerTest, hands_descriptors_over_and_closes_its_own) {
    std::array<int, 2> ends{-1, -1};
    ASSERT_EQ(pipe(ends.data()), 0);
    fake_.descriptors = {ends[0], ends[1]};
    volatile std::sig_atomic_t stop = 0;
    const int fd = connect_one();
    std::thread serving([this, &stop] { server_run(&server_, &stop); });
    std::vector<int> got;
    EXPECT_EQ(client_ask(fd, {"enter", "e1"}, &got).code, 0);
    EXPECT_EQ(client_ask(fd, {"enter", "e1"}).text, "e1 cannot be entered");
    EXPECT_EQ(client_ask(fd, {"down"}).code, 0);
    client_await_end(fd);
    serving.join();
    ASSERT_EQ(got.size(), 2U);
    EXPECT_EQ(write(got[1], "x", 1), 1);
    close(got[1]);
    char byte = 0;
    EXPECT_EQ(read(got[0], &byte, 1), 1);
    // The end comes only when nobody else has the other end open.
    fcntl(got[0], F_SETFL, O_NONBLOCK);
    EXPECT_EQ(read(got[0], &byte, 1), 0);
    close(got[0]);
}

TEST_F(ServerTest, keeps_the_connection_until_the_mesh_has_ended) {
    volatile std::sig_atomic_t stop = 0;
    const int fd = connect_one();
    std::string answer;
    bool was_open = false;
    control_.mesh.end = [&] {
        std::array<char, 64> block{};
        const ssize_t got = recv(fd, block.data(), block.size(), MSG_DONTWAIT);
        answer.assign(block.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        was_open = recv(fd, block.data(), block.size(), MSG_DONTWAIT) < 0 && errno == EAGAIN;
    };
    send_text(fd, "down\n");
    server_run(&server_, &stop);
    EXPECT_EQ(answer, "= 0 \n");
    EXPECT_TRUE(was_open);
    char byte = 0;
    EXPECT_EQ(recv(fd, &byte, 1, MSG_DONTWAIT), 0);
}

TEST_F(ServerTest, answers_the_tools_of_a_shell_while_time_stands_still) {
    control_.pace.paused = true;
    int served = 0;
    control_.mesh.tools_serve = [&] {
        ++served;
        return true;
    };
    server_turn(&server_);
    server_turn(&server_);
    EXPECT_EQ(served, 2);
    EXPECT_EQ(fake_.seconds, 0);
}

TEST_F(ServerTest, brings_a_long_answer_over_whole) {
    fake_.log.assign(LOG_LINES_AT_ONCE, {0, std::string(400, 'y')});
    volatile std::sig_atomic_t stop = 0;
    const int fd = connect_one();
    std::thread serving([this, &stop] { server_run(&server_, &stop); });
    const Answer answer = client_ask(fd, {"log", "e1", "-1", "0"});
    EXPECT_EQ(answer.lines.size(), LOG_LINES_AT_ONCE);
    EXPECT_EQ(client_ask(fd, {"status"}).lines.size(), 4U);
    client_ask(fd, {"down"});
    serving.join();
    EXPECT_EQ(client_ask(fd, {"status"}).code, 1);
}

}  // namespace
}  // namespace lab
