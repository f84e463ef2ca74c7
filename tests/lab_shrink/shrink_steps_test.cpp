// Smaller scenarios of a scenario.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/scenario/scenario_parse.h"
#include "lab/shrink/shrink_condition.h"
#include "lab/shrink/shrink_steps.h"

namespace {

using lab::Scenario;

constexpr char MESH[] =
    "node root root\nnode e1 extender\nnode e2 extender\n"
    "hears root e1 -55\nhears e1 e2 -60\n";

Scenario scenario_of(const std::string& steps) {
    Scenario scenario;
    std::vector<lab::ScenarioError> errors;
    EXPECT_TRUE(lab::scenario_parse(MESH + steps, &scenario, &errors));
    return scenario;
}

std::string steps_of(const Scenario& scenario) {
    const std::string text = lab::scenario_print(scenario);
    std::size_t at = text.rfind("hears ");
    at = at == std::string::npos ? text.rfind("node ") : at;
    return text.substr(text.find('\n', at) + 1);
}

constexpr char TIMED[] =
    "after 100 deauth e1 ath0\nafter 50 reboot e2\nafter 10 deauth e1 ath1\nwait 40\n";

TEST(TimedScenario, has_its_verbs_when_they_were_done_and_ends_when_it_ended) {
    const Scenario scenario = scenario_of(
        "wait-until all status ready\nafter 5 deauth e1 ath0\nexpect e1 status ready within 60\n"
        "reboot e2\n");
    const std::vector<lab::StepMoment> moments = {{0, 95}, {1, 100}, {2, 130}, {3, 130}};
    EXPECT_EQ(steps_of(lab::scenario_timed(scenario, moments, 150)),
              "after 100 deauth e1 ath0\nafter 30 reboot e2\nwait 20\n");
}

TEST(TimedScenario, has_the_values_that_its_verbs_were_done_with) {
    const Scenario scenario = scenario_of("remember up e2 parent\nafter 3 reboot $up\n");
    const std::vector<lab::StepMoment> moments = {{0, 95}, {1, 98, "after 3 reboot e1"}};
    EXPECT_EQ(steps_of(lab::scenario_timed(scenario, moments, 100)),
              "after 98 reboot e1\nwait 2\n");
}

TEST(TimedScenario, keeps_verbs_of_one_moment_together_as_far_as_they_stay) {
    const Scenario scenario =
        scenario_of("after 9 deauth e1 and reboot e2 and reboot e1\nwait 5\n");
    const std::vector<lab::StepMoment> moments = {{0, 9}, {1, 9}, {2, 9}, {3, 14}};
    const Scenario timed = lab::scenario_timed(scenario, moments, 14);
    EXPECT_EQ(steps_of(timed), "after 9 deauth e1 and reboot e2 and reboot e1\nwait 5\n");
    EXPECT_EQ(steps_of(lab::scenario_without_verbs(timed, 0, 1)),
              "after 9 reboot e2 and reboot e1\nwait 5\n");
}

TEST(TimedScenario, ends_where_it_is_cut) {
    const Scenario cut = lab::scenario_until(scenario_of(TIMED), 155);
    EXPECT_EQ(steps_of(cut), "after 100 deauth e1 ath0\nafter 50 reboot e2\nwait 5\n");
    EXPECT_EQ(lab::scenario_seconds(cut), 155);
}

TEST(TimedScenario, keeps_the_moments_of_verbs_when_one_goes) {
    const Scenario fewer = lab::scenario_without_verbs(scenario_of(TIMED), 0, 2);
    EXPECT_EQ(steps_of(fewer), "after 160 deauth e1 ath1\nwait 40\n");
    EXPECT_EQ(lab::scenario_verbs(fewer), 1U);
}

TEST(TimedScenario, loses_what_names_a_node_with_the_node) {
    const Scenario fewer = lab::scenario_without_nodes(scenario_of(TIMED), 2, 1);
    EXPECT_EQ(lab::scenario_print(fewer),
              "node root root\nnode e1 extender\nhears root e1 -55\n"
              "after 100 deauth e1 ath0\nafter 60 deauth e1 ath1\nwait 40\n");
}

TEST(TimedScenario, loses_hearings_alone) {
    const Scenario fewer = lab::scenario_without_hearings(scenario_of(TIMED), 0, 1);
    ASSERT_EQ(fewer.hearings.size(), 1U);
    EXPECT_EQ(fewer.hearings[0].a, "e1");
}

TEST(TimedScenario, comes_sooner_from_a_step_on) {
    EXPECT_EQ(steps_of(lab::scenario_sooner(scenario_of(TIMED), 1, 45)),
              "after 100 deauth e1 ath0\nafter 5 reboot e2\nafter 10 deauth e1 ath1\nwait 40\n");
}

TEST(WayUp, leads_over_those_who_hear_each_other) {
    const Scenario scenario = scenario_of("");
    EXPECT_EQ(lab::scenario_way_up(scenario, "e1"), (std::set<std::string>{"e1", "root"}));
    EXPECT_EQ(lab::scenario_way_up(scenario, "e2"), (std::set<std::string>{"e1", "e2", "root"}));
    EXPECT_EQ(lab::scenario_way_up(lab::scenario_without_hearings(scenario, 0, 1), "e2"),
              (std::set<std::string>{"e2"}));
}

TEST(Condition, of_a_rule_does_not_hold_for_a_known_breach) {
    const lab::ShrinkCondition condition{"no-loop", false, "e1", {}, {}};
    std::vector<lab::Violation> violations = {{"no-loop", "e1", 5, "", "a known cause"},
                                              {"no-loop", "e2", 5, "", ""}};
    EXPECT_FALSE(lab::shrink_condition_holds(condition, violations, {}));
    violations.push_back({"no-loop", "e1", 9, "", ""});
    EXPECT_TRUE(lab::shrink_condition_holds(condition, violations, {}));
}

TEST(Condition, of_lines_holds_when_all_are_seen_and_none_that_may_not_be) {
    const lab::ShrinkCondition condition{"", false, "", {"one", "two"}, {"three"}};
    EXPECT_FALSE(condition.is_known_early());
    std::vector<lab::ShrinkLine> lines = {{"e1", "line one"}};
    EXPECT_FALSE(lab::shrink_condition_holds(condition, {}, lines));
    lines.push_back({"e2", "line two"});
    EXPECT_TRUE(lab::shrink_condition_holds(condition, {}, lines));
    lines.push_back({"e2", "line three"});
    EXPECT_FALSE(lab::shrink_condition_holds(condition, {}, lines));
}

}  // namespace
