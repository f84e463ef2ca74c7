// One line of the interface profile.

#include "intf/intf_profile.h"

#include <gtest/gtest.h>

#include <string>

namespace {

intf_profile_line scanned(const char* text, intf_profile_line line = {}) {
    intf_profile_line_scan(text, line);
    return line;
}

TEST(ProfileLine, has_five_columns) {
    const auto line = scanned("ath0 BACKHAUL_STA 5h 65535 1\n");
    EXPECT_STREQ(line.name.data(), "ath0");
    EXPECT_STREQ(line.type.data(), "BACKHAUL_STA");
    EXPECT_STREQ(line.band.data(), "5h");
    EXPECT_EQ(line.priority, 65535);
    EXPECT_EQ(line.follow_primary, 1);
}

TEST(ProfileLine, takes_any_white_space_and_ignores_further_columns) {
    const auto line = scanned("\t ath10\t\tMAIN_SERVICE_AP   2 7\t0 extra 99\n");
    EXPECT_STREQ(line.name.data(), "ath10");
    EXPECT_STREQ(line.type.data(), "MAIN_SERVICE_AP");
    EXPECT_STREQ(line.band.data(), "2");
    EXPECT_EQ(line.priority, 7);
    EXPECT_EQ(line.follow_primary, 0);
}

TEST(ProfileLine, repeats_the_line_before_when_it_is_blank) {
    const auto before = scanned("ath1 BACKHAUL_AP 5l 3 2\n");
    for (const char* const blank : {"", "\n", " \t\n"}) {
        const auto line = scanned(blank, before);
        EXPECT_STREQ(line.name.data(), "ath1") << blank;
        EXPECT_STREQ(line.type.data(), "BACKHAUL_AP") << blank;
        EXPECT_STREQ(line.band.data(), "5l") << blank;
        EXPECT_EQ(line.priority, 3) << blank;
        EXPECT_EQ(line.follow_primary, 2) << blank;
    }
}

TEST(ProfileLine, keeps_the_columns_that_it_lacks) {
    const auto before = scanned("ath1 BACKHAUL_AP 5l 3 2\n");
    const auto three = scanned("ath2 ETHERNET 2\n", before);
    EXPECT_STREQ(three.name.data(), "ath2");
    EXPECT_STREQ(three.type.data(), "ETHERNET");
    EXPECT_STREQ(three.band.data(), "2");
    EXPECT_EQ(three.priority, 3);
    EXPECT_EQ(three.follow_primary, 2);

    const auto one = scanned("ath3\n", before);
    EXPECT_STREQ(one.name.data(), "ath3");
    EXPECT_STREQ(one.type.data(), "BACKHAUL_AP");
    EXPECT_EQ(one.priority, 3);

    const auto not_a_number = scanned("ath4 ETHERNET 2 high 1\n", before);
    EXPECT_STREQ(not_a_number.name.data(), "ath4");
    EXPECT_EQ(not_a_number.priority, 3);
    EXPECT_EQ(not_a_number.follow_primary, 2);
}

TEST(ProfileLine, is_empty_when_the_first_line_is_blank) {
    const auto line = scanned("\n");
    EXPECT_STREQ(line.name.data(), "");
    EXPECT_STREQ(line.type.data(), "");
    EXPECT_STREQ(line.band.data(), "");
    EXPECT_EQ(line.priority, 0);
    EXPECT_EQ(line.follow_primary, 0);
}

TEST(ProfileLine, cuts_long_words_to_their_column_without_spilling) {
    const std::string name(40, 'n');
    const std::string type(40, 't');
    const std::string band(40, 'b');
    const auto line = scanned((name + " " + type + " " + band + " 12 1\n").c_str());
    EXPECT_EQ(std::string(line.name.data()), std::string(15, 'n'));
    EXPECT_EQ(std::string(line.type.data()), std::string(23, 't'));
    EXPECT_EQ(std::string(line.band.data()), std::string(3, 'b'));
    EXPECT_EQ(line.priority, 12);
    EXPECT_EQ(line.follow_primary, 1);
}

TEST(ProfileLine, leaves_nothing_of_a_longer_word_before) {
    const auto before = scanned("interface-name1 VISITOR_SERVICE_AP 5h 1 1\n");
    const auto line = scanned("eth ETHERNET 2 0 0\n", before);
    EXPECT_EQ(line.name, (std::array<char, INTF_NAME_SIZE>{'e', 't', 'h'}));
    EXPECT_STREQ(line.type.data(), "ETHERNET");
    EXPECT_STREQ(line.band.data(), "2");
}

TEST(ProfileLine, wraps_numbers_to_their_width) {
    const auto line = scanned("a b c 70000 256\n");
    EXPECT_EQ(line.priority, 4464);
    EXPECT_EQ(line.follow_primary, 0);
}

TEST(TypeCode, is_fixed_for_each_keyword) {
    EXPECT_EQ(intf_type_code("MAIN_SERVICE_AP"), 0);
    EXPECT_EQ(intf_type_code("GUEST_SERVICE_AP"), 1);
    EXPECT_EQ(intf_type_code("VISITOR_SERVICE_AP"), 2);
    EXPECT_EQ(intf_type_code("BACKHAUL_STA"), 3);
    EXPECT_EQ(intf_type_code("BACKHAUL_AP"), 4);
    EXPECT_EQ(intf_type_code("PRE_DEF_AP"), 5);
    EXPECT_EQ(intf_type_code("ETHERNET"), 6);
    EXPECT_EQ(intf_type_code("AP_TIMER_INTF"), 7);
}

TEST(TypeCode, is_8_for_anything_else) {
    for (const char* const keyword :
         {"", "BACKHAUL_ST", "BACKHAUL_STAX", "backhaul_sta", "Ethernet"}) {
        EXPECT_EQ(intf_type_code(keyword), 8) << keyword;
    }
}

TEST(BandCode, is_one_bit_for_each_keyword) {
    EXPECT_EQ(intf_band_code("2"), 1);
    EXPECT_EQ(intf_band_code("5"), 2);
    EXPECT_EQ(intf_band_code("5h"), 4);
    EXPECT_EQ(intf_band_code("5l"), 8);
}

TEST(BandCode, is_0_for_anything_else) {
    for (const char* const keyword : {"", "24", "5H", "5L", "6", "2.4"}) {
        EXPECT_EQ(intf_band_code(keyword), 0) << keyword;
    }
}

}  // namespace
