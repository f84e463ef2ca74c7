// Numbers that others computed: quantiles, permutations and bootstraps by numpy and scipy 1.10.
#include <gtest/gtest.h>

#include "lab/campaign/statistics.h"

namespace lab {
namespace {

using Values = std::vector<double>;

// numpy.quantile([18, 5, 180, 33, 7, 64, 21], [0, .25, .5, .95, 1])
TEST(Quantile, lies_between_two_values_as_numpy_has_it) {
    const Values values = {18, 5, 180, 33, 7, 64, 21};
    EXPECT_DOUBLE_EQ(quantile(values, 0), 5);
    EXPECT_DOUBLE_EQ(quantile(values, 0.25), 12.5);
    EXPECT_DOUBLE_EQ(quantile(values, 0.5), 21);
    EXPECT_NEAR(quantile(values, 0.95), 145.2, 1e-9);
    EXPECT_DOUBLE_EQ(quantile(values, 1), 180);
    EXPECT_DOUBLE_EQ(quantile({}, 0.5), 0);
}

// scipy.stats.permutation_test((d,), numpy.sum, permutation_type='samples') gives 0.09375, which is
// 24 of 256 ways.
TEST(SignFlip, looks_at_all_ways_as_scipy_does) {
    EXPECT_DOUBLE_EQ(sign_flip_chance(Values{-12.5, -3, 4.5, -8, -1.5, -20, 2, -6}), 24.0 / 256);
    EXPECT_DOUBLE_EQ(sign_flip_chance(Values{1, -1}), 1);
    EXPECT_DOUBLE_EQ(sign_flip_chance(Values{2, 2, 2}), 2.0 / 8);
    EXPECT_DOUBLE_EQ(sign_flip_chance({}), 1);
}

// All 65,536 ways, counted in Python: 2,616 are as far from 0.
TEST(SignFlip, draws_ways_when_they_are_too_many) {
    const Values many = {3, -1, 2, 5, -2, 4, 1, -3, 6, 2, -1, 3, 4, -2, 5, 1};
    ASSERT_GT(many.size(), MOST_EXACT_PAIRS);
    EXPECT_NEAR(sign_flip_chance(many), 2616.0 / 65536, 0.005);
    EXPECT_EQ(sign_flip_chance(many), sign_flip_chance(many));
}

// scipy.stats.bootstrap((x,), numpy.mean, method='percentile', n_resamples=200000): 4.583 to 8.417.
TEST(Bootstrap, of_a_mean_is_as_wide_as_scipy_has_it) {
    const Values values = {4, 7, 1, 9, 12, 3, 5, 8, 2, 10, 6, 11};
    const Interval interval = bootstrap(values.size(), [&](std::span<const std::size_t> drawn) {
        double sum = 0;
        for (const std::size_t at : drawn) {
            sum += values[at];
        }
        return sum / static_cast<double>(drawn.size());
    });
    EXPECT_TRUE(interval.is_known);
    EXPECT_NEAR(interval.low, 4.583, 0.15);
    EXPECT_NEAR(interval.high, 8.417, 0.15);
}

// 200,000 draws of five of these runs with numpy: the medians' middle 95 % are 2 to 10.
TEST(Bootstrap, draws_whole_runs) {
    const std::vector<Values> runs = {{1, 2, 3}, {10}, {4, 4}, {20, 1}, {7, 8, 9, 10}};
    const Interval interval = bootstrap(runs.size(), [&](std::span<const std::size_t> drawn) {
        Values all;
        for (const std::size_t at : drawn) {
            all.insert(all.end(), runs[at].begin(), runs[at].end());
        }
        return quantile(all, 0.5);
    });
    EXPECT_DOUBLE_EQ(interval.low, 2);
    EXPECT_DOUBLE_EQ(interval.high, 10);
}

TEST(Bootstrap, says_nothing_of_two_runs) {
    EXPECT_FALSE(bootstrap(2, [](std::span<const std::size_t>) { return 1.0; }).is_known);
    EXPECT_TRUE(bootstrap(3, [](std::span<const std::size_t>) { return 1.0; }).is_known);
}

// By hand: 0.005 * 4, 0.01 * 3, 0.03 * 2, and 0.04 * 1 is no less than the one before.
TEST(Holm, raises_the_smallest_most) {
    const Values raised = holm(Values{0.01, 0.04, 0.03, 0.005});
    ASSERT_EQ(raised.size(), 4U);
    EXPECT_DOUBLE_EQ(raised[0], 0.03);
    EXPECT_DOUBLE_EQ(raised[1], 0.06);
    EXPECT_DOUBLE_EQ(raised[2], 0.06);
    EXPECT_DOUBLE_EQ(raised[3], 0.02);
    EXPECT_DOUBLE_EQ(holm(Values{0.9, 0.8})[0], 1);
}

}  // namespace
}  // namespace lab
