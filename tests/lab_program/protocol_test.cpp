// What goes over the control socket.
#include <gtest/gtest.h>

#include "lab/program/protocol.h"

namespace lab {
namespace {

TEST(Request, keeps_words_with_tabs_and_line_ends_apart) {
    const std::vector<std::string> words = {"do", "command", "e1", "a\tb\nc\\d", ""};
    const std::string line = request_line(words);
    EXPECT_EQ(line, "do\tcommand\te1\ta\\tb\\nc\\\\d\t");
    EXPECT_EQ(request_words(line), words);
}

TEST(AnswerText, ends_with_the_code_and_a_sentence) {
    EXPECT_EQ(answer_text({1, "e1 is\noff", {"one", "", " = 0 "}}),
              " one\n \n  = 0 \n= 1 e1 is\\noff\n");
}

TEST(AnswerReader, gathers_an_answer_from_single_bytes) {
    const std::string text = answer_text({2, "why", {"first\tline", "= 0 no end"}});
    AnswerReader reader;
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        ASSERT_FALSE(reader.feed(text.substr(at, 1))) << at;
    }
    ASSERT_TRUE(reader.feed("\n"));
    EXPECT_FALSE(reader.is_broken());
    EXPECT_EQ(reader.answer().code, 2);
    EXPECT_EQ(reader.answer().text, "why");
    EXPECT_EQ(reader.answer().lines, (std::vector<std::string>{"first\tline", "= 0 no end"}));
}

TEST(AnswerReader, finds_what_is_no_answer_broken) {
    for (const char* text : {"hello\n", "= \n", "= 3 x\n", "= 0\n", "\n"}) {
        AnswerReader reader;
        EXPECT_TRUE(reader.feed(text)) << text;
        EXPECT_TRUE(reader.is_broken()) << text;
    }
}

TEST(AnswerReader, gives_up_on_a_line_without_an_end) {
    AnswerReader reader;
    EXPECT_FALSE(reader.feed(std::string(LONGEST_LINE, 'x')));
    EXPECT_TRUE(reader.feed("x"));
    EXPECT_TRUE(reader.is_broken());
}

MeshStatus full_status() {
    MeshStatus status;
    status.title = "a mesh\tof two";
    status.seconds = 1234567890123;
    status.steps_done = 3;
    status.steps = 9;
    status.failed = 1;
    status.last_failed = "3: expect x - y";
    status.violations = 2;
    status.known = 4;
    status.last_violation = "worker e1: \"x\"\n";
    status.seed = 4294967295U;
    NodeStatus node;
    node.name = "e1";
    node.is_root = true;
    node.power = NodePower::BOOTING;
    node.role = "extender";
    node.uplink = "ath0";
    node.parent = "root";
    node.hops = -1;
    node.service_aps_up = 1;
    node.service_aps = 3;
    node.led = "BackhaulFinish";
    node.root_address = "192.168.1.1";
    node.status_text = "not ready";
    node.outage = 12;
    node.outages = 2;
    node.outage_all = 40;
    node.worker_pid = 77;
    node.cpu_ms = 1500;
    node.resident_kb = 9000;
    node.messages_dropped = true;
    node.aps_silenced = true;
    node.has_cable = true;
    node.links = {{"ath0", 7, "BACKHAUL_READY", 61, 2, false, true},
                  {"ath1", -1, "", 0, 0, true, false}};
    status.nodes = {node, {}};
    return status;
}

TEST(StatusLines, bring_every_field_over) {
    const ServerStatus server = {2.5, true, true, "a node\tis busy"};
    MeshStatus read;
    ServerStatus server_read;
    ASSERT_TRUE(status_decode(status_encode(full_status(), server), &read, &server_read));
    EXPECT_EQ(server_read, server);
    EXPECT_EQ(status_json(read), status_json(full_status()));
    EXPECT_EQ(read.nodes[0].power, NodePower::BOOTING);
}

TEST(StatusLines, of_another_version_are_refused) {
    MeshStatus read;
    ServerStatus server;
    EXPECT_FALSE(status_decode({"link\tath0"}, &read, &server));
    EXPECT_FALSE(status_decode({"weather\train"}, &read, &server));
    EXPECT_FALSE(status_decode({""}, &read, &server));
}

TEST(StatusLines, with_missing_fields_and_odd_numbers_are_read_as_nothing) {
    MeshStatus read;
    ServerStatus server;
    ASSERT_TRUE(status_decode({"node\te1\t1\t99", "link\tath0\tseven"}, &read, &server));
    ASSERT_EQ(read.nodes.size(), 1U);
    EXPECT_EQ(read.nodes[0].power, NodePower::OFF);
    ASSERT_EQ(read.nodes[0].links.size(), 1U);
    EXPECT_EQ(read.nodes[0].links[0].state, 0);
}

}  // namespace
}  // namespace lab
