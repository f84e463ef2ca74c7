// The LED's command line and log line.

#include "device/led.h"

#include "lab/tools/answer.h"
#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Led : public DeviceTest {
protected:
    /// Waits for the tool's calls, which come in the background, and for their end: none may be
    /// left for the next test.
    static void calls_expect(size_t count) {
        const auto seen = [] {
            return harness::recorded_calls().size();
        };
        EXPECT_TRUE(harness::wait_until([&] { return seen() == count; }))
            << seen() << " calls of the tool";
        harness::clock_settle();
    }
};

TEST_F(Led, runs_the_tool_in_the_background_then_logs_the_line_without_the_ampersand) {
    device_led_control(LED_DISCONNECTED, 0);
    device_led_control(LED_CONNECTED, 1);
    device_led_control(LED_CONFIG, 2);
    device_led_control(LED_FINISH, -1);
    EXPECT_THAT(journal(),
                ElementsAre("$ /sbin/velmor_led_ctrl BackhaulDisConnect &",
                            "device_led_control : /sbin/velmor_led_ctrl BackhaulDisConnect",
                            "$ /sbin/velmor_led_ctrl BackhaulConnect &",
                            "device_led_control : /sbin/velmor_led_ctrl BackhaulConnect",
                            "$ /sbin/velmor_led_ctrl BackhaulConfig &",
                            "device_led_control : /sbin/velmor_led_ctrl BackhaulConfig",
                            "$ /sbin/velmor_led_ctrl BackhaulFinish &",
                            "device_led_control : /sbin/velmor_led_ctrl BackhaulFinish"));
    calls_expect(4);
}

TEST_F(Led, shows_the_same_pattern_again_when_asked_again) {
    device_led_control(LED_CONNECTED, 1);
    device_led_control(LED_CONNECTED, 1);
    EXPECT_EQ(journal().size(), 4U);
    calls_expect(2);
}

TEST_F(Led, runs_and_logs_nothing_while_the_led_is_left_alone) {
    device_led_control(LED_DISCONNECTED, 1);
    device_led_control(LED_CONNECTED, 2);
    device_led_control(static_cast<led_state>(4), 0);
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Led, does_not_wait_for_the_tool) {
    lab::answer_hold("", "velmor_led_ctrl", "led");
    device_led_control(LED_CONFIG, 0);
    EXPECT_EQ(journal().size(), 2U);
    calls_expect(1);
    lab::gate_open("", "led");
    harness::clock_settle();
}

}  // namespace
