// Random trouble.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "lab/scenario/scenario_chaos.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/scenario_parse.h"

namespace lab {
namespace {

constexpr int DAY = 24 * 3600;

Scenario day_of_chaos(std::uint32_t seed) {
    return scenario_chaos(scenario_star(8), {.seed = seed, .seconds = DAY});
}

std::map<VerbKind, int> verb_counts(const Scenario& scenario) {
    std::map<VerbKind, int> counts;
    for (const ScenarioStep& step : scenario.steps) {
        counts[step.verb.kind] += step.kind == StepKind::verb ? 1 : 0;
    }
    return counts;
}

TEST(ScenarioChaos, is_the_same_for_the_same_seed_and_another_for_another) {
    EXPECT_EQ(day_of_chaos(7), day_of_chaos(7));
    EXPECT_NE(day_of_chaos(7).steps, day_of_chaos(8).steps);
    EXPECT_EQ(day_of_chaos(7).seed, 7U);
}

TEST(ScenarioChaos, runs_again_from_its_text) {
    const Scenario scenario = day_of_chaos(3);
    Scenario again;
    std::vector<ScenarioError> errors;
    ASSERT_TRUE(scenario_parse(scenario_print(scenario), &again, &errors))
        << scenario_errors_text("chaos", errors);
    EXPECT_EQ(again, scenario);
}

TEST(ScenarioChaos, ends_what_it_begins) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        std::map<VerbKind, int> counts = verb_counts(day_of_chaos(seed));
        EXPECT_EQ(counts[VerbKind::ap_off], counts[VerbKind::ap_on]) << seed;
        EXPECT_EQ(counts[VerbKind::cable_in], counts[VerbKind::cable_out]) << seed;
        EXPECT_EQ(counts[VerbKind::power_off], counts[VerbKind::power_on]) << seed;
        EXPECT_EQ(counts[VerbKind::radar], counts[VerbKind::clear_radar]) << seed;
        EXPECT_EQ(counts[VerbKind::revoke], counts[VerbKind::approve]) << seed;
        EXPECT_EQ(counts[VerbKind::fade] % 2, 0) << seed;
    }
}

TEST(ScenarioChaos, cuts_links_below_what_any_band_joins_with_and_sets_them_back) {
    constexpr int NOBODY_JOINS = -100;
    const Scenario scenario = day_of_chaos(4);
    std::map<std::set<std::string>, int> signals;
    int cuts = 0;
    for (const ScenarioStep& step : scenario.steps) {
        if (step.kind == StepKind::verb && step.verb.kind == VerbKind::fade) {
            signals[{step.verb.node, step.verb.peer}] = step.verb.number;
            cuts += step.verb.number < NOBODY_JOINS ? 1 : 0;
        }
    }
    EXPECT_GT(cuts, 100);
    for (const ScenarioHearing& hearing : scenario.hearings) {
        const auto last = signals.find({hearing.a, hearing.b});
        EXPECT_TRUE(last == signals.end() || last->second == hearing.signal)
            << hearing.a << " and " << hearing.b;
    }
}

TEST(ScenarioChaos, begins_with_a_loss_a_deaf_node_and_a_stranded_one) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        const Scenario scenario = day_of_chaos(seed);
        EXPECT_EQ(scenario.steps.front().verb.kind, VerbKind::deauth) << seed;
        int at = 0;
        std::map<std::string, int> whole;  // by node: cuts on all bands
        std::map<std::string, int> preferred;
        for (const ScenarioStep& step : scenario.steps) {
            at += step.after;
            if (at < 1200 && step.verb.kind == VerbKind::fade) {
                ++(step.verb.word == "5h" ? preferred : whole)[step.verb.node];
            }
        }
        EXPECT_GE(preferred.size(), 1U) << seed;
        EXPECT_GE(whole.size(), 1U) << seed;
    }
}

TEST(ScenarioChaos, begins_nothing_twice_on_a_node_before_it_has_ended) {
    for (std::uint32_t seed = 1; seed <= 20; ++seed) {
        std::set<std::string> off;
        for (const ScenarioStep& step : day_of_chaos(seed).steps) {
            if (step.verb.kind == VerbKind::power_off) {
                EXPECT_TRUE(off.insert(step.verb.node).second) << seed;
            } else if (step.verb.kind == VerbKind::power_on) {
                EXPECT_EQ(off.erase(step.verb.node), 1U) << seed;
            }
        }
    }
}

TEST(ScenarioChaos, takes_about_the_time_that_it_was_given) {
    const Scenario scenario = day_of_chaos(5);
    int seconds = 0;
    for (const ScenarioStep& step : scenario.steps) {
        seconds += step.after;
    }
    EXPECT_GE(seconds, DAY + 360);
    EXPECT_LE(seconds, DAY + 360 + 660);
    EXPECT_EQ(scenario.steps.front().kind, StepKind::verb);
    EXPECT_GE(scenario.steps.front().after, 180);
    EXPECT_EQ(scenario.steps.back().kind, StepKind::expect);
    EXPECT_EQ(scenario.steps.back().condition.node, "all");
}

TEST(ScenarioChaos, uses_every_kind_of_trouble) {
    std::map<VerbKind, int> counts;
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        for (const auto& [kind, count] : verb_counts(day_of_chaos(seed))) {
            counts[kind] += count;
        }
    }
    for (const VerbKind kind :
         {VerbKind::deauth, VerbKind::ap_off, VerbKind::fade, VerbKind::cable_in, VerbKind::radar,
          VerbKind::reboot, VerbKind::power_off, VerbKind::kill_worker, VerbKind::kill_tool,
          VerbKind::drop_messages, VerbKind::revoke, VerbKind::command}) {
        EXPECT_GT(counts[kind], 0) << verb_row(kind).name;
    }
}

TEST(ScenarioChaos, takes_the_usual_weights_unless_others_are_asked_for) {
    ChaosOptions options{.seed = 7, .seconds = DAY};
    for (const auto& [name, weight] : chaos_weights_usual()) {
        options.weights[std::string(name)] = weight;
    }
    EXPECT_EQ(scenario_chaos(scenario_star(8), options), day_of_chaos(7));
}

TEST(ScenarioChaos, does_only_what_has_a_weight_and_that_as_often_as_it_says) {
    ChaosOptions options{.seed = 7, .seconds = DAY};
    options.weights = {{"reboot", 3}, {"kill-worker", 1}, {"deauth", 0}};
    std::map<VerbKind, int> counts = verb_counts(scenario_chaos(scenario_star(8), options));
    counts.erase(VerbKind{});
    EXPECT_GT(counts[VerbKind::reboot], 2 * counts[VerbKind::kill_worker]);
    EXPECT_LT(counts[VerbKind::reboot], 4 * counts[VerbKind::kill_worker]);
    EXPECT_EQ(counts[VerbKind::deauth], 0);
    EXPECT_EQ(counts[VerbKind::fade], 0);
    EXPECT_EQ(counts[VerbKind::ap_off], 0);
}

TEST(ScenarioChaos, takes_no_cable_and_no_approval_from_a_root) {
    for (const ScenarioStep& step : day_of_chaos(9).steps) {
        const bool only_extenders = step.verb.kind == VerbKind::cable_in ||
                                    step.verb.kind == VerbKind::revoke ||
                                    step.verb.kind == VerbKind::deauth;
        EXPECT_FALSE(step.kind == StepKind::verb && only_extenders && step.verb.node == "root");
    }
}

}  // namespace
}  // namespace lab
