// One line of an association list.

#include "device/client_control.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(AssocLine, takes_the_first_and_the_fourth_word) {
    const assoc_entry entry = assoc_line_scan("02:00:00:00:00:01 -40 866 ath20 extra words\n");
    EXPECT_STREQ(entry.mac.data(), "02:00:00:00:00:01");
    EXPECT_STREQ(entry.intf.data(), "ath20");
}

TEST(AssocLine, takes_a_line_that_ends_after_the_fourth_word) {
    const assoc_entry entry = assoc_line_scan("02:00:00:00:00:02\t1\t2\tath12");
    EXPECT_STREQ(entry.mac.data(), "02:00:00:00:00:02");
    EXPECT_STREQ(entry.intf.data(), "ath12");
}

TEST(AssocLine, is_empty_for_a_line_of_fewer_than_four_words) {
    for (const char* const text : {"", "\n", "02:00:00:00:00:01\n", "02:00:00:00:00:01 a b\n"}) {
        const assoc_entry entry = assoc_line_scan(text);
        EXPECT_STREQ(entry.mac.data(), "") << text;
        EXPECT_STREQ(entry.intf.data(), "") << text;
    }
}

TEST(AssocLine, is_empty_when_a_word_is_longer_than_an_address_could_be) {
    const std::string longest(31, 'a');
    EXPECT_EQ(assoc_line_scan((longest + " 1 2 ath20").c_str()).mac.data(), longest);
    for (const std::string& text :
         {std::string(32, 'a') + " 1 2 ath20", "02:00:00:00:00:01 1 2 " + std::string(32, 'a')}) {
        const assoc_entry entry = assoc_line_scan(text.c_str());
        EXPECT_STREQ(entry.mac.data(), "") << text;
        EXPECT_STREQ(entry.intf.data(), "") << text;
    }
}

}  // namespace
