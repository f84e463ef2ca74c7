// The search, with runs that only look at the scenario.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "lab/scenario/scenario_chaos.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/shrink/shrink.h"
#include "lab/shrink/shrink_steps.h"

namespace {

using lab::Scenario;
using lab::ShrinkSeen;

// Random trouble of eight nodes, each verb at its moment.
Scenario chaos_timed() {
    lab::ChaosOptions options;
    options.seed = 3;
    const Scenario chaos = lab::scenario_chaos(lab::scenario_chaos_mesh(8), options);
    std::vector<lab::StepMoment> moments;
    std::int64_t now = 0;
    for (std::size_t at = 0; at < chaos.steps.size(); ++at) {
        now += chaos.steps[at].after;
        moments.push_back({at, now});
    }
    return lab::scenario_timed(chaos, moments, now);
}

// Shows at `delay` seconds after the second verb of two that have to be there.
struct Fault {
    lab::Verb first;
    lab::Verb second;
    int delay = 100;
    int runs = 0;

    bool run(const Scenario& scenario, ShrinkSeen& seen) {
        ++runs;
        seen = {};
        std::int64_t now = 0;
        bool armed = false;
        for (const lab::ScenarioStep& step : scenario.steps) {
            now += step.after;
            if (step.kind != lab::StepKind::verb) {
                break;
            }
            if (armed && step.verb == second) {
                seen = {now + delay <= lab::scenario_seconds(scenario), now + delay, ""};
                return true;
            }
            armed = armed || step.verb == first;
        }
        return true;
    }
};

class Shrink : public testing::Test {
protected:
    void SetUp() override {
        timed = chaos_timed();
        fault.first = timed.steps[2].verb;
        fault.second = timed.steps[7].verb;
        fault.run(timed, seen);
        fault.runs = 0;
        ASSERT_TRUE(seen.shows);
        calls.run = [this](const Scenario& scenario, ShrinkSeen& found) {
            return fault.run(scenario, found);
        };
    }

    Scenario timed;
    Fault fault;
    ShrinkSeen seen;
    lab::ShrinkCalls calls;
};

TEST_F(Shrink, leaves_the_two_verbs_that_matter_and_the_time_that_is_needed) {
    const lab::ShrinkResult result = lab::shrink(timed, seen, calls);
    EXPECT_TRUE(result.confirmed);
    ASSERT_EQ(lab::scenario_verbs(result.scenario), 2U) << lab::scenario_print(result.scenario);
    EXPECT_EQ(result.scenario.steps[0].verb, fault.first);
    EXPECT_EQ(result.scenario.steps[1].verb, fault.second);
    EXPECT_TRUE(result.scenario.hearings.empty());
    EXPECT_LE(lab::scenario_seconds(result.scenario), 100 + 8);
    EXPECT_GE(lab::scenario_seconds(result.scenario), 100);
}

TEST_F(Shrink, runs_nothing_twice_but_the_last) {
    const lab::ShrinkResult result = lab::shrink(timed, seen, calls);
    EXPECT_EQ(result.tries, fault.runs);
    std::set<std::string> texts;
    calls.run = [&](const Scenario& scenario, ShrinkSeen& found) {
        EXPECT_TRUE(texts.insert(lab::scenario_print(scenario)).second ||
                    scenario == result.scenario);
        return fault.run(scenario, found);
    };
    EXPECT_EQ(lab::scenario_print(lab::shrink(timed, seen, calls).scenario),
              lab::scenario_print(result.scenario));
}

TEST_F(Shrink, ends_with_what_it_has_when_it_is_told_to) {
    int left = 3;
    calls.is_enough = [&left] {
        return left-- <= 0;
    };
    const lab::ShrinkResult result = lab::shrink(timed, seen, calls);
    EXPECT_TRUE(result.confirmed);
    EXPECT_LE(fault.runs, 5);
}

TEST_F(Shrink, ends_when_the_machine_fails) {
    calls.run = [](const Scenario& /*scenario*/, ShrinkSeen& /*found*/) {
        return false;
    };
    EXPECT_TRUE(lab::shrink(timed, seen, calls).failed);
}

}  // namespace
