#include "lab/campaign/statistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

namespace lab {
namespace {

constexpr std::uint32_t SEED = 20231114;
constexpr std::size_t LEAST_RUNS = 3;
// Sums that differ by rounding alone are the same.
constexpr double ROUNDING = 1e-9;

}  // namespace

double quantile(std::vector<double> values, double share) {
    if (values.empty()) {
        return 0;
    }
    std::ranges::sort(values);
    const double at = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
}

double mean(std::span<const double> values) {
    return values.empty() ? 0
                          : std::accumulate(values.begin(), values.end(), 0.0) /
                                static_cast<double>(values.size());
}

Interval bootstrap(std::size_t count,
                   const std::function<double(std::span<const std::size_t> runs)>& statistic) {
    if (count < LEAST_RUNS) {
        return {};
    }
    // The standard distributions differ between libraries.
    std::mt19937 random(SEED);
    std::vector<double> answers;
    std::vector<std::size_t> drawn(count);
    for (int draw = 0; draw < BOOTSTRAP_DRAWS; ++draw) {
        for (std::size_t& run : drawn) {
            run = random() % count;
        }
        answers.push_back(statistic(drawn));
    }
    return {quantile(answers, (1 - CONFIDENCE) / 2), quantile(answers, (1 + CONFIDENCE) / 2), true};
}

double sign_flip_chance(std::span<const double> differences) {
    if (differences.empty()) {
        return 1;
    }
    const double seen = std::abs(std::accumulate(differences.begin(), differences.end(), 0.0));
    const double least = seen - ROUNDING * (1 + seen);
    const auto turned = [&](const auto& is_turned) {
        double sum = 0;
        for (std::size_t at = 0; at < differences.size(); ++at) {
            sum += is_turned(at) ? -differences[at] : differences[at];
        }
        return std::abs(sum) >= least;
    };
    double as_far = 0;
    if (differences.size() <= MOST_EXACT_PAIRS) {
        const std::uint32_t ways = 1U << differences.size();
        for (std::uint32_t way = 0; way < ways; ++way) {
            as_far += turned([way](std::size_t at) { return (way >> at & 1U) != 0; }) ? 1 : 0;
        }
        return as_far / ways;
    }
    std::mt19937 random(SEED);
    for (int turn = 0; turn < RANDOM_TURNS; ++turn) {
        as_far += turned([&random](std::size_t /*at*/) { return (random() & 1U) != 0; }) ? 1 : 0;
    }
    // What was seen is one of the ways.
    return (as_far + 1) / (RANDOM_TURNS + 1);
}

std::vector<double> holm(std::span<const double> chances) {
    std::vector<std::size_t> order(chances.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order,
                             [&](std::size_t a, std::size_t b) { return chances[a] < chances[b]; });
    std::vector<double> raised(chances.size());
    double most = 0;
    for (std::size_t at = 0; at < order.size(); ++at) {
        const auto left = static_cast<double>(order.size() - at);
        most = std::max(most, std::min(1.0, chances[order[at]] * left));
        raised[order[at]] = most;
    }
    return raised;
}

}  // namespace lab
