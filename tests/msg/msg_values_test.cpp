// Values of the message protocol: keywords, errors that are worth another try, addresses as text.

#include "msg/bridge_address.h"
#include "msg/msg_send.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <cerrno>
#include <utility>
#include <vector>

namespace {

TEST(MsgWord, has_one_text_by_which_it_is_found) {
    const std::vector<std::pair<msg_word, const char*>> words = {
        {msg_word::flush_forwarding, "FLUSHFORWARDING"},
        {msg_word::uplink_scan, "UPLINKSCAN"},
        {msg_word::network_reload, "NETWORKRELOAD"},
        {msg_word::check_valid, "CHECK_VALID"},
        {msg_word::check_valid_reply, "CHECK_VALID_REPLY"},
        {msg_word::root_announcement, "ImRootAP"},
    };
    for (const auto& [word, text] : words) {
        EXPECT_STREQ(msg_word_text(word), text);
        EXPECT_EQ(msg_word_find(text), word) << text;
    }
    EXPECT_EQ(msg_word_text(msg_word::unknown), nullptr);
}

TEST(MsgWord, is_unknown_for_every_other_text) {
    for (const char* const text :
         {"", "ImRootAP2", "check_valid", "CHECK_VALID_", "CHECK_VALID_REPLY2", "CHECK_VALI",
          "UPLINKSCAN ", " UPLINKSCAN", "FLUSHFORWARDING\n", "Uplinkscan"}) {
        EXPECT_EQ(msg_word_find(text), msg_word::unknown) << text;
    }
}

TEST(SendError, is_worth_another_try_while_the_network_is_not_there) {
    EXPECT_TRUE(msg_send_error_is_transient(ENODEV));
    EXPECT_TRUE(msg_send_error_is_transient(ENETUNREACH));
}

TEST(SendError, is_final_for_every_other_number) {
    // On MIPS the numbers reach further.
    for (int error = 0; error < 180; ++error) {
        if (error != ENODEV && error != ENETUNREACH) {
            EXPECT_FALSE(msg_send_error_is_transient(error)) << error;
        }
    }
}

TEST(AddressText, is_dotted) {
    in_addr address{};
    EXPECT_STREQ(ip_text_get(address).data(), "0.0.0.0");
    address.s_addr = htonl(0xC0A8010A);
    EXPECT_STREQ(ip_text_get(address).data(), "192.168.1.10");
    address.s_addr = htonl(0xFFFFFFFF);
    EXPECT_STREQ(ip_text_get(address).data(), "255.255.255.255");
}

}  // namespace
