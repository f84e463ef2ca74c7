// Values of the message protocol: keywords, errors that are worth another try, addresses as text.

#include "msg/bridge_address.h"
#include "msg/msg_receive.h"
#include "msg/msg_send.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <cerrno>

namespace {

TEST(Keyword, is_found_for_the_five_words) {
    EXPECT_EQ(msg_keyword_find("FLUSHFORWARDING"), msg_keyword::flush_forwarding);
    EXPECT_EQ(msg_keyword_find("UPLINKSCAN"), msg_keyword::uplink_scan);
    EXPECT_EQ(msg_keyword_find("NETWORKRELOAD"), msg_keyword::network_reload);
    EXPECT_EQ(msg_keyword_find("CHECK_VALID"), msg_keyword::check_valid);
    EXPECT_EQ(msg_keyword_find("CHECK_VALID_REPLY"), msg_keyword::check_valid_reply);
}

TEST(Keyword, is_none_for_every_other_word) {
    for (const char* const word :
         {"", "ImRootAP", "check_valid", "CHECK_VALID_", "CHECK_VALID_REPLY2", "CHECK_VALI",
          "UPLINKSCAN ", " UPLINKSCAN", "FLUSHFORWARDING\n", "Uplinkscan"}) {
        EXPECT_EQ(msg_keyword_find(word), msg_keyword::none) << word;
    }
}

TEST(SendError, is_worth_another_try_while_the_network_is_not_there) {
    EXPECT_TRUE(msg_send_error_is_transient(19));
    EXPECT_TRUE(msg_send_error_is_transient(101));
}

TEST(SendError, is_final_for_every_other_number) {
    for (int error = 0; error < 140; ++error) {
        if (error != 19 && error != 101) {
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
