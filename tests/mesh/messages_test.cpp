// Words between nodes, on the wire: what the real daemon sends and obeys, against the real openssl
// command in another network namespace.

#include "tests/mesh/mesh_story.h"

namespace {

constexpr char PHRASE[] = "mesh-backhaul";

class Messages : public MeshStory {
protected:
    std::string output_file() {
        return router().file(SSL_OUTPUT);
    }
};

TEST_F(Messages, go_out_as_one_sealed_word_to_the_broadcast_address) {
    lab::UdpPeer neighbour(36003);
    start_root();
    skip();
    command("uplink_scan\n");
    const std::vector<lab::Datagram> sent = neighbour.take();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].from, "192.168.1.20");
    EXPECT_EQ(sent[0].bytes.size(), 32U);
    EXPECT_EQ(sent[0].bytes.substr(0, 8), "Salted__");
    EXPECT_EQ(lab::message_open(sent[0].bytes, PHRASE), "UPLINKSCAN");
    // Not always nothing: one in 256 wrong keys leaves an end that could be a right one.
    EXPECT_NE(lab::message_open(sent[0].bytes, "another"), "UPLINKSCAN");
    expect_file(SSL_OUTPUT, sent[0].bytes);
}

TEST_F(Messages, take_32_bytes_each_and_the_longest_one_48) {
    start_ready_extender();
    router().put_file(APPROVAL_LIST, "02:00:00:00:00:01 1 MRX50\n");
    // Bound last, so that what goes to one address comes here.
    lab::UdpPeer neighbour(36003);
    command("network_reload\n");
    datagram(lab::message_seal("CHECK_VALID", PHRASE));
    command("eth_detect\n");
    std::vector<std::pair<std::string, size_t>> sent;
    for (const lab::Datagram& one : neighbour.take()) {
        sent.emplace_back(lab::message_open(one.bytes, PHRASE), one.bytes.size());
    }
    const std::vector<std::pair<std::string, size_t>> expected = {
        {"NETWORKRELOAD", 32}, {"CHECK_VALID_REPLY", 48}, {"FLUSHFORWARDING", 32}};
    EXPECT_EQ(sent, expected);
}

TEST_F(Messages, are_salted_anew_each_time) {
    lab::UdpPeer neighbour(36003);
    start_root();
    command("network_reload\n");
    command("network_reload\n");
    const std::vector<lab::Datagram> sent = neighbour.take();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_NE(sent[0].bytes, sent[1].bytes);
    EXPECT_EQ(output_file(), sent[1].bytes);
}

TEST_F(Messages, reach_the_daemon_of_another_router) {
    lab::NodeOptions second;
    second.address = "192.168.1.21/24";
    harness::Router& root = add_root();
    harness::Router& other = add_root(second);
    root.start({"-m"});
    other.start({"-m"});
    root.skip();
    other.skip();
    command(root, "network_reload\n");
    root.expect_journal(message_sent("NETWORKRELOAD"));
    other.expect_journal(joined({message_opened(), {"backhaul_network_reload_handle : Enter"}}));
    other.command("uplink_scan\n");
    other.expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, message_sent("UPLINKSCAN")}));
    root.expect_journal(joined({message_opened(),
                                received("UPLINKSCAN", "192.168.1.21"),
                                {"backhaul_slave_backhaul_restore : Enter"}}));
}

TEST_F(Messages, are_obeyed_word_by_word) {
    start_ready_extender();
    say("FLUSHFORWARDING", "192.168.1.20");
    expect_journal(joined({message_opened(), received("FLUSHFORWARDING"), tables_flushed()}));
    say("UPLINKSCAN", "192.168.1.20");
    expect_journal(joined(
        {message_opened(), received("UPLINKSCAN"), {"backhaul_slave_backhaul_restore : Enter"}}));
    say("NETWORKRELOAD", "192.168.1.20");
    expect_journal(joined({message_opened(),
                           {"backhaul_network_reload_handle : Enter",
                            "backhaul_network_reload_handle : intf(ath0) disconnect_count -1"}}));
    say("CHECK_VALID_REPLY", "192.168.1.20");
    expect_journal(joined({message_opened(), received("CHECK_VALID_REPLY")}));
    EXPECT_EQ(heard(), Words{});
}

TEST_F(Messages, are_obeyed_from_whoever_knows_the_pass_phrase) {
    start_ready_extender();
    const std::string stranger = second_neighbour();
    datagram(lab::message_seal("FLUSHFORWARDING", PHRASE), 36003, stranger);
    expect_journal(
        joined({message_opened(), received("FLUSHFORWARDING", "192.168.1.2"), tables_flushed()}));
}

TEST_F(Messages, are_obeyed_to_the_broadcast_address_as_well) {
    start_ready_extender();
    say("FLUSHFORWARDING", "192.168.1.255");
    expect_log(joined({received("FLUSHFORWARDING"), {tables_flushed().front()}}));
}

TEST_F(Messages, give_six_new_scans_with_the_word_for_scanning) {
    start_with_scans_used_up();
    say("UPLINKSCAN", "192.168.1.20");
    expect_scans_anew();
}

TEST_F(Messages, are_dropped_without_a_word_unless_they_are_one_of_five) {
    start_ready_extender();
    for (const char* word :
         {"FLUSHFORWARDINGX", "XFLUSHFORWARDING", "flushforwarding", "Uplinkscan", "UPLINK SCAN",
          "NETWORKRELOAD,", "CHECK", "CHECK_VALID_REPL", "CHECK_VALID_REPLY_", "ImRootAP", "x"}) {
        say(word, "192.168.1.20");
        expect_journal(message_opened());
    }
    EXPECT_EQ(heard(), Words{});
    expect_file("/tmp/rootap_ip", "192.168.1.1\n");
}

TEST_F(Messages, are_cut_at_the_first_blank) {
    start_ready_extender();
    for (const char* text : {"FLUSHFORWARDING and more text", "FLUSHFORWARDING\n",
                             "  FLUSHFORWARDING", "\n\tFLUSHFORWARDING\tUPLINKSCAN"}) {
        say(text, "192.168.1.20");
        expect_log(joined({received("FLUSHFORWARDING"), {tables_flushed().front()}}));
    }
}

TEST_F(Messages, leave_their_bytes_and_their_text_behind) {
    start_ready_extender();
    const std::string first = lab::message_seal("CHECK_VALID_REPLY", PHRASE);
    datagram(first);
    expect_file(SSL_INPUT, first);
    expect_file(SSL_DECRYPT, "CHECK_VALID_REPLY");
    const std::string second = lab::message_seal("FLUSHFORWARDING x", PHRASE);
    datagram(second);
    expect_file(SSL_INPUT, second);
    expect_file(SSL_DECRYPT, "FLUSHFORWARDING x");
}

TEST_F(Messages, are_opened_in_vain_and_forgotten_when_they_are_none) {
    start_ready_extender();
    // The last text that was opened: no failure may take it for its own.
    say("FLUSHFORWARDING", "192.168.1.20");
    skip();
    const std::string before = router().file(SSL_INPUT);
    datagram("");
    expect_journal({});
    expect_file(SSL_INPUT, before);
    const std::string whole = lab::message_seal("FLUSHFORWARDING", PHRASE);
    for (const std::string& bytes :
         {std::string("F"), std::string("FLUSHFORWARDING"), std::string(256, '\0'),
          std::string("Salted__"), std::string("Salted__12345678"), "salted__" + whole.substr(8),
          whole.substr(0, 31), whole.substr(0, 16), whole.substr(0, 9)}) {
        datagram(bytes);
        expect_journal(message_opened());
        expect_file(SSL_INPUT, bytes);
        expect_file(SSL_DECRYPT, "");
    }
    for (const char* phrase : {"mesh-backhauL", "mesh", "", "mesh-backhaul "}) {
        datagram(lab::message_seal("FLUSHFORWARDING", phrase));
        expect_journal(message_opened());
    }
}

TEST_F(Messages, are_taken_up_to_256_bytes) {
    start_ready_extender();
    // 8 of mark, 8 of salt, 239 of text and one of padding.
    const std::string bytes =
        lab::message_seal("FLUSHFORWARDING" + std::string(239 - 15, ' '), PHRASE);
    ASSERT_EQ(bytes.size(), 256U);
    for (const std::string& sent : {bytes, bytes + "x"}) {
        datagram(sent);
        expect_file(SSL_INPUT, bytes);
        expect_journal(joined({message_opened(), received("FLUSHFORWARDING"), tables_flushed()}));
    }
    datagram(std::string(1400, '\xFF'));
    expect_file(SSL_INPUT, std::string(256, '\xFF'));
    expect_journal(message_opened());
}

class MessagePorts : public Messages {};

TEST_F(MessagePorts, drop_the_node_s_own_broadcast_before_it_is_opened) {
    start_root();
    skip();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD"));
    expect_no_file(SSL_INPUT);
    expect_no_file(SSL_DECRYPT);
    // The same bytes from anybody else count.
    datagram(output_file());
    expect_journal(joined({message_opened(), {"backhaul_network_reload_handle : Enter"}}));
}

TEST_F(MessagePorts, drop_the_announcement_on_the_message_port) {
    start_extender();
    skip();
    say("ImRootAP", "192.168.1.20");
    expect_journal(message_opened());
    expect_no_file("/tmp/rootap_ip");
    command("network_reload\n");
    expect_journal(admission_asked_in_vain());
}

TEST_F(MessagePorts, drop_every_other_word_on_the_announce_port) {
    start_ready_extender();
    for (const char* word :
         {"FLUSHFORWARDING", "NETWORKRELOAD", "CHECK_VALID_REPLY", "ImRootAPx", "imrootap"}) {
        datagram(lab::message_seal(word, PHRASE), 36002);
        expect_journal(message_opened());
    }
    datagram("", 36002);
    expect_journal({});
    datagram("garbage", 36002);
    expect_journal(message_opened());
    expect_file("/tmp/rootap_ip", "192.168.1.1\n");
}

}  // namespace
