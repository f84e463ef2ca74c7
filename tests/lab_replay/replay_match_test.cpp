// What a daemon writes against what a log has.
#include <gtest/gtest.h>

#include "lab/replay/replay_match.h"
#include "tests/lab_replay/log_of.h"

namespace {

using harness::log_of;
using lab::ReplayMatch;

TEST(ReplayMatch, is_whole_when_every_line_came) {
    const auto log = log_of({"1 one", "2 two"});
    ReplayMatch match(log.lines);
    match.feed(1, "one");
    match.second_over(1);
    match.feed(2, "two");
    match.second_over(2);
    EXPECT_FALSE(match.difference());
    EXPECT_EQ(match.matched(), 2U);
    EXPECT_EQ(match.reordered(), 0U);
}

TEST(ReplayMatch, differs_at_a_line_that_does_not_come) {
    const auto log = log_of({"1 one", "2 two"});
    ReplayMatch match(log.lines);
    match.feed(1, "one");
    match.second_over(2);
    ASSERT_TRUE(match.difference());
    EXPECT_EQ(match.difference()->line, 1U);
    EXPECT_EQ(match.difference()->expected, "two");
    EXPECT_EQ(match.difference()->seen, "");
}

TEST(ReplayMatch, differs_at_a_line_that_comes_a_second_too_early) {
    const auto log = log_of({"2 two"});
    ReplayMatch match(log.lines);
    match.feed(1, "two");
    ASSERT_TRUE(match.difference());
    EXPECT_EQ(match.difference()->expected, "");
    EXPECT_EQ(match.difference()->seen, "two");
}

TEST(ReplayMatch, shows_both_texts_where_they_differ) {
    const auto log = log_of({"2 two"});
    ReplayMatch match(log.lines);
    match.feed(2, "too");
    ASSERT_TRUE(match.difference());
    EXPECT_EQ(match.difference()->expected, "two");
    EXPECT_EQ(match.difference()->seen, "too");
}

TEST(ReplayMatch, lets_a_line_of_another_thread_come_first_and_counts_it) {
    const auto log = log_of({"1 dev_intf_enable_set : enable ath2",
                             "1 backhaul_dfs_check : intf->channel 0 channel 100"});
    ReplayMatch match(log.lines);
    match.feed(1, "backhaul_dfs_check : intf->channel 0 channel 100");
    match.feed(1, "dev_intf_enable_set : enable ath2");
    EXPECT_FALSE(match.difference());
    EXPECT_EQ(match.reordered(), 1U);
    EXPECT_EQ(match.matched(), 2U);
}

TEST(ReplayMatch, lets_the_thread_that_hears_announcements_begin_when_it_likes) {
    const auto log = log_of({"1 dev_intf_enable_set : disable ath20", "1 loop_slave_handle : Enter",
                             "1 dev_intf_enable_set : disable ath12"});
    ReplayMatch match(log.lines);
    for (const char* const line :
         {"loop_slave_handle : Enter", "dev_intf_enable_set : disable ath20",
          "dev_intf_enable_set : disable ath12"}) {
        match.feed(1, line);
    }
    match.second_over(1);
    EXPECT_FALSE(match.difference());
    EXPECT_EQ(match.reordered(), 1U);
}

TEST(ReplayMatch, lets_no_line_of_the_same_thread_come_first) {
    const auto log =
        log_of({"1 dev_intf_enable_set : enable ath2", "1 dev_intf_enable_set : enable ath12"});
    ReplayMatch match(log.lines);
    match.feed(1, "dev_intf_enable_set : enable ath12");
    ASSERT_TRUE(match.difference());
    EXPECT_EQ(match.difference()->expected, "dev_intf_enable_set : enable ath2");
}

TEST(ReplayMatch, lets_no_line_come_twice) {
    const auto log = log_of({"1 one", "1 CHANNEL_CHANGE(ath20)"});
    ReplayMatch match(log.lines);
    match.feed(1, "CHANNEL_CHANGE(ath20)");
    match.feed(1, "CHANNEL_CHANGE(ath20)");
    EXPECT_TRUE(match.difference());
}

}  // namespace
