// The decision of one configuration check: the whole table.

#include "device/companion_ap.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

struct Row {
    bool companion_exists;
    bool reload;
    bool enabled;
    const char* reference_disabled;
    // expected
    bool reload_now;
    bool reload_next;
    bool enabled_next;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << (row.companion_exists ? "companion" : "no companion") << ", reload " << int{row.reload}
         << ", enabled " << int{row.enabled} << ", disabled \"" << row.reference_disabled << '"';
}

constexpr Row ROWS[] = {
    // a reference in step with its flag: nothing to do
    {true, 0, 1, "0", false, 0, 1},
    {true, 0, 0, "1", false, 0, 0},
    {false, 0, 1, "0", false, 0, 1},
    {false, 0, 0, "1", false, 0, 0},
    // the reference changed: recorded now, carried by the next call
    {true, 0, 1, "1", false, 1, 0},
    {true, 0, 0, "0", false, 1, 1},
    {false, 0, 1, "1", false, 1, 0},
    {false, 0, 0, "0", false, 1, 1},
    // the recorded change is carried, once
    {true, 1, 0, "1", true, 0, 0},
    {true, 1, 1, "0", true, 0, 1},
    // carried while the reference changes again
    {true, 1, 1, "1", true, 1, 0},
    {true, 1, 0, "0", true, 1, 1},
    // without the companion the flag waits for it
    {false, 1, 1, "0", false, 1, 1},
    {false, 1, 0, "1", false, 1, 0},
    // an unset or odd option changes nothing
    {true, 0, 1, "", false, 0, 1},
    {true, 0, 0, "", false, 0, 0},
    {true, 0, 0, "00", false, 0, 0},
    {true, 0, 1, "11", false, 0, 1},
    {true, 1, 1, "", true, 0, 1},
};

class WifiConfigChoose : public testing::TestWithParam<Row> {};

TEST_P(WifiConfigChoose, follows_the_reference_with_one_call_of_lag) {
    const Row& row = GetParam();
    const wifi_config_step step =
        wifi_config_choose(row.companion_exists, row.reload, row.enabled, row.reference_disabled);
    EXPECT_EQ(step.reload, row.reload_now);
    EXPECT_EQ(int{step.reload_next}, int{row.reload_next});
    EXPECT_EQ(int{step.enabled_next}, int{row.enabled_next});
}

INSTANTIATE_TEST_SUITE_P(Table, WifiConfigChoose, testing::ValuesIn(ROWS));

}  // namespace
