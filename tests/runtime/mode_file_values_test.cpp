// The role that a word of the role file stands for.

#include <gtest/gtest.h>

#include "runtime/mode_file.h"

namespace {

TEST(ModeRole, is_root_for_master_and_extender_for_slave) {
    EXPECT_EQ(mode_role("master", 0), 1);
    EXPECT_EQ(mode_role("master", 1), 1);
    EXPECT_EQ(mode_role("slave", 0), 0);
    EXPECT_EQ(mode_role("slave", 1), 0);
}

TEST(ModeRole, stays_as_it_is_for_any_other_word) {
    for (const char* const word : {"", "Master", "SLAVE", "masters", "maste", "1"}) {
        EXPECT_EQ(mode_role(word, 0), 0) << word;
        EXPECT_EQ(mode_role(word, 1), 1) << word;
    }
}

}  // namespace
