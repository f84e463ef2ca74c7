// Values behind the harness: comparing lines, splitting and following the flow log.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>

#include "lab/node/flow_log_reader.h"
#include "lab/tools/small_file.h"
#include "tests/harness/line_match.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::Lines;
using harness::lines_differ;
using harness::state_after;

TEST(LinesDiffer, says_nothing_when_the_lines_are_equal) {
    EXPECT_EQ(lines_differ({"a", "b"}, {"a", "b"}), "");
    EXPECT_EQ(lines_differ({}, {}), "");
}

TEST(LinesDiffer, marks_what_is_missing_and_what_nobody_expected) {
    EXPECT_EQ(lines_differ({"a", "b", "c"}, {"a", "x", "c"}), "  a\n- b\n+ x\n  c\n");
    EXPECT_EQ(lines_differ({}, {"x"}), "+ x\n");
    EXPECT_EQ(lines_differ({"a"}, {}), "- a\n");
}

TEST(LinesDiffer, sees_a_changed_order) {
    EXPECT_NE(lines_differ({"a", "b"}, {"b", "a"}), "");
}

TEST(LinesDiffer, lets_dots_stand_for_any_number_of_lines) {
    EXPECT_EQ(lines_differ({"..."}, {}), "");
    EXPECT_EQ(lines_differ({"a", "...", "d"}, {"a", "b", "c", "d"}), "");
    EXPECT_EQ(lines_differ({"...", "b", "..."}, {"b"}), "");
    EXPECT_EQ(lines_differ({"...", "a", "b"}, {"a", "x", "a", "b"}), "");
    EXPECT_NE(lines_differ({"...", "b", "..."}, {"a", "c"}), "");
    EXPECT_NE(lines_differ({"a", "..."}, {"b", "a"}), "");
}

TEST(StateAfter, is_the_requested_one_only_if_the_transition_is_taken) {
    const std::string start = "backhaul_intf_state_change : change ath0 state from ";
    EXPECT_EQ(state_after({start + "0 to 3", start + "3 to 4"}, "ath0"), 4);
    EXPECT_EQ(state_after({start + "3 to 7", start + "7 to 4"}, "ath0"), 7);
    EXPECT_EQ(state_after({start + "5 to 6"}, "ath0"), 5);
    EXPECT_EQ(state_after({start + "0 to 3"}, "ath1"), -1);
    EXPECT_EQ(state_after({"backhaul_intf_state_change : change ath0x state from 0 to 3"}, "ath0"),
              -1);
}

TEST(LogLineSplit, takes_the_date_off_and_reads_it) {
    std::int64_t time = 0;
    std::string text;
    EXPECT_TRUE(lab::log_line_split("Tue Nov 14 22:13:20 2023 : INIT : x", time, text));
    EXPECT_EQ(time, 1700000000);
    EXPECT_EQ(text, "INIT : x");
    EXPECT_EQ(lab::log_line_join(time, text), "Tue Nov 14 22:13:20 2023 : INIT : x");
    EXPECT_TRUE(lab::log_line_split("Thu Jan  1 00:00:00 1970 : ", time, text));
    EXPECT_EQ(time, 0);
    EXPECT_EQ(text, "");
    EXPECT_EQ(lab::log_line_join(time, text), "Thu Jan  1 00:00:00 1970 : ");
    EXPECT_FALSE(lab::log_line_split("Tue Nov 14 22:13:20 2023", time, text));
    EXPECT_FALSE(lab::log_line_split("a text of some length that is no date : x", time, text));
}

TEST(WithoutDates, keeps_lines_that_have_none) {
    EXPECT_EQ(harness::without_dates("Tue Nov 14 22:13:20 2023 : one\ntwo\n"),
              (Lines{"one", "two"}));
}

class FollowedLog : public harness::SandboxTest {
protected:
    static constexpr char LOG[] = "/var/log/backhaul_flow_log";

    static void grow(const std::string& text) {
        lab::file_append(LOG, "Tue Nov 14 22:13:20 2023 : " + text);
    }
    static void rotate() {
        rename(LOG, "/var/log/backhaul_flow_log.1");
    }
    Lines read() {
        Lines texts;
        for (const lab::LogLine& line : reader_.read_new()) {
            texts.push_back(line.text);
        }
        return texts;
    }
    lab::FlowLogReader reader_{LOG};
};

TEST_F(FollowedLog, gives_each_line_once) {
    EXPECT_EQ(read(), Lines{});
    grow("a\n");
    EXPECT_EQ(read(), Lines{"a"});
    EXPECT_EQ(read(), Lines{});
    grow("b\nc\n");
    EXPECT_EQ(read(), (Lines{"b", "c"}));
}

TEST_F(FollowedLog, waits_for_the_end_of_a_line) {
    grow("half");
    EXPECT_EQ(read(), Lines{});
    lab::file_append(LOG, " whole\n");
    EXPECT_EQ(read(), Lines{"half whole"});
}

TEST_F(FollowedLog, follows_a_rotation_with_unread_lines_on_both_sides) {
    grow("a\n");
    read();
    grow("b\n");
    rotate();
    grow("c\n");
    EXPECT_EQ(read(), (Lines{"b", "c"}));
    EXPECT_EQ(reader_.generations().size(), 2U);
    EXPECT_EQ(reader_.lost(), 0);
}

TEST_F(FollowedLog, still_reads_a_file_that_was_removed) {
    grow("a\n");
    read();
    grow("b\n");
    unlink(LOG);
    EXPECT_EQ(read(), Lines{"b"});
    grow("c\n");
    EXPECT_EQ(read(), Lines{"c"});
}

TEST_F(FollowedLog, tells_when_two_rotations_passed_unseen) {
    grow("a\n");
    read();
    rotate();
    grow("b\n");
    rotate();
    grow("c\n");
    EXPECT_EQ(read(), (Lines{"b", "c"}));
    EXPECT_EQ(reader_.lost(), 1);
}

}  // namespace
