// Requests, answered with a mesh that only remembers.
#include "lab/program/control.h"

#include <gtest/gtest.h>

#include "tests/lab_program/fake_mesh.h"

namespace lab {
namespace {

class ControlTest : public ::testing::Test {
protected:
    Outcome ask(const ApiCall& call, int client = 1) {
        return control_request(control_, client, call, 0);
    }
    Outcome step(const std::vector<std::string>& words, int client = 1) {
        return ask({ApiAction::step, "", {{"words", words}}}, client);
    }
    Outcome speed(const Json& body) {
        return ask({ApiAction::speed, "", body});
    }
    Json log_lines(std::int64_t from, std::int64_t last = -1) {
        return ask({ApiAction::log, "e1", {}, from, last}).answer.body;
    }
    std::vector<std::string> events(std::int64_t from) {
        std::vector<std::string> lines;
        for (std::string line; !(line = control_event(control_, from)).empty();) {
            lines.push_back(line);
        }
        return lines;
    }

    FakeMesh fake_;
    Control control_ = fake_.control();
};

TEST_F(ControlTest, does_a_verb_at_once) {
    const Outcome outcome = step({"deauth", "e1", "ath0"});
    EXPECT_FALSE(outcome.waits);
    EXPECT_EQ(outcome.answer.status, HttpStatus::good);
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1 ath0"}));
}

TEST_F(ControlTest, tells_why_a_verb_changed_nothing) {
    EXPECT_EQ(answer_text(step({"ap-on", "e1"}).answer), "it was on");
}

TEST_F(ControlTest, tells_that_a_verb_failed) {
    const Outcome outcome = step({"reboot", "e1"});
    EXPECT_EQ(outcome.answer.status, HttpStatus::differs);
    EXPECT_EQ(answer_text(outcome.answer), "no power here");
}

TEST_F(ControlTest, refuses_a_verb_for_a_node_that_is_not_there) {
    const Outcome outcome = step({"deauth", "e2"});
    EXPECT_EQ(outcome.answer.status, HttpStatus::bad_request);
    EXPECT_EQ(answer_text(outcome.answer), "`e2` is no node of this mesh (did you mean `e1`?)");
    EXPECT_TRUE(fake_.verbs.empty());
}

TEST_F(ControlTest, refuses_a_step_that_leads_to_a_later_one) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"mark", "now"},
                                                  {"never", "e1", "ready"},
                                                  {"always", "e1", "ready"},
                                                  {"remember", "up", "e1", "parent"}}) {
        const Outcome outcome = step(words);
        EXPECT_EQ(outcome.answer.status, HttpStatus::bad_request) << words[0];
        EXPECT_NE(answer_text(outcome.answer).find("another: write them there"), std::string::npos);
    }
}

TEST_F(ControlTest, refuses_what_is_no_step) {
    for (const Json& body :
         {Json::object(), Json{{"words", Json::array()}}, Json{{"words", "deauth e1"}},
          Json{{"words", {"deauth", 7}}}, Json{{"words", {"after", "3"}}}}) {
        EXPECT_EQ(ask({ApiAction::step, "", body}).answer.status, HttpStatus::bad_request) << body;
    }
    EXPECT_TRUE(fake_.verbs.empty());
}

TEST_F(ControlTest, has_nothing_of_a_node_that_is_not_there) {
    for (const ApiAction action : {ApiAction::node, ApiAction::log, ApiAction::enter}) {
        const Answer answer = ask({action, "e2"}).answer;
        EXPECT_EQ(answer.status, HttpStatus::not_found);
        EXPECT_EQ(answer_text(answer), "`e2` is no node of this mesh (did you mean `e1`?)");
    }
}

TEST_F(ControlTest, shows_the_mesh_or_one_node_of_it) {
    control_.pace.speed = 20;
    const Json all = ask({ApiAction::status}).answer.body;
    EXPECT_EQ(all["nodes"].size(), 2U);
    EXPECT_EQ(all["speed"], "20");
    const Json one = ask({ApiAction::node, "e1"}).answer.body;
    ASSERT_EQ(one["nodes"].size(), 1U);
    EXPECT_EQ(one["nodes"][0]["name"], "e1");
}

TEST_F(ControlTest, tells_where_a_node_is_entered) {
    EXPECT_EQ(ask({ApiAction::enter, "e1"}).answer.body,
              (Json{{"pid", 17}, {"space", 4026532000}}));
    EXPECT_EQ(ask({ApiAction::enter, "root"}).answer.status, HttpStatus::differs);
}

TEST_F(ControlTest, answers_a_wait_when_its_seconds_have_passed) {
    EXPECT_TRUE(step({"wait", "3"}, 8).waits);
    EXPECT_TRUE(control_.pace.request_waits);
    EXPECT_TRUE(control_second(control_, 0).empty());
    EXPECT_TRUE(control_second(control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].client, 8);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::good);
    EXPECT_FALSE(control_.pace.request_waits);
}

TEST_F(ControlTest, does_a_verb_after_the_time_that_was_named) {
    EXPECT_TRUE(step({"after", "2", "deauth", "e1"}).waits);
    control_second(control_, 0);
    EXPECT_TRUE(fake_.verbs.empty());
    EXPECT_EQ(control_second(control_, 0).size(), 1U);
    EXPECT_EQ(fake_.verbs, (std::vector<std::string>{"deauth e1"}));
}

TEST_F(ControlTest, answers_an_expectation_as_soon_as_it_holds) {
    fake_.holds_at = 2;
    EXPECT_TRUE(step({"expect", "e1", "status", "ready", "within", "30"}).waits);
    EXPECT_TRUE(control_second(control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::good);
}

TEST_F(ControlTest, says_what_was_there_when_an_expectation_did_not_come_true_in_time) {
    EXPECT_TRUE(step({"expect", "e1", "status", "ready", "within", "2"}).waits);
    EXPECT_TRUE(control_second(control_, 0).empty());
    const std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::differs);
    EXPECT_EQ(answer_text(answers[0].answer), "e1 status is not-ready");
}

TEST_F(ControlTest, answers_an_expectation_that_has_to_last_at_its_end_or_when_it_fails) {
    EXPECT_FALSE(step({"expect", "e1", "status", "ready", "for", "2"}).waits);
    fake_.holds_at = 0;
    EXPECT_TRUE(step({"expect", "e1", "status", "ready", "for", "2"}).waits);
    EXPECT_TRUE(control_second(control_, 0).empty());
    std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::good);
    EXPECT_TRUE(step({"expect", "e1", "status", "ready", "for", "9"}).waits);
    fake_.holds_at = -1;
    answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::differs);
    EXPECT_EQ(answer_text(step({"say", "so"}).answer), "so");
}

TEST_F(ControlTest, does_not_wait_for_an_expectation_without_time) {
    const Outcome outcome = step({"expect", "e1", "status", "ready"});
    EXPECT_FALSE(outcome.waits);
    EXPECT_EQ(outcome.answer.status, HttpStatus::differs);
}

TEST_F(ControlTest, forgets_the_steps_of_a_client_that_went_away) {
    step({"wait", "1"}, 3);
    step({"wait", "1"}, 4);
    control_forget(control_, 3);
    const std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].client, 4);
}

TEST_F(ControlTest, stands_still_and_says_why_when_a_second_does_not_pass) {
    step({"wait", "5"});
    fake_.fails = "e1 is busy";
    const std::vector<LateAnswer> answers = control_second(control_, 0);
    ASSERT_EQ(answers.size(), 1U);
    EXPECT_EQ(answers[0].answer.status, HttpStatus::differs);
    EXPECT_EQ(answer_text(answers[0].answer), "e1 is busy");
    EXPECT_LT(pace_wait(control_.pace, 0), 0);
    const Json status = ask({ApiAction::status}).answer.body;
    EXPECT_EQ(status["stalled"], "e1 is busy");
    EXPECT_EQ(status["paused"], true);
}

TEST_F(ControlTest, dates_log_lines_with_the_time_of_the_node_and_of_the_mesh) {
    control_.started = 1700000000;
    fake_.log = {{1700000001, "first"}, {1700000002, "second"}};
    EXPECT_EQ(log_lines(0), (Json{{"lines",
                                   {{{"time", 1700000001}, {"seconds", 1}, {"text", "first"}},
                                    {{"time", 1700000002}, {"seconds", 2}, {"text", "second"}}}},
                                  {"next", 2}}));
}

TEST_F(ControlTest, goes_on_with_a_log_where_the_reader_stopped) {
    fake_.log = {{0, "a"}, {0, "b"}, {0, "c"}};
    EXPECT_EQ(log_lines(-1, 2)["lines"].size(), 2U);
    EXPECT_EQ(log_lines(3)["lines"].size(), 0U);
    fake_.log = {{0, "d"}};
    const Json more = log_lines(3);
    ASSERT_EQ(more["lines"].size(), 1U);
    EXPECT_EQ(more["lines"][0]["text"], "d");
    EXPECT_EQ(more["next"], 4);
    EXPECT_EQ(log_lines(99)["next"], 4);
}

TEST_F(ControlTest, keeps_the_newest_lines_of_a_long_log) {
    fake_.log.assign(LOG_LINES_KEPT + 5, {0, "old"});
    control_read_news(control_);
    fake_.log = {{0, "new"}};
    const Json oldest = log_lines(0);
    EXPECT_EQ(oldest["lines"].size(), LOG_LINES_AT_ONCE);
    EXPECT_EQ(oldest["next"], 6 + LOG_LINES_AT_ONCE);
    const Json newest = log_lines(-1, 1);
    ASSERT_EQ(newest["lines"].size(), 1U);
    EXPECT_EQ(newest["lines"][0]["text"], "new");
}

TEST_F(ControlTest, tells_log_lines_state_changes_and_the_rest_as_events) {
    control_.started = 100;
    fake_.log = {{107, "backhaul_intf_state_change : change ath0 state from 4 to 7"}};
    fake_.events = {{"verb", 8, "e1", "deauth e1"}};
    control_second(control_, 0);
    EXPECT_EQ(events(0),
              (std::vector<std::string>{
                  R"({"version":1,"number":0,"kind":"log","seconds":7,"node":"e1",)"
                  R"("text":"backhaul_intf_state_change : change ath0 state from 4 to 7"})"
                  "\n",
                  R"({"version":1,"number":1,"kind":"state","seconds":7,"node":"e1",)"
                  R"("text":"ath0 from CONNECT_WITH_BACKHAUL_AP to BACKHAUL_READY"})"
                  "\n",
                  R"({"version":1,"number":2,"kind":"verb","seconds":8,"node":"e1",)"
                  R"("text":"deauth e1"})"
                  "\n"}));
    EXPECT_EQ(events(2).size(), 1U);
    EXPECT_EQ(events(3).size(), 0U);
}

TEST_F(ControlTest, says_how_many_events_are_kept_no_longer) {
    fake_.events.assign(EVENTS_KEPT + 3, {"change", 1, "e1", "x"});
    control_read_news(control_);
    const std::vector<std::string> lines = events(1);
    ASSERT_EQ(lines.size(), EVENTS_KEPT + 1);
    EXPECT_NE(lines[0].find(R"("kind":"lost","seconds":0,"node":"","text":"2 events)"),
              std::string::npos)
        << lines[0];
    EXPECT_NE(lines[1].find(R"("number":3,)"), std::string::npos) << lines[1];
}

TEST_F(ControlTest, changes_speed_and_pauses) {
    EXPECT_EQ(speed({{"speed", "25"}}).answer.status, HttpStatus::good);
    EXPECT_EQ(control_.pace.speed, 25);
    EXPECT_EQ(speed({{"paused", true}}).answer.status, HttpStatus::good);
    EXPECT_TRUE(control_.pace.paused);
    EXPECT_EQ(speed({{"paused", false}, {"speed", "fastest"}}).answer.status, HttpStatus::good);
    EXPECT_FALSE(control_.pace.paused);
    EXPECT_EQ(control_.pace.speed, SPEED_FASTEST);
    for (const Json& body : {Json::object(), Json{{"speed", "soon"}}, Json{{"speed", 5}},
                             Json{{"paused", "yes"}}, Json{{"paused", 1}, {"speed", "2"}}}) {
        EXPECT_EQ(speed(body).answer.status, HttpStatus::bad_request) << body;
    }
    EXPECT_EQ(control_.pace.speed, SPEED_FASTEST);
}

TEST_F(ControlTest, hurries_while_the_scenario_has_steps_left) {
    fake_.steps_left = true;
    control_second(control_, 0);
    EXPECT_EQ(pace_wait(control_.pace, 0), 0);
    fake_.steps_left = false;
    control_second(control_, 0);
    EXPECT_GT(pace_wait(control_.pace, 1), 0);
}

TEST_F(ControlTest, ends_when_told_to_and_answers_when_it_has) {
    EXPECT_TRUE(ask({ApiAction::down}).waits);
    EXPECT_TRUE(control_.ends);
}

}  // namespace
}  // namespace lab
