// What can be said of numbers that came out of runs, and how surely.
//
// Runs are the clusters: outages of one run hang together, runs do not. So every interval comes
// from drawing whole runs, never single outages. Everything random has a fixed seed: the same
// results give the same report on every machine. Functions of values, for any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace lab {

inline constexpr int BOOTSTRAP_DRAWS = 2000;
inline constexpr double CONFIDENCE = 0.95;
// Up to so many pairs all ways to turn their signs are looked at, beyond so many random ones.
inline constexpr std::size_t MOST_EXACT_PAIRS = 14;
inline constexpr int RANDOM_TURNS = 20000;

// The value below which that share of the sorted ones lies, between two by a straight line (the
// definition that R calls type 7, and numpy "linear"). 0 without any.
double quantile(std::vector<double> values, double share);

double mean(std::span<const double> values);

struct Interval {
    double low = 0;
    double high = 0;
    bool is_known = false;  // false: too few runs to tell

    bool operator==(const Interval&) const = default;
};

// Percentile bootstrap over clusters: draws `count` numbers of runs with replacement, asks for the
// statistic of those, and takes the middle CONFIDENCE of the answers. With fewer than three runs
// nothing is known.
Interval bootstrap(std::size_t count,
                   const std::function<double(std::span<const std::size_t> runs)>& statistic);

// The chance of a mean at least as far from 0 when each difference might as well have had the
// other sign: the paired permutation test, two-sided. 1 without differences.
double sign_flip_chance(std::span<const double> differences);

// Chances of several questions that were asked at once, each raised so that the first mistake among
// all of them stays as rare as for one question (Holm). In the order given.
std::vector<double> holm(std::span<const double> chances);

}  // namespace lab
