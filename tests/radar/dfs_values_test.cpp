// Which access point the radar handling watches.

#include "radar/dfs.h"

#include <gtest/gtest.h>

namespace {

TEST(IntfIsAth20, holds_for_exactly_that_name) {
    EXPECT_EQ(intf_is_ath20("ath20"), 1);
    for (const char* const name : {"ath2", "ath200", "ath21", "Ath20", " ath20", ""}) {
        EXPECT_EQ(intf_is_ath20(name), 0) << name;
    }
}

}  // namespace
