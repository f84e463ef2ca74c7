// The answers of a campaign: what came of each way to run a mesh, beside the others.
//
// A place is a shape with its trouble and its hours; a variant is the daemon with its options. In
// each place a variant is held against another, seed by seed, since the same seed does the same to
// the mesh: a further build against the first one with the same options, further options against
// the first ones. Functions of values, for any thread.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "lab/campaign/case_result.h"
#include "lab/campaign/statistics.h"

namespace lab {

// A difference with a smaller chance is said to be one.
inline constexpr double SURE_CHANCE = 0.05;

struct Estimate {
    double value = 0;
    Interval interval = {};
};

// What is told of a set of runs. Hours are those of an extender that was ready once.
struct MeasureRow {
    std::string_view name;  // of a column in the CSV
    std::string_view title;
    std::string_view unit;
    int digits;
    double (*of)(std::span<const CaseResult* const> runs);
};
std::span<const MeasureRow> measures();

// Of these, what variants are compared by: seconds without a backhaul in an hour.
inline constexpr std::string_view OUT_MEASURE = "out_seconds_per_hour";

// Outages with the same cause.
struct CauseSummary {
    std::string cause;
    std::size_t count = 0;
    double median = 0;
    double p95 = 0;
    double worst = 0;
    std::vector<double> lengths = {};  // sorted
};

struct Difference {
    std::string variant;
    std::string against;  // empty: it is the first, so there is no difference
    std::size_t pairs = 0;
    Estimate estimate;    // mean of OUT_MEASURE, this one less the other
    double chance = 1;    // sign_flip_chance()
    double raised = 1;    // by holm(), over all differences of the campaign
    bool is_one = false;  // raised is below SURE_CHANCE
};

struct VariantSummary {
    std::string variant;  // "p2-x5", "usual.after"
    std::size_t runs = 0;
    double mesh_hours = 0;
    std::vector<Estimate> estimates;  // in the order of measures()
    std::vector<CauseSummary> causes;
    std::map<std::string, int> loops;  // by the known hazard
    int islands = 0;
    double island_longest = 0;
    std::size_t breaches = 0;  // runs with one
    Difference difference;
};

struct PlaceSummary {
    std::string shape;
    std::string trouble;
    double hours = 0;
    std::vector<VariantSummary> variants;
};

struct CampaignSummary {
    std::string name;
    std::size_t cases = 0;
    std::size_t results = 0;
    double mesh_hours = 0;
    std::vector<PlaceSummary> places;
    std::vector<Difference> everywhere;  // the pairs of all places together
};

CampaignSummary campaign_summary(const Campaign& campaign, const std::vector<CaseResult>& results);

}  // namespace lab
