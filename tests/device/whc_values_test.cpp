// Answers of the driver's hybrid-connectivity requests, and the AP that the supplicant is told.

#include "device/whc.h"

#include <gtest/gtest.h>

namespace {

constexpr mac_address NONE = {};
constexpr mac_address CURRENT = {2, 0, 0, 0, 0, 1};
constexpr mac_address CONFIGURED = {2, 0, 0, 0, 0, 2};

TEST(UlRate, is_the_number_after_the_first_colon) {
    EXPECT_EQ(ul_rate_parse("ath0      get_whc_ul_rate:866  \n"), 866);
    EXPECT_EQ(ul_rate_parse("a:1:2\n"), 1);
    EXPECT_EQ(ul_rate_parse("two\nlines:300\n"), 300);
    EXPECT_EQ(ul_rate_parse("a: 12"), 12);
    EXPECT_EQ(ul_rate_parse("a:-5"), -5);
}

TEST(UlRate, is_zero_when_there_is_no_number) {
    for (const char* const text : {"", "\n", "ath0 get_whc_ul_rate", "ath0:", "ath0:fast", ":7"}) {
        EXPECT_EQ(ul_rate_parse(text), 0) << text;
    }
}

TEST(BestBssid, is_the_six_bytes_after_the_first_colon) {
    const mac_address expected = {0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0};
    EXPECT_EQ(best_bssid_parse("ath0      get_whc_bssid:021Aff0007B0  \n"), expected);
}

TEST(BestBssid, is_zero_when_the_driver_names_none) {
    for (const char* const line : {"", "\n", "ath0 get_whc_bssid", "ath0      get_whc_bssid:\n",
                                   "ath0:none", ":021Aff0007B0"}) {
        EXPECT_EQ(best_bssid_parse(line), NONE) << line;
    }
}

TEST(BestBssid, leaves_bytes_that_do_not_scan_at_zero) {
    const mac_address expected = {0x02, 0x1a, 0, 0, 0, 0};
    EXPECT_EQ(best_bssid_parse("ath0:021a"), expected);
    EXPECT_EQ(best_bssid_parse("ath0:021axx00"), expected);
}

TEST(BestApTarget, is_the_configured_address_when_there_is_one) {
    EXPECT_EQ(best_ap_target(CONFIGURED, CURRENT), CONFIGURED);
    EXPECT_EQ(best_ap_target({0, 0, 0, 0, 0, 1}, CURRENT), (mac_address{0, 0, 0, 0, 0, 1}));
}

TEST(BestApTarget, is_the_current_address_when_none_is_configured) {
    EXPECT_EQ(best_ap_target(NONE, CURRENT), CURRENT);
}

}  // namespace
