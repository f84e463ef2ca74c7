// One line of the interface profile.

#include "intf/intf_profile.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using columns = std::tuple<std::string, std::string, std::string, int, int>;

columns columns_of(const intf_profile_line& line) {
    return {line.name.data(), line.type.data(), line.band.data(), line.priority,
            line.follow_primary};
}

/// What is known after a line, and after one behind another.
columns scanned(const std::string& text, const std::string& before = "") {
    intf_profile_line line;
    if (!before.empty()) {
        intf_profile_line_scan(before.c_str(), line);
    }
    intf_profile_line_scan(text.c_str(), line);
    return columns_of(line);
}

constexpr char BEFORE[] = "ath1 BACKHAUL_AP 5l 3 2\n";

TEST(ProfileLine, has_five_columns) {
    EXPECT_EQ(scanned("ath0 BACKHAUL_STA 5h 65535 1\n"),
              (columns{"ath0", "BACKHAUL_STA", "5h", 65535, 1}));
}

TEST(ProfileLine, takes_any_white_space_and_ignores_further_columns) {
    EXPECT_EQ(scanned("\t ath10\t\tMAIN_SERVICE_AP   2 7\t0 extra 99\n"),
              (columns{"ath10", "MAIN_SERVICE_AP", "2", 7, 0}));
}

TEST(ProfileLine, repeats_the_line_before_when_it_is_blank) {
    for (const char* const blank : {"", "\n", " \t\n"}) {
        EXPECT_EQ(scanned(blank, BEFORE), (columns{"ath1", "BACKHAUL_AP", "5l", 3, 2})) << blank;
    }
}

TEST(ProfileLine, keeps_the_columns_that_it_lacks) {
    EXPECT_EQ(scanned("ath2 ETHERNET 2\n", BEFORE), (columns{"ath2", "ETHERNET", "2", 3, 2}));
    EXPECT_EQ(scanned("ath3\n", BEFORE), (columns{"ath3", "BACKHAUL_AP", "5l", 3, 2}));
    EXPECT_EQ(scanned("ath4 ETHERNET 2 high 1\n", BEFORE),
              (columns{"ath4", "ETHERNET", "2", 3, 2}));
}

TEST(ProfileLine, is_empty_when_the_first_line_is_blank) {
    EXPECT_EQ(scanned("\n"), (columns{"", "", "", 0, 0}));
}

TEST(ProfileLine, cuts_long_words_to_their_column_without_spilling) {
    const std::string name(40, 'n');
    const std::string type(40, 't');
    const std::string band(40, 'b');
    EXPECT_EQ(scanned(name + " " + type + " " + band + " 12 1\n"),
              (columns{std::string(15, 'n'), std::string(23, 't'), "bbb", 12, 1}));
}

TEST(ProfileLine, leaves_nothing_of_a_longer_word_before) {
    intf_profile_line line;
    intf_profile_line_scan("interface-name1 VISITOR_SERVICE_AP 5h 1 1\n", line);
    intf_profile_line_scan("eth ETHERNET 2 0 0\n", line);
    EXPECT_EQ(line.name, (std::array<char, INTF_NAME_SIZE>{'e', 't', 'h'}));
    EXPECT_EQ(columns_of(line), (columns{"eth", "ETHERNET", "2", 0, 0}));
}

TEST(ProfileLine, wraps_numbers_to_their_width) {
    EXPECT_EQ(scanned("a b c 70000 256\n"), (columns{"a", "b", "c", 4464, 0}));
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
