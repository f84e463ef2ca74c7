// What a campaign's results come to.
#include <gtest/gtest.h>

#include <gmock/gmock.h>

#include "lab/campaign/summary.h"
#include "tests/lab_campaign/results.h"

namespace lab {
namespace {

using harness::case_result;

// Ten seconds more with every seed; with -p 2 another half of it all, with -x 5 the same.
std::vector<CaseResult> results() {
    std::vector<CaseResult> all;
    for (const CampaignCase& one : harness::tuning()) {
        const std::int64_t base = 10 * one.seed;
        all.push_back(case_result(
            one, one.options == "-p 2" ? std::vector{base, base / 2} : std::vector{base}));
    }
    return all;
}

const VariantSummary& variant_of(const CampaignSummary& summary, std::size_t place,
                                 std::string_view name) {
    return *std::ranges::find(summary.places[place].variants, name, &VariantSummary::variant);
}

double estimate_of(const VariantSummary& variant, std::string_view measure) {
    const auto found = std::ranges::find(measures(), measure, &MeasureRow::name);
    return variant.estimates[static_cast<std::size_t>(found - measures().begin())].value;
}

TEST(Summary, has_a_place_for_every_shape_and_a_row_for_every_way_to_run_it) {
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), results());
    EXPECT_EQ(summary.cases, 48U);
    EXPECT_EQ(summary.results, 48U);
    EXPECT_DOUBLE_EQ(summary.mesh_hours, 48 * 1.1);
    ASSERT_EQ(summary.places.size(), 2U);
    EXPECT_EQ(summary.places[1].shape, "star 3");
    ASSERT_EQ(summary.places[0].variants.size(), 3U);
    EXPECT_EQ(summary.places[0].variants[0].variant, "usual");
    EXPECT_EQ(summary.places[0].variants[2].variant, "x5");
}

// Of 10, 20 ... 80 seconds, one in an hour each; by hand.
TEST(Summary, measures_what_was_seen) {
    std::vector<CaseResult> all = results();
    all[0].switches = 4;
    all[0].parked_seconds = 720;
    all[0].loops["left-over-station"] = 2;
    all[0].islands = 1;
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), all);
    const VariantSummary& usual = variant_of(summary, 0, "usual");
    EXPECT_EQ(usual.runs, 8U);
    EXPECT_DOUBLE_EQ(estimate_of(usual, OUT_MEASURE), 45);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "outages_per_hour"), 1);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "outage_median"), 45);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "outage_p95"), 76.5);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "outage_worst"), 80);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "switches_per_hour"), 0.5);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "parked_percent"), 2.5);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "loops_per_day"), 6);
    EXPECT_DOUBLE_EQ(estimate_of(usual, "islands_per_day"), 3);
    EXPECT_EQ(usual.loops.at("left-over-station"), 2);
    ASSERT_EQ(usual.causes.size(), 2U);
    EXPECT_EQ(usual.causes[0].cause, "deauth");
    EXPECT_EQ(usual.causes[0].count, 5U);
    EXPECT_DOUBLE_EQ(usual.causes[0].median, 30);
    EXPECT_DOUBLE_EQ(usual.causes[1].worst, 80);
}

TEST(Summary, gives_an_interval_to_all_but_the_worst) {
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), results());
    for (std::size_t at = 0; at < measures().size(); ++at) {
        const Estimate& estimate = summary.places[0].variants[0].estimates[at];
        EXPECT_EQ(estimate.interval.is_known, measures()[at].name != "outage_worst");
        if (estimate.interval.is_known) {
            EXPECT_LE(estimate.interval.low, estimate.value) << measures()[at].name;
            EXPECT_GE(estimate.interval.high, estimate.value) << measures()[at].name;
        }
    }
}

TEST(Summary, pairs_runs_by_their_seed) {
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), results());
    EXPECT_EQ(variant_of(summary, 0, "usual").difference.against, "");
    const Difference& p2 = variant_of(summary, 0, "p2").difference;
    EXPECT_EQ(p2.against, "usual");
    EXPECT_EQ(p2.pairs, 8U);
    EXPECT_DOUBLE_EQ(p2.estimate.value, 22.5);
    EXPECT_DOUBLE_EQ(p2.chance, 2.0 / 256);
    // Six questions: two variants in two places, and everywhere.
    EXPECT_DOUBLE_EQ(p2.raised, 2.0 / 256 * 5);
    EXPECT_TRUE(p2.is_one);
    const Difference& x5 = variant_of(summary, 0, "x5").difference;
    EXPECT_DOUBLE_EQ(x5.estimate.value, 0);
    EXPECT_DOUBLE_EQ(x5.chance, 1);
    EXPECT_FALSE(x5.is_one);
    ASSERT_EQ(summary.everywhere.size(), 2U);
    EXPECT_EQ(summary.everywhere[0].pairs, 16U);
    EXPECT_TRUE(summary.everywhere[0].is_one);
}

TEST(Summary, leaves_out_a_seed_that_only_one_of_both_has) {
    std::vector<CaseResult> all = results();
    std::erase_if(all, [](const CaseResult& one) {
        return one.of.options.empty() ? one.of.seed == 1 : one.of.seed == 2;
    });
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), all);
    EXPECT_EQ(variant_of(summary, 0, "p2").difference.pairs, 6U);
}

TEST(Summary, holds_a_build_against_another_with_the_same_options) {
    Campaign campaign = harness::tuning_campaign();
    campaign.daemons = {{"old", "/old"}, {"new", "/new"}};
    std::vector<CaseResult> all;
    for (const CampaignCase& one : campaign_cases(campaign)) {
        all.push_back(case_result(one, {one.daemon.name == "old" ? 40 : 30}));
    }
    const CampaignSummary summary = campaign_summary(campaign, all);
    EXPECT_EQ(variant_of(summary, 0, "usual.old").difference.against, "");
    EXPECT_EQ(variant_of(summary, 0, "usual.new").difference.against, "usual.old");
    EXPECT_EQ(variant_of(summary, 0, "p2.old").difference.against, "usual.old");
    EXPECT_EQ(variant_of(summary, 0, "p2.new").difference.against, "p2.old");
    EXPECT_DOUBLE_EQ(variant_of(summary, 0, "p2.new").difference.estimate.value, -10);
}

TEST(Summary, of_no_results_is_empty) {
    const CampaignSummary summary = campaign_summary(harness::tuning_campaign(), {});
    EXPECT_EQ(summary.results, 0U);
    EXPECT_EQ(summary.places[0].variants[0].runs, 0U);
    EXPECT_FALSE(summary.places[0].variants[1].difference.is_one);
}

}  // namespace
}  // namespace lab
