#include "device/led.h"

#include "runtime/command.h"
#include "runtime/flow_log.h"
#include "runtime/table_check.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

namespace {

struct led_row {
    led_state state;
    const char* pattern;
    /// Shown while the number of links is within these bounds.
    int32_t num_min;
    int32_t num_max;
};

constexpr int32_t NUM_LOWEST = std::numeric_limits<int32_t>::min();
constexpr int32_t NUM_HIGHEST = std::numeric_limits<int32_t>::max();

// Not symmetric: connected also shows while no link is counted yet, disconnected never while one
// is left.
constexpr std::array<led_row, 4> LED_TABLE = {{
    {LED_DISCONNECTED, "BackhaulDisConnect", 0, 0},
    {LED_CONNECTED, "BackhaulConnect", 0, 1},
    {LED_CONFIG, "BackhaulConfig", NUM_LOWEST, NUM_HIGHEST},
    {LED_FINISH, "BackhaulFinish", NUM_LOWEST, NUM_HIGHEST},
}};

static_assert(LED_TABLE.size() == LED_FINISH + 1 &&
                  table_keys_count_up(LED_TABLE, [](const auto& row) { return row.state; }),
              "each LED state has one row");

}  // namespace

const char* led_pattern_choose(led_state state, int32_t backhaul_sta_num) {
    const auto* const row = std::ranges::find(LED_TABLE, state, &led_row::state);
    if (row == LED_TABLE.end() || backhaul_sta_num < row->num_min ||
        backhaul_sta_num > row->num_max) {
        return nullptr;
    }
    return row->pattern;
}

void device_led_control(led_state state, int32_t backhaul_sta_num) {
    const char* const pattern = led_pattern_choose(state, backhaul_sta_num);
    if (pattern == nullptr) {
        return;
    }
    command_format_run(COMMAND_SIZE_SHORT, "/sbin/velmor_led_ctrl %s &", pattern);
    flow_log("%s : /sbin/velmor_led_ctrl %s\n", __func__, pattern);
}
