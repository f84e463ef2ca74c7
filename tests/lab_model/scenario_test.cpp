// How long a condition may take and has to last.
#include "lab/scenario/scenario.h"

#include <gtest/gtest.h>

namespace lab {
namespace {

ScenarioStep expect_step(int within, int lasting) {
    ScenarioStep step;
    step.kind = StepKind::expect;
    step.within = within;
    step.lasting = lasting;
    return step;
}

TEST(ConditionFate, is_held_as_soon_as_it_holds_and_failed_when_its_time_is_up) {
    const ScenarioStep step = expect_step(30, 0);
    EXPECT_EQ(condition_fate(step, true, 0), ConditionFate::held);
    EXPECT_EQ(condition_fate(step, false, 29), ConditionFate::pending);
    EXPECT_EQ(condition_fate(step, true, 30), ConditionFate::held);
    EXPECT_EQ(condition_fate(step, false, 30), ConditionFate::failed);
    EXPECT_EQ(condition_fate(expect_step(0, 0), false, 0), ConditionFate::failed);
}

TEST(ConditionFate, of_one_that_lasts_is_held_at_the_end_and_failed_at_the_first_moment_without) {
    const ScenarioStep step = expect_step(0, 30);
    EXPECT_EQ(condition_fate(step, true, 0), ConditionFate::pending);
    EXPECT_EQ(condition_fate(step, true, 29), ConditionFate::pending);
    EXPECT_EQ(condition_fate(step, true, 30), ConditionFate::held);
    EXPECT_EQ(condition_fate(step, false, 0), ConditionFate::failed);
    EXPECT_EQ(condition_fate(step, false, 29), ConditionFate::failed);
}

}  // namespace
}  // namespace lab
