// Names and times.

#include "device/system_probe.h"

#include <gtest/gtest.h>

namespace {

TEST(IntfIsAth20, holds_for_exactly_that_name) {
    EXPECT_EQ(intf_is_ath20("ath20"), 1);
    for (const char* const name : {"ath2", "ath200", "ath21", "Ath20", " ath20", ""}) {
        EXPECT_EQ(intf_is_ath20(name), 0) << name;
    }
}

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
