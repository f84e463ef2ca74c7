// Names and times.

#include "device/ap_settings_reload.h"

#include <gtest/gtest.h>

namespace {

TEST(TimeDiff, carries_a_negative_difference_of_microseconds) {
    EXPECT_DOUBLE_EQ(time_diff_sec({10, 900000}, {12, 100000}), 1.2);
}

TEST(TimeDiff, is_negative_when_the_clock_was_set_back) {
    EXPECT_DOUBLE_EQ(time_diff_sec({12, 100000}, {10, 900000}), -1.2);
}

TEST(TimeDiff, is_zero_for_equal_times) {
    EXPECT_DOUBLE_EQ(time_diff_sec({1700000000, 5}, {1700000000, 5}), 0.0);
}

TEST(TimeDiff, adds_seconds_and_microseconds) {
    EXPECT_DOUBLE_EQ(time_diff_sec({1700000000, 250000}, {1700000007, 750000}), 7.5);
}

}  // namespace
