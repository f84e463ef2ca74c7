// What the rules have in common: a quiet life, budgets, a reboot, counting.

#include "tests/lab_model/rules_fixture.h"

namespace lab {
namespace {

TEST_F(Rules, find_nothing_in_a_quiet_life) {
    begin_ready();
    pass(600);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, believe_a_cause_only_as_often_as_its_budget_allows) {
    begin_ready();
    const int budget = cause_row(Cause::status_emptied).budget;
    const int hour = 3600 / (budget + 1);
    ASSERT_GT(hour, 2);
    for (int round = 0; round <= budget; ++round) {
        NodeObservation one = node;
        one.name = "n" + std::to_string(round);
        one.log.clear();
        one.status_text = "";
        time += 1;
        const std::vector<Violation> violations = rules_check(&memory, {time, {one}});
        ASSERT_EQ(violations.size(), 1U);
        EXPECT_EQ(violations[0].known.empty(), round == budget) << round;
    }
    const std::vector<CauseCount> counts = causes_count(memory.causes);
    ASSERT_EQ(counts.size(), 1U);
    EXPECT_EQ(counts[0].row->name, "status-emptied");
    EXPECT_EQ(counts[0].times, budget + 1);
    EXPECT_EQ(counts[0].most, budget + 1);
}

TEST(Causes, count_breaches_that_follow_one_another_as_one_time) {
    CauseHistories histories;
    for (std::int64_t time = 0; time < 1000; time += 120) {
        cause_note(&histories, Cause::unplaced, "e1", time);
    }
    cause_note(&histories, Cause::unplaced, "e1", 2000);
    cause_note(&histories, Cause::unplaced, "e2", 2000);
    cause_note(&histories, Cause::unplaced, "e1", 9000);
    const std::vector<CauseCount> counts = causes_count(histories);
    ASSERT_EQ(counts.size(), 1U);
    EXPECT_EQ(counts[0].times, 4);
    EXPECT_EQ(counts[0].most, 3);
}

TEST_F(Rules, begin_anew_with_a_reboot) {
    begin_ready();
    node.powered = false;
    pass(3);
    node.powered = true;
    node.worker_pid = 100000;
    node.status_exists = false;
    node.uplinks.clear();
    node.service_aps_up.clear();
    look({"<-- backhaul_monitor start -->", change("ath0", 0, 3)});
    pass(20);
    EXPECT_EQ(taken(), Texts{});
}

TEST_F(Rules, are_counted_by_name_with_known_breaches_apart) {
    begin_ready();
    node.status_text = "x";
    pass(1);
    node.status_text = "";
    pass(1);
    const std::vector<RuleCount> counts = rules_count(all);
    ASSERT_EQ(counts.size(), 13U);
    EXPECT_EQ(counts[0].rule, "status-text");
    EXPECT_EQ(counts[0].unknown, 1);
    EXPECT_EQ(counts[0].known, 1);
    EXPECT_EQ(counts[1].unknown + counts[1].known, 0);
    EXPECT_EQ(all[0].node, "e1");
    EXPECT_EQ(all[0].time, 1041);
}

}  // namespace
}  // namespace lab
