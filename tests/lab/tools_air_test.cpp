#include "lab/tools/air_protocol.h"

#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

#include "lab/tools/state_layout.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::ElementsAre;

class AirTest : public ToolsTest {
protected:
    // Serves `count` requests with `handler` while `body` runs.
    template <typename Body>
    void with_server(int count, const std::function<lab::AirReply(const lab::AirRequest&)>& handler,
                     const Body& body) {
        const int listener = lab::air_listen(root);
        ASSERT_GE(listener, 0);
        std::thread server([&] {
            for (int number = 0; number < count; ++number) {
                lab::air_serve_one(listener, handler);
            }
        });
        body();
        server.join();
        close(listener);
    }

    static lab::AirReply saying(const std::string& out) {
        lab::AirReply reply;
        reply.local = false;
        reply.answer.out = out;
        return reply;
    }
};

TEST_F(AirTest, writes_a_request_as_one_line_of_escaped_words) {
    EXPECT_EQ(lab::air_request_encode({"iwconfig", {"ath0", "essid", "two\twords\n"}}),
              "iwconfig\tath0\tessid\ttwo\\twords\\n\n");
    lab::AirRequest request;
    ASSERT_TRUE(lab::air_request_decode("wpa_cli\t-i\t\tstatus\n", &request));
    EXPECT_EQ(request.tool, "wpa_cli");
    EXPECT_THAT(request.words, ElementsAre("-i", "", "status"));
    EXPECT_FALSE(lab::air_request_decode("iwconfig", &request));
    EXPECT_FALSE(lab::air_request_decode("\n", &request));
}

TEST_F(AirTest, takes_every_reply_that_is_no_answer_as_local) {
    EXPECT_TRUE(lab::air_reply_decode("").local);
    EXPECT_TRUE(lab::air_reply_decode("local\n").local);
    EXPECT_TRUE(lab::air_reply_decode("exit 0\nerr 0\nout 9\nx").local);
    const lab::AirReply reply = lab::air_reply_decode("exit 4\nerr 0\nout 2\nhi");
    EXPECT_FALSE(reply.local);
    EXPECT_EQ(reply.answer.exit_code, 4);
    EXPECT_EQ(reply.answer.out, "hi");
}

TEST_F(AirTest, prints_what_the_air_says_instead_of_the_local_state) {
    lab::wifi_associated_set(root, "ath0", "02:00:00:00:00:01");
    std::vector<lab::AirRequest> seen;
    with_server(
        1,
        [&](const lab::AirRequest& request) {
            seen.push_back(request);
            return saying("from the air\n");
        },
        [&] { EXPECT_EQ(out("iwconfig", {"ath0"}), "from the air\n"); });
    ASSERT_EQ(seen.size(), 1U);
    EXPECT_EQ(seen[0].tool, "iwconfig");
    EXPECT_THAT(seen[0].words, ElementsAre("ath0"));
}

TEST_F(AirTest, answers_itself_when_the_air_leaves_it_to_the_local_state) {
    with_server(
        1, [](const lab::AirRequest&) { return lab::AirReply{}; },
        [&] {
            EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "ath0      get_whc_dist:1  \n");
        });
}

TEST_F(AirTest, asks_before_a_wireless_restart_and_for_every_wpa_cli_verb) {
    std::vector<std::string> tools;
    with_server(
        3,
        [&](const lab::AirRequest& request) {
            tools.push_back(request.tool);
            return saying("OK\n");
        },
        [&] {
            run("wireless", {"restart"});
            run("wpa_cli", {"-g", "/g", "interface_add", "ath0", "/tmp/c"});
            run("wpa_cli", {"-i", "ath0", "-p", "/p", "reconnect"});
        });
    EXPECT_THAT(tools, ElementsAre("wireless", "wpa_cli", "wpa_cli"));
    EXPECT_EQ(lab::wpa_attached_conf(root, "ath0"), "") << "the air keeps that state";
}

TEST_F(AirTest, never_asks_for_the_store_or_the_process_list) {
    // Nobody serves: a tool that asked would wait for ever.
    const int listener = lab::air_listen(root);
    ASSERT_GE(listener, 0);
    EXPECT_EQ(run("uci", {"get", "a.b.c"}).exit_code, 1);
    EXPECT_EQ(run("hyd", {"restart"}).exit_code, 0);
    EXPECT_NE(out("ps", {}), "");
    close(listener);
}

TEST_F(AirTest, gives_a_queued_answer_without_asking) {
    const int listener = lab::air_listen(root);
    ASSERT_GE(listener, 0);
    lab::answer_push(root, "iwconfig.ath0", "queued");
    EXPECT_EQ(out("iwconfig", {"ath0"}), "queued\n");
    close(listener);
}

TEST_F(AirTest, answers_itself_when_the_server_is_gone) {
    close(lab::air_listen(root));
    EXPECT_TRUE(lab::path_exists(lab::air_socket_path(root)));
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "ath0      get_whc_dist:1  \n");
}

TEST_F(AirTest, answers_itself_when_the_server_closes_without_a_reply) {
    const int listener = lab::air_listen(root);
    ASSERT_GE(listener, 0);
    std::thread server([&] { close(accept(listener, nullptr, nullptr)); });
    EXPECT_EQ(out("iwpriv", {"ath0", "get_whc_dist"}), "ath0      get_whc_dist:1  \n");
    server.join();
    close(listener);
}

TEST_F(AirTest, tells_whether_a_tool_waits_to_be_served) {
    const int listener = lab::air_listen(root);
    ASSERT_GE(listener, 0);
    EXPECT_FALSE(lab::air_is_pending(listener));
    std::thread tool([&] { run("iwconfig", {"ath0"}); });
    while (!lab::air_is_pending(listener)) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(lab::air_serve_one(listener, [](const lab::AirRequest&) { return saying("x"); }));
    EXPECT_FALSE(lab::air_is_pending(listener));
    tool.join();
    close(listener);
}

TEST_F(AirTest, gives_up_a_tool_that_stops_in_the_middle_of_its_request) {
    const int listener = lab::air_listen(root);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = lab::air_socket_path(root);
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    const int tool = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(tool, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(send(tool, "iwconfig", 8, 0), 8);
    EXPECT_FALSE(lab::air_serve_one(
        listener, [](const lab::AirRequest&) { return saying("x"); }, 20));
    close(tool);
    close(listener);
}

TEST_F(AirTest, carries_an_answer_of_any_length) {
    const std::string large(300000, 'x');
    with_server(
        1, [&](const lab::AirRequest&) { return saying(large); },
        [&] { EXPECT_EQ(out("iwconfig", {"ath0"}), large); });
}

}  // namespace
