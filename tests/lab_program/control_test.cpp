// Requests, answered with a mesh that only remembers.
#include <gtest/gtest.h>

#include "lab/program/control.h"
#include "tests/lab_program/fake_mesh.h"

namespace lab {
namespace {

class ControlTest : public ::testing::Test {
protected:
    Outcome ask(const std::vector<std::string>& words, int client = 1) {
        return control_request(&control_, client, words, 0);
    }

    FakeMesh fake_;
    Control control_ = fake_.control();
};

TEST_F(ControlTest, does_a_verb_at_once) {
    const Outcome outcome = ask({"do", "deauth", "e1", "ath0"});
    EXPECT_FALSE(outcome.waits);
    EXPECT_EQ(outcome.answer.code, 0);
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1 ath0"}));
}

TEST_F(ControlTest, tells_why_a_verb_changed_nothing) {
    EXPECT_EQ(ask({"do", "ap-on", "e1"}).answer.text, "it was on");
}

TEST_F(ControlTest, tells_that_a_verb_failed) {
    const Outcome outcome = ask({"do", "reboot", "e1"});
    EXPECT_EQ(outcome.answer.code, 1);
    EXPECT_EQ(outcome.answer.text, "no power here");
}

TEST_F(ControlTest, refuses_a_verb_for_a_node_that_is_not_there) {
    const Outcome outcome = ask({"do", "deauth", "e2"});
    EXPECT_EQ(outcome.answer.code, 2);
    EXPECT_EQ(outcome.answer.text, "`e2` is no node of this mesh (did you mean `e1`?)");
    EXPECT_TRUE(fake_.verbs.empty());
}

TEST_F(ControlTest, refuses_an_unknown_or_empty_request) {
    EXPECT_EQ(ask({"dance"}).answer.text, "`dance` is no request");
    EXPECT_EQ(ask({""}).answer.code, 2);
    EXPECT_EQ(ask({"do"}).answer.text, "say `do STEP`");
    EXPECT_EQ(ask({"do", "after", "3"}).answer.code, 2);
    EXPECT_EQ(ask({"enter"}).answer.code, 2);
}

TEST_F(ControlTest, answers_a_wait_when_its_seconds_have_passed) {
    EXPECT_TRUE(ask({"do", "wait", "3"}, 8).waits);
    EXPECT_TRUE(control_.pace.request_waits);
    EXPECT_TRUE(control_second(&control_, 0).empty());
    EXPECT_TRUE(control_second(&control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].client, 8);
    EXPECT_EQ(answers[0].answer.code, 0);
    EXPECT_FALSE(control_.pace.request_waits);
}

TEST_F(ControlTest, does_a_verb_after_the_time_that_was_named) {
    EXPECT_TRUE(ask({"do", "after", "2", "deauth", "e1"}).waits);
    control_second(&control_, 0);
    EXPECT_TRUE(fake_.verbs.empty());
    EXPECT_EQ(control_second(&control_, 0).size(), 1U);
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1"}));
}

TEST_F(ControlTest, answers_an_expectation_as_soon_as_it_holds) {
    fake_.holds_at = 2;
    EXPECT_TRUE(ask({"do", "expect", "e1", "status", "ready", "within", "30"}).waits);
    EXPECT_TRUE(control_second(&control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.code, 0);
}

TEST_F(ControlTest, says_what_was_there_when_an_expectation_did_not_come_true_in_time) {
    EXPECT_TRUE(ask({"do", "expect", "e1", "status", "ready", "within", "2"}).waits);
    EXPECT_TRUE(control_second(&control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.code, 1);
    EXPECT_EQ(answers[0].answer.text, "e1 status is not-ready");
}

TEST_F(ControlTest, answers_an_expectation_that_has_to_last_at_its_end_or_when_it_fails) {
    EXPECT_FALSE(ask({"do", "expect", "e1", "status", "ready", "for", "2"}).waits);
    fake_.holds_at = 0;
    EXPECT_TRUE(ask({"do", "expect", "e1", "status", "ready", "for", "2"}).waits);
    EXPECT_TRUE(control_second(&control_, 0).empty());
    std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.code, 0);
    EXPECT_TRUE(ask({"do", "expect", "e1", "status", "ready", "for", "9"}).waits);
    fake_.holds_at = -1;
    answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.code, 1);
    EXPECT_EQ(ask({"do", "say", "so"}).answer.text, "so");
}

TEST_F(ControlTest, does_not_wait_for_an_expectation_without_time) {
    const Outcome outcome = ask({"do", "expect", "e1", "status", "ready"});
    EXPECT_FALSE(outcome.waits);
    EXPECT_EQ(outcome.answer.code, 1);
}

TEST_F(ControlTest, forgets_the_steps_of_a_client_that_went_away) {
    ask({"do", "wait", "1"}, 3);
    ask({"do", "wait", "1"}, 4);
    control_forget(&control_, 3);
    const std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].client, 4);
}

TEST_F(ControlTest, stands_still_and_says_why_when_a_second_does_not_pass) {
    ask({"do", "wait", "5"});
    fake_.fails = "e1 is busy";
    const std::vector<LateAnswer> answers = control_second(&control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.code, 1);
    EXPECT_EQ(answers[0].answer.text, "e1 is busy");
    EXPECT_LT(pace_wait(control_.pace, 0), 0);
    MeshStatus status;
    ServerStatus server;
    ASSERT_TRUE(status_decode(ask({"status"}).answer.lines, &status, &server));
    EXPECT_EQ(server.stalled, "e1 is busy");
    EXPECT_TRUE(server.paused);
}

TEST_F(ControlTest, dates_log_lines_with_the_time_of_the_mesh) {
    fake_.log = {{1700000001, "first"}, {1700000002, "second"}};
    const Outcome outcome = ask({"log", "e1", "-1", "0"});
    EXPECT_EQ(outcome.answer.lines,
              (std::vector<std::string>{"Tue Nov 14 22:13:21 2023 : first",
                                        "Tue Nov 14 22:13:22 2023 : second"}));
    EXPECT_EQ(outcome.answer.text, "2");
}

TEST_F(ControlTest, goes_on_with_a_log_where_the_reader_stopped) {
    fake_.log = {{0, "a"}, {0, "b"}, {0, "c"}};
    EXPECT_EQ(ask({"log", "e1", "-1", "2"}).answer.lines.size(), 2U);
    EXPECT_EQ(ask({"log", "e1", "3", "0"}).answer.lines.size(), 0U);
    fake_.log = {{0, "d"}};
    const Outcome outcome = ask({"log", "e1", "3", "0"});
    EXPECT_EQ(outcome.answer.lines, (std::vector<std::string>{"Thu Jan  1 00:00:00 1970 : d"}));
    EXPECT_EQ(outcome.answer.text, "4");
    EXPECT_EQ(ask({"log", "e1", "99", "0"}).answer.text, "4");
}

TEST_F(ControlTest, keeps_the_newest_lines_of_a_long_log) {
    fake_.log.assign(LOG_LINES_KEPT + 5, {0, "old"});
    control_read_logs(&control_);
    fake_.log = {{0, "new"}};
    Outcome outcome = ask({"log", "e1", "0", "0"});
    EXPECT_EQ(outcome.answer.lines.size(), LOG_LINES_AT_ONCE);
    EXPECT_EQ(outcome.answer.text, std::to_string(6 + LOG_LINES_AT_ONCE));
    outcome = ask({"log", "e1", "-1", "1"});
    EXPECT_EQ(outcome.answer.lines, (std::vector<std::string>{"Thu Jan  1 00:00:00 1970 : new"}));
}

TEST_F(ControlTest, changes_speed_and_pauses) {
    EXPECT_EQ(ask({"speed", "25"}).answer.code, 0);
    EXPECT_EQ(control_.pace.speed, 25);
    EXPECT_EQ(ask({"speed", "pause"}).answer.code, 0);
    EXPECT_TRUE(control_.pace.paused);
    EXPECT_EQ(ask({"speed", "resume"}).answer.code, 0);
    EXPECT_FALSE(control_.pace.paused);
    EXPECT_EQ(ask({"speed", "soon"}).answer.code, 2);
    EXPECT_EQ(control_.pace.speed, 25);
}

TEST_F(ControlTest, hurries_while_the_scenario_has_steps_left) {
    fake_.steps_left = true;
    control_second(&control_, 0);
    EXPECT_EQ(pace_wait(control_.pace, 0), 0);
    fake_.steps_left = false;
    control_second(&control_, 0);
    EXPECT_GT(pace_wait(control_.pace, 1), 0);
}

TEST_F(ControlTest, ends_when_told_to) {
    EXPECT_EQ(ask({"down"}).answer.code, 0);
    EXPECT_TRUE(control_.ends);
}

}  // namespace
}  // namespace lab
