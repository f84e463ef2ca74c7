// Codes and files of the auto-configuration agent.

#include "device/autoconfig_table.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct expected_row {
    int32_t type;
    uint8_t band;
    const char* start_line;
    const char* output_path;
    const char* state_path;
};

// The whole table: type by band.
constexpr expected_row EXPECTED[] = {
    {0, 1, "/usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_24G",
     "/tmp/vl1905/vl1905WIFIState_24G"},
    {0, 2, "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_5G",
     "/tmp/vl1905/vl1905WIFIState_5G"},
    {0, 8, "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_5G",
     "/tmp/vl1905/vl1905WIFIState_5G"},
    {0, 4, "/usr/sbin/vl1905App 17 0x09 1>/dev/null 2>&1", nullptr, nullptr},
    {1, 1, "/usr/sbin/vl1905App 17 0x20 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_G1_24G",
     "/tmp/vl1905/vl1905WIFIState_G1_24G"},
    {1, 2, "/usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_G1_5G",
     "/tmp/vl1905/vl1905WIFIState_G1_5G"},
    {1, 8, "/usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_G1_5G",
     "/tmp/vl1905/vl1905WIFIState_G1_5G"},
    {1, 4, "/usr/sbin/vl1905App 17 0x29 1>/dev/null 2>&1", nullptr, nullptr},
    {2, 1, "/usr/sbin/vl1905App 17 0x40 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_V_24G",
     "/tmp/vl1905/vl1905WIFIState_V_24G"},
    {2, 2, "/usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_V_5G",
     "/tmp/vl1905/vl1905WIFIState_V_5G"},
    {2, 8, "/usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1", "/tmp/vl1905/APautooutput_V_5G",
     "/tmp/vl1905/vl1905WIFIState_V_5G"},
    {2, 4, "/usr/sbin/vl1905App 17 0x49 1>/dev/null 2>&1", nullptr, nullptr},
};

TEST(AutoconfigRow, gives_code_and_files_for_each_type_and_band) {
    for (const auto& expected : EXPECTED) {
        const autoconfig_row* const row =
            autoconfig_row_find(static_cast<intf_type>(expected.type), expected.band);
        const std::string where =
            std::to_string(expected.type) + "/" + std::to_string(expected.band);
        ASSERT_NE(row, nullptr) << where;
        EXPECT_STREQ(row->start_line, expected.start_line) << where;
        EXPECT_STREQ(row->output_path, expected.output_path) << where;
        EXPECT_STREQ(row->state_path, expected.state_path) << where;
    }
}

TEST(AutoconfigRow, tests_the_bands_in_the_order_2_5_5l_5h) {
    EXPECT_STREQ(autoconfig_row_find(MAIN_SERVICE_AP, 15)->output_path,
                 "/tmp/vl1905/APautooutput_24G");
    EXPECT_STREQ(autoconfig_row_find(MAIN_SERVICE_AP, 14)->output_path,
                 "/tmp/vl1905/APautooutput_5G");
    EXPECT_STREQ(autoconfig_row_find(MAIN_SERVICE_AP, 12)->start_line,
                 "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1")
        << "low before high";
}

TEST(AutoconfigRow, is_none_for_other_types_and_unknown_bands) {
    for (int32_t type = 3; type <= 8; ++type) {
        EXPECT_EQ(autoconfig_row_find(static_cast<intf_type>(type), 1), nullptr) << type;
    }
    EXPECT_EQ(autoconfig_row_find(MAIN_SERVICE_AP, 0), nullptr);
    EXPECT_EQ(autoconfig_row_find(MAIN_SERVICE_AP, 16), nullptr);
}

TEST(AutoconfigReload, is_zero_when_the_character_is_anywhere_in_the_line) {
    EXPECT_TRUE(autoconfig_reload_is_zero("\"AP-autoconfig_WiFiReload\": 0,\n"));
    EXPECT_TRUE(autoconfig_reload_is_zero("\"AP-autoconfig_WiFiReload\": 10\n"));
}

TEST(AutoconfigReload, is_not_zero_without_the_character) {
    EXPECT_FALSE(autoconfig_reload_is_zero("\"AP-autoconfig_WiFiReload\": 1,\n"));
    EXPECT_FALSE(autoconfig_reload_is_zero(""));
}

}  // namespace
