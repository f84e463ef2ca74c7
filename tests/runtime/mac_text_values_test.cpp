// MAC addresses: their text, the test for "none", and reading them back.

#include <gtest/gtest.h>

#include "runtime/mac_text.h"

namespace {

constexpr mac_address MIXED = {0x02, 0xab, 0x00, 0x7f, 0xff, 0x10};

TEST(MacText, is_six_lower_case_bytes_of_two_digits) {
    EXPECT_STREQ(mac_format(MIXED).data(), "02:ab:00:7f:ff:10");
    EXPECT_STREQ(mac_format({}).data(), "00:00:00:00:00:00");
}

TEST(BssidIsZero, holds_only_when_all_six_bytes_are_zero) {
    EXPECT_EQ(bssid_is_zero({}), 1);
    for (size_t i = 0; i < 6; ++i) {
        mac_address mac{};
        mac[i] = 1;
        EXPECT_EQ(bssid_is_zero(mac), 0) << "byte " << i;
    }
}

TEST(MacScan, reads_both_cases_and_counts_the_bytes) {
    mac_address mac{};
    EXPECT_EQ(mac_scan("02:ab:00:7f:ff:10", mac), 6);
    EXPECT_EQ(mac, MIXED);
    mac = {};
    EXPECT_EQ(mac_scan("02:AB:0:7F:FF:10 and more", mac), 6);
    EXPECT_EQ(mac, MIXED);
}

TEST(MacScan, keeps_the_bytes_that_do_not_scan) {
    mac_address mac = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(mac_scan("aa:bb:zz", mac), 2);
    EXPECT_EQ(mac, (mac_address{0xaa, 0xbb, 3, 4, 5, 6}));
    EXPECT_EQ(mac_scan("", mac), 0);
    EXPECT_EQ(mac_scan("none", mac), 0);
    EXPECT_EQ(mac, (mac_address{0xaa, 0xbb, 3, 4, 5, 6}));
}

}  // namespace
