// The supplicant's state in a line of its status.

#include "device/supplicant.h"

#include <gtest/gtest.h>

namespace {

TEST(WpaStateLine, is_disabled_only_when_it_says_so) {
    EXPECT_TRUE(wpa_state_line_is_disabled("wpa_state=INTERFACE_DISABLED\n"));
    for (const char* const line : {"wpa_state=COMPLETED\n", "wpa_state=DISCONNECTED\n",
                                   "wpa_state=INACTIVE\n", "wpa_state=INTERFACE_DISABLE", ""}) {
        EXPECT_FALSE(wpa_state_line_is_disabled(line)) << line;
    }
}

}  // namespace
