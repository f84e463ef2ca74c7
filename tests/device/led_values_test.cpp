// Which pattern the LED shows: the whole table of states and link counts.

#include "device/led.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

std::string pattern(int state, int32_t backhaul_sta_num) {
    const char* const word = led_pattern_choose(static_cast<led_state>(state), backhaul_sta_num);
    return word != nullptr ? word : "-";
}

constexpr int32_t LOWEST = std::numeric_limits<int32_t>::min();
constexpr int32_t HIGHEST = std::numeric_limits<int32_t>::max();

TEST(LedPattern, shows_disconnected_only_when_no_link_is_left) {
    EXPECT_EQ(pattern(0, 0), "BackhaulDisConnect");
    for (const int32_t num : {1, 2, 3, -1, LOWEST, HIGHEST}) {
        EXPECT_EQ(pattern(0, num), "-") << num;
    }
}

TEST(LedPattern, shows_connected_for_no_link_and_for_the_first_one) {
    EXPECT_EQ(pattern(1, 0), "BackhaulConnect");
    EXPECT_EQ(pattern(1, 1), "BackhaulConnect");
    for (const int32_t num : {2, 3, -1, LOWEST, HIGHEST}) {
        EXPECT_EQ(pattern(1, num), "-") << num;
    }
}

TEST(LedPattern, shows_the_configuration_patterns_at_any_number_of_links) {
    for (const int32_t num : {0, 1, 2, 3, -1, LOWEST, HIGHEST}) {
        EXPECT_EQ(pattern(2, num), "BackhaulConfig") << num;
        EXPECT_EQ(pattern(3, num), "BackhaulFinish") << num;
    }
}

TEST(LedPattern, leaves_the_led_alone_for_an_unknown_state) {
    for (const int state : {4, 5, -1, 255}) {
        for (const int32_t num : {0, 1, 2, -1}) {
            EXPECT_EQ(pattern(state, num), "-") << state << " at " << num;
        }
    }
}

}  // namespace
