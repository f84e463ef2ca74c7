// The server over a real socket, with a mesh that only remembers: asked by libcurl, by the program
// curl and by peers that are slow, greedy or broken.
#include "lab/program/server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <thread>

#include "lab/program/client.h"
#include "lab/program/socket_place.h"
#include "tests/harness/sandbox.h"
#include "tests/lab_program/fake_mesh.h"

namespace lab {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::chrono::seconds LIMIT{20};

std::string get(const std::string& path) {
    return "GET " + path + " HTTP/1.1\r\nHost: lab\r\n\r\n";
}

std::string with_body(const std::string& method, const std::string& path, const std::string& body) {
    return method + " " + path +
           " HTTP/1.1\r\nHost: lab\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
           body;
}

class ServerTest : public harness::SandboxTest {
protected:
    void SetUp() override {
        harness::SandboxTest::SetUp();
        std::string error;
        control_.pace.speed = 1;
        ASSERT_TRUE(socket_folder_make(path_, error)) << error;
        const int listener = socket_listen(path_, error);
        ASSERT_GE(listener, 0) << error;
        server_ = Server::make(control_, listener, error);
        ASSERT_NE(server_, nullptr) << error;
    }
    void TearDown() override {
        for (const int fd : peers_) {
            close(fd);
        }
        server_.reset();
        harness::SandboxTest::TearDown();
    }

    int connect_one() {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, path_.c_str());
        EXPECT_EQ(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0)
            << strerror(errno);
        peers_.push_back(fd);
        return fd;
    }

    void send_text(int fd, const std::string& text) {
        EXPECT_EQ(send(fd, text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
    }

    template <typename Condition>
    bool turn_until(const Condition& condition) {
        const auto limit = std::chrono::steady_clock::now() + LIMIT;
        control_.pace.speed = control_.pace.paused ? control_.pace.speed : 1000;
        while (!condition()) {
            if (std::chrono::steady_clock::now() > limit) {
                return false;
            }
            server_->turn();
        }
        return true;
    }

    // Turns until the answer ends as all of them do.
    std::string answer_at(int fd) {
        std::string text;
        EXPECT_TRUE(turn_until([&] {
            char byte = 0;
            while (!text.ends_with("}\n") && recv(fd, &byte, 1, MSG_DONTWAIT) == 1) {
                text += byte;
            }
            return text.ends_with("}\n");
        })) << text;
        return text;
    }

    bool is_cut_off(int fd) {
        return turn_until([fd] {
            char byte = 0;
            const ssize_t got = recv(fd, &byte, 1, MSG_DONTWAIT);
            return got == 0 || (got < 0 && errno != EAGAIN);
        });
    }

    // The server in a thread of its own while `ask` is called; ended by a request.
    template <typename Ask>
    void while_serving(const Ask& ask) {
        volatile std::sig_atomic_t stop = 0;
        std::thread serving([this, &stop] { server_->run(&stop); });
        ask();
        EXPECT_EQ(MeshClient(path_).ask(ApiAction::down).status, HttpStatus::good);
        serving.join();
    }

    std::string path_ = "/tmp/place/control";
    FakeMesh fake_;
    Control control_ = fake_.control();
    std::unique_ptr<Server> server_;
    std::vector<int> peers_;
};

TEST_F(ServerTest, answers_a_request_that_comes_in_pieces) {
    const int fd = connect_one();
    const std::string text = with_body("POST", "/steps", R"({"words":["deauth","e1"]})");
    for (std::size_t at = 0; at < text.size(); at += 7) {
        send_text(fd, text.substr(at, 7));
        server_->turn();
        control_.pace.speed = 1000;
    }
    const std::string answer = answer_at(fd);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("Content-Type: application/json\r\n"));
    EXPECT_THAT(answer, EndsWith("\r\n\r\n{\"version\":1,\"good\":true,\"text\":\"\"}\n"));
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1"}));
}

TEST_F(ServerTest, answers_requests_of_one_connection_in_their_order) {
    const int fd = connect_one();
    send_text(fd, with_body("POST", "/steps", R"({"words":["wait","3"]})") +
                      with_body("POST", "/steps", R"({"words":["ap-on","e1"]})"));
    EXPECT_THAT(answer_at(fd), EndsWith("\"text\":\"\"}\n"));
    EXPECT_GE(fake_.seconds, 3);
    EXPECT_THAT(answer_at(fd), EndsWith("\"text\":\"it was on\"}\n"));
}

TEST_F(ServerTest, serves_others_while_one_waits) {
    control_.pace.paused = true;
    const int waiting = connect_one();
    const int other = connect_one();
    send_text(waiting, with_body("POST", "/steps", R"({"words":["wait","100000"]})"));
    ASSERT_TRUE(turn_until([this] { return !control_.jobs.empty(); }));
    send_text(other, get("/status"));
    EXPECT_THAT(answer_at(other), HasSubstr("\"title\":\"fake\""));
    EXPECT_EQ(control_.jobs.size(), 1U);
}

TEST_F(ServerTest, lets_nobody_wait_for_a_client_that_went_away) {
    control_.pace.paused = true;
    const int fd = connect_one();
    send_text(fd, with_body("POST", "/steps", R"({"words":["wait","100000"]})"));
    ASSERT_TRUE(turn_until([this] { return !control_.jobs.empty(); }));
    close(fd);
    peers_.clear();
    EXPECT_TRUE(turn_until([this] { return control_.jobs.empty() && server_->requests() == 0; }));
}

struct Refusal {
    std::string request;
    std::string status;
    std::string text;
};

TEST_F(ServerTest, refuses_what_it_does_not_know_in_json) {
    for (const Refusal& refusal : std::vector<Refusal>{
             {get("/weather"), "404", "there is no /weather: GET / lists all"},
             {get("/nodes/e7"), "404", "`e7` is no node of this mesh (did you mean `e1`?)"},
             {get("/nodes/"), "404", "there is no /nodes/: GET / lists all"},
             {with_body("DELETE", "/status", ""), "405", "/status knows only GET"},
             {get("/speed"), "405", "/speed knows only PUT"},
             {get("/nodes/e1/log?from=soon"), "400", "`from` and `last` are numbers"},
             {with_body("POST", "/steps", "{\"words\":"), "400", "the body is no JSON object"},
             {with_body("POST", "/steps", "[1]"), "400", "the body is no JSON object"},
             {with_body("POST", "/steps", R"({"words":["dauth"]})"), "400", "`dauth` is no"},
             {with_body("POST", "/steps", R"({"words":["reboot","e1"]})"), "409", "no power here"},
             {with_body("PUT", "/speed", R"({"speed":"0"})"), "400", "`0` is no speed"},
             {with_body("POST", "/steps", std::string(LONGEST_BODY + 1, 'x')), "413",
              "the body is longer than 65536 bytes"}}) {
        const int fd = connect_one();
        // More than the socket holds: somebody has to read.
        std::thread sending([this, fd, &refusal] { send_text(fd, refusal.request); });
        const std::string answer = answer_at(fd);
        sending.join();
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 " + refusal.status + " ")) << refusal.request;
        EXPECT_THAT(answer, HasSubstr(R"({"version":1,"good":false,"text":")" + refusal.text));
    }
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"reboot e1"}));
}

TEST_F(ServerTest, bears_peers_that_speak_something_else) {
    for (const std::string& said :
         {std::string("status\n\n"), std::string(100000, 'x'),
          std::string("POST /steps HTTP/1.1\r\nHost: lab\r\nContent-Length: -5\r\n\r\n")}) {
        const int fd = connect_one();
        send(fd, said.data(), said.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        EXPECT_TRUE(is_cut_off(fd)) << said.substr(0, 30);
    }
    send_text(connect_one(), std::string("\0\xff\r\n\r\n", 6));
    send_text(connect_one(), "GET /status HT");
    const int fd = connect_one();
    send_text(fd, get("/status"));
    EXPECT_THAT(answer_at(fd), HasSubstr("\"title\":\"fake\""));
}

TEST_F(ServerTest, serves_whoever_comes_when_greedy_peers_have_gone) {
    for (unsigned count = 0; count < MOST_CLIENTS + 4; ++count) {
        send_text(connect_one(), "GET /sta");
        server_->turn();
        control_.pace.speed = 1000;
    }
    const int late = connect_one();
    send_text(late, get("/status"));
    server_->turn();
    char byte = 0;
    EXPECT_EQ(recv(late, &byte, 1, MSG_DONTWAIT), -1);
    for (const int fd : peers_) {
        close(fd == late ? -1 : fd);
    }
    peers_ = {late};
    EXPECT_THAT(answer_at(late), HasSubstr("\"title\":\"fake\""));
}

TEST_F(ServerTest, lists_the_table_at_its_root) {
    const int fd = connect_one();
    send_text(fd, get("/"));
    const std::string answer = answer_at(fd);
    for (const ApiRow& row : API) {
        EXPECT_THAT(answer, HasSubstr("\"path\":\"" + std::string(row.path) + "\""));
    }
}

TEST_F(ServerTest, streams_events_as_they_happen) {
    control_.pace.paused = true;
    fake_.events = {{"change", 1, "e1", "before"}};
    control_read_news(control_);
    const int fresh = connect_one();
    const int whole = connect_one();
    send_text(fresh, get("/events"));
    send_text(whole, get("/events?from=0"));
    ASSERT_TRUE(turn_until([this] { return server_->requests() == 2; }));
    fake_.events = {{"change", 2, "e1", "after"}};
    control_read_news(control_);
    const std::string first = answer_at(fresh);
    EXPECT_THAT(first, HasSubstr("Content-Type: application/x-ndjson\r\n"));
    EXPECT_THAT(first, EndsWith("\"kind\":\"change\",\"seconds\":2,\"node\":\"e1\","
                                "\"text\":\"after\"}\n"));
    EXPECT_THAT(answer_at(whole), EndsWith("\"text\":\"before\"}\n"));
    EXPECT_THAT(answer_at(whole), EndsWith("\"text\":\"after\"}\n"));
    // Whoever goes away is forgotten though nothing happens any more.
    close(fresh);
    close(whole);
    peers_.clear();
    EXPECT_TRUE(turn_until([this] { return server_->requests() == 0; }));
}

TEST_F(ServerTest, ends_streams_and_waiting_steps_with_the_mesh) {
    control_.pace.paused = true;
    const int stream = connect_one();
    const int step = connect_one();
    send_text(stream, get("/events"));
    send_text(step, with_body("POST", "/steps", R"({"words":["wait","100000"]})"));
    ASSERT_TRUE(turn_until([this] { return server_->requests() == 2; }));
    volatile std::sig_atomic_t stop = 1;
    server_->run(&stop);
    EXPECT_THAT(answer_at(step), AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("the mesh ended")));
    std::string text;
    char byte = 0;
    while (recv(stream, &byte, 1, MSG_DONTWAIT) == 1) {
        text += byte;
    }
    EXPECT_THAT(text, EndsWith("0\r\n\r\n"));
}

TEST_F(ServerTest, answers_the_end_when_the_mesh_has_ended) {
    volatile std::sig_atomic_t stop = 0;
    const int fd = connect_one();
    bool answered_before = true;
    control_.mesh.end = [&] {
        char byte = 0;
        answered_before = recv(fd, &byte, 1, MSG_DONTWAIT) == 1;
    };
    send_text(fd, with_body("POST", "/down", ""));
    server_->run(&stop);
    EXPECT_FALSE(answered_before);
    EXPECT_THAT(answer_at(fd), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(ServerTest, answers_the_tools_of_a_shell_while_time_stands_still) {
    control_.pace.paused = true;
    int served = 0;
    control_.mesh.tools_serve = [&] {
        ++served;
        return true;
    };
    server_->turn();
    server_->turn();
    EXPECT_EQ(served, 2);
    EXPECT_EQ(fake_.seconds, 0);
}

TEST_F(ServerTest, brings_a_long_answer_over_whole) {
    fake_.log.assign(LOG_LINES_AT_ONCE, {0, std::string(400, 'y')});
    while_serving([this] {
        MeshClient client(path_);
        EXPECT_EQ(client.ask(ApiAction::log, "e1", "from=0").body["lines"].size(),
                  LOG_LINES_AT_ONCE);
        EXPECT_EQ(client.ask(ApiAction::status).body["nodes"].size(), 2U);
        EXPECT_EQ(client.server(), getpid());
    });
    server_.reset();
    const Answer nobody = MeshClient(path_).ask(ApiAction::status);
    EXPECT_EQ(nobody.status, HttpStatus::none);
    EXPECT_THAT(answer_text(nobody), StartsWith("no mesh is up (/tmp/place/control: "));
}

TEST_F(ServerTest, is_told_names_and_words_with_any_character) {
    while_serving([this] {
        MeshClient client(path_);
        EXPECT_EQ(answer_text(client.ask(ApiAction::node, "e 1/\xff?#")),
                  "there is no /nodes/e 1/\xEF\xBF\xBD?#: GET / lists all");
        EXPECT_EQ(answer_text(client.ask(ApiAction::node, "e 1?")),
                  "`e 1?` is no node of this mesh");
        EXPECT_EQ(client.ask(ApiAction::step, "", "", {{"words", {"command", "e1", "a\tb\n\xff"}}})
                      .status,
                  HttpStatus::good);
    });
    EXPECT_EQ(fake_.verbs.size(), 1U);
}

TEST_F(ServerTest, can_be_asked_by_curl) {
    while_serving([this] {
        FILE* const out = popen(("command -v curl >/dev/null || exit 9; curl -s --unix-socket " +
                                 path_ + " http://lab/status")
                                    .c_str(),
                                "r");
        ASSERT_NE(out, nullptr);
        std::string text;
        for (int one = getc(out); one != EOF; one = getc(out)) {
            text.push_back(static_cast<char>(one));
        }
        const int status = pclose(out);
        if (WEXITSTATUS(status) != 9) {
            EXPECT_EQ(status, 0);
            EXPECT_THAT(text, StartsWith("{\"version\":1,\"title\":\"fake\""));
        }
    });
}

}  // namespace
}  // namespace lab
