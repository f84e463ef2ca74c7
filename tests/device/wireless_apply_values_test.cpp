// The radio of each band and its files.

#include "device/wireless_apply.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    uint8_t band;
    const char* radio;
    const char* apply_path;
    const char* status_path;
};

TEST(RadioRow, names_radio_and_files_of_each_band) {
    constexpr Row ROWS[] = {
        {1, "wifi0", "/tmp/wifi24G_Apply", "/tmp/wifi24G_Status"},
        {2, "wifi1", "/tmp/wifi5G_Apply", "/tmp/wifi5G_Status"},
        {8, "wifi1", "/tmp/wifi5G_Apply", "/tmp/wifi5G_Status"},
        {4, "wifi2", "/tmp/wifi5G_2_Apply", "/tmp/wifi5G_2_Status"},
    };
    for (const Row& row : ROWS) {
        const radio_row* const found = radio_row_find(row.band);
        ASSERT_NE(found, nullptr) << int{row.band};
        EXPECT_STREQ(found->radio, row.radio);
        EXPECT_STREQ(found->apply_path, row.apply_path);
        EXPECT_STREQ(found->status_path, row.status_path);
    }
}

TEST(RadioRow, is_none_for_a_band_that_is_not_exactly_one_bit) {
    for (const int band : {0, 3, 5, 6, 9, 10, 12, 15, 16, 255}) {
        EXPECT_EQ(radio_row_find(static_cast<uint8_t>(band)), nullptr) << band;
    }
}

}  // namespace
