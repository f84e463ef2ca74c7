#pragma once

// The node's front LED, through its tool, in the background. Any thread, no lock, no memory of
// the last pattern.

#include <cstdint>

enum led_state : int {
    LED_DISCONNECTED = 0,
    LED_CONNECTED = 1,
    LED_CONFIG = 2,
    LED_FINISH = 3,
};

/// Pattern word of a request at a number of links, or null when the LED is left alone.
const char* led_pattern_choose(led_state state, int32_t backhaul_sta_num);

/// Shows `state`; callers pass the number of links after they have updated it.
void device_led_control(led_state state, int32_t backhaul_sta_num);
