// The SSID of "ath20" as the pass phrase of all messages: what the shell makes of it, and which
// nodes then understand each other. The sending line quotes it singly, the receiving one doubly.

#include "tests/mesh/mesh_story.h"

namespace {

struct PhraseCase {
    const char* name;
    std::string ssid;                 // as configured
    std::string read;                 // as the daemon reads it
    std::vector<std::string> opens;   // pass phrase that opens what is sent; none: nothing goes out
    std::vector<std::string> obeyed;  // sealed under these a word is obeyed
    std::vector<std::string> ignored;  // and under these it is not
};

void PrintTo(const PhraseCase& one, std::ostream* out) {
    *out << one.ssid;
}

const std::string DIGITS_48 = "123456789012345678901234567890123456789012345678";

const std::vector<PhraseCase>& phrase_cases() {
    static const std::vector<PhraseCase> cases = {
        {"plain", "mesh", "mesh", {"mesh"}, {"mesh"}, {"Mesh", "mes", ""}},
        {"blank", "two words", "two", {"two"}, {"two"}, {"two words"}},
        {"blank_in_front", " word", "word", {"word"}, {"word"}, {" word"}},
        // Single quotes end at the one inside: the shell refuses the line.
        {"single_quote", "it's", "it's", {}, {"it's"}, {"its"}},
        {"two_single_quotes", "a'b'c", "a'b'c", {"abc"}, {"a'b'c"}, {"abc"}},
        // Double quotes end at the one inside, so the receiving line is refused.
        {"double_quote", "say\"hi", "say\"hi", {"say\"hi"}, {}, {"say\"hi", "sayhi"}},
        {"two_double_quotes", "a\"b\"c", "a\"b\"c", {"a\"b\"c"}, {"abc"}, {"a\"b\"c"}},
        {"dollar", "pa$word", "pa$word", {"pa$word"}, {"pa"}, {"pa$word"}},
        {"dollar_alone", "5$", "5$", {"5$"}, {"5$"}, {"5"}},
        {"backquotes", "x`echo`y", "x`echo`y", {"x`echo`y"}, {"xy"}, {"x`echo`y"}},
        {"backquote_alone", "a`b", "a`b", {"a`b"}, {}, {"a`b", "ab", "a"}},
        {"backslash", "a\\\\b", "a\\\\b", {"a\\\\b"}, {"a\\b"}, {"a\\\\b"}},
        {"shell_signs", "a;b&c|d>e*", "a;b&c|d>e*", {"a;b&c|d>e*"}, {"a;b&c|d>e*"}, {"a"}},
        {"length_32",
         DIGITS_48.substr(0, 32),
         DIGITS_48.substr(0, 32),
         {DIGITS_48.substr(0, 32)},
         {DIGITS_48.substr(0, 32)},
         {DIGITS_48.substr(0, 31)}},
        {"length_48",
         DIGITS_48,
         DIGITS_48.substr(0, 47),
         {DIGITS_48.substr(0, 47)},
         {DIGITS_48.substr(0, 47)},
         {DIGITS_48}},
        {"nothing", "", "", {""}, {""}, {"mesh", " "}},
    };
    return cases;
}

class PassPhrase : public MeshStory, public ::testing::WithParamInterface<PhraseCase> {
protected:
    void SetUp() override {
        start_root();
        router().uci("wireless.ath20.ssid", GetParam().ssid);
        skip();
    }
};

TEST_P(PassPhrase, is_quoted_singly_to_send) {
    lab::UdpPeer neighbour(36003);
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD", GetParam().read));
    const std::vector<lab::Datagram> sent = neighbour.take();
    ASSERT_EQ(sent.size(), GetParam().opens.size());
    for (const std::string& phrase : GetParam().opens) {
        EXPECT_EQ(lab::message_open(sent[0].bytes, phrase), "NETWORKRELOAD");
    }
    if (GetParam().opens.empty()) {
        expect_no_file(SSL_OUTPUT);
    }
}

TEST_P(PassPhrase, is_quoted_doubly_to_receive) {
    for (const std::string& phrase : GetParam().obeyed) {
        datagram(lab::message_seal("NETWORKRELOAD", phrase));
        expect_journal(
            joined({message_opened(GetParam().read), {"backhaul_network_reload_handle : Enter"}}));
    }
    for (const std::string& phrase : GetParam().ignored) {
        datagram(lab::message_seal("NETWORKRELOAD", phrase));
        expect_journal(message_opened(GetParam().read));
    }
}

INSTANTIATE_TEST_SUITE_P(Ssid, PassPhrase, ::testing::ValuesIn(phrase_cases()),
                         [](const auto& one) { return one.param.name; });

class PassPhraseOfTheMoment : public MeshStory {};

TEST_F(PassPhraseOfTheMoment, is_read_anew_for_every_message) {
    start_root();
    lab::UdpPeer neighbour(36003);
    skip();
    command("network_reload\n");
    router().uci("wireless.ath20.ssid", "renamed");
    command("network_reload\n");
    const std::vector<lab::Datagram> sent = neighbour.take();
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(lab::message_open(sent[0].bytes, "mesh-backhaul"), "NETWORKRELOAD");
    EXPECT_EQ(lab::message_open(sent[1].bytes, "renamed"), "NETWORKRELOAD");
    skip();
    datagram(lab::message_seal("NETWORKRELOAD", "renamed"));
    expect_journal(joined({message_opened("renamed"), {"backhaul_network_reload_handle : Enter"}}));
}

TEST_F(PassPhraseOfTheMoment, sends_nothing_when_the_shell_refuses_the_line) {
    start_root();
    lab::UdpPeer neighbour(36003);
    command("network_reload\n");
    router().uci("wireless.ath20.ssid", "it's");
    skip();
    command("uplink_scan\n");
    expect_journal(
        joined({{"backhaul_slave_backhaul_restore : Enter"}, message_sent("UPLINKSCAN", "it's")}));
    EXPECT_EQ(neighbour.take().size(), 1U) << "the last message is not sent once more";
}

TEST_F(PassPhraseOfTheMoment, is_empty_without_the_option) {
    start_root();
    lab::UdpPeer neighbour(36003);
    run_inside(router(), {"sh", "-c", "uci delete wireless.ath20.ssid; uci commit wireless"});
    skip();
    command("network_reload\n");
    expect_journal(message_sent("NETWORKRELOAD", ""));
    const std::vector<lab::Datagram> sent = neighbour.take();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(lab::message_open(sent[0].bytes, ""), "NETWORKRELOAD");
}

}  // namespace
