#include "lab/campaign/summary.h"

#include <algorithm>
#include <array>

namespace lab {
namespace {

constexpr double SECONDS_AN_HOUR = 3600;
constexpr double P95 = 0.95;

using Runs = std::span<const CaseResult* const>;

std::vector<double> lengths_of(Runs runs) {
    std::vector<double> lengths;
    for (const CaseResult* const run : runs) {
        for (const CaseOutage& outage : run->outages) {
            lengths.push_back(static_cast<double>(outage.seconds));
        }
    }
    return lengths;
}

double hours_of(Runs runs) {
    double seconds = 0;
    for (const CaseResult* const run : runs) {
        seconds += static_cast<double>(run->observed_seconds);
    }
    return seconds / SECONDS_AN_HOUR;
}

double per_hour(Runs runs, double (*of)(const CaseResult& run)) {
    const double hours = hours_of(runs);
    double sum = 0;
    for (const CaseResult* const run : runs) {
        sum += of(*run);
    }
    return hours > 0 ? sum / hours : 0;
}

double out_per_hour(Runs runs) {
    return per_hour(runs, [](const CaseResult& run) {
        double sum = 0;
        for (const CaseOutage& outage : run.outages) {
            sum += static_cast<double>(outage.seconds);
        }
        return sum;
    });
}

double outages_per_hour(Runs runs) {
    return per_hour(runs,
                    [](const CaseResult& run) { return static_cast<double>(run.outages.size()); });
}

double median_outage(Runs runs) {
    return quantile(lengths_of(runs), 0.5);
}

double p95_outage(Runs runs) {
    return quantile(lengths_of(runs), P95);
}

double worst_outage(Runs runs) {
    return quantile(lengths_of(runs), 1);
}

double switches_per_hour(Runs runs) {
    return per_hour(runs, [](const CaseResult& run) { return static_cast<double>(run.switches); });
}

double parked_percent(Runs runs) {
    return per_hour(runs,
                    [](const CaseResult& run) { return static_cast<double>(run.parked_seconds); }) /
           SECONDS_AN_HOUR * 100;
}

double islands_per_day(Runs runs) {
    return per_hour(runs, [](const CaseResult& run) { return static_cast<double>(run.islands); }) *
           24;
}

double loops_per_day(Runs runs) {
    return per_hour(runs,
                    [](const CaseResult& run) {
                        double sum = 0;
                        for (const auto& [hazard, count] : run.loops) {
                            sum += count;
                        }
                        return sum;
                    }) *
           24;
}

constexpr std::array MEASURES = {
    MeasureRow{OUT_MEASURE, "Without a backhaul", "s an hour", 1, out_per_hour},
    MeasureRow{"outages_per_hour", "Outages", "an hour", 2, outages_per_hour},
    MeasureRow{"outage_median", "Median outage", "s", 0, median_outage},
    MeasureRow{"outage_p95", "95th percentile", "s", 0, p95_outage},
    MeasureRow{"outage_worst", "Worst outage", "s", 0, worst_outage},
    MeasureRow{"switches_per_hour", "Switches of uplinks", "an hour", 2, switches_per_hour},
    MeasureRow{"parked_percent", "A station parked", "% of time", 1, parked_percent},
    MeasureRow{"loops_per_day", "Loops", "a day", 2, loops_per_day},
    MeasureRow{"islands_per_day", "Islands", "a day", 2, islands_per_day},
};

std::vector<CauseSummary> causes_of(Runs runs) {
    std::map<std::string, std::vector<double>> by_cause;
    for (const CaseResult* const run : runs) {
        for (const CaseOutage& outage : run->outages) {
            by_cause[outage.cause].push_back(static_cast<double>(outage.seconds));
        }
    }
    std::vector<CauseSummary> causes;
    for (auto& [cause, lengths] : by_cause) {
        std::ranges::sort(lengths);
        causes.push_back({cause, lengths.size(), quantile(lengths, 0.5), quantile(lengths, P95),
                          lengths.back(), lengths});
    }
    std::ranges::stable_sort(
        causes, [](const CauseSummary& a, const CauseSummary& b) { return a.count > b.count; });
    return causes;
}

VariantSummary variant_summary(const std::string& variant, Runs runs) {
    VariantSummary summary;
    summary.variant = variant;
    summary.runs = runs.size();
    for (const MeasureRow& measure : MEASURES) {
        summary.estimates.push_back(
            {measure.of(runs), bootstrap(runs.size(), [&](std::span<const std::size_t> drawn) {
                 std::vector<const CaseResult*> sample;
                 for (const std::size_t at : drawn) {
                     sample.push_back(runs[at]);
                 }
                 return measure.of(sample);
             })});
        // No draw holds a worse one than the worst: an interval would only look like knowledge.
        if (measure.of == worst_outage) {
            summary.estimates.back().interval = {};
        }
    }
    summary.causes = causes_of(runs);
    for (const CaseResult* const run : runs) {
        summary.mesh_hours += static_cast<double>(run->seconds) / SECONDS_AN_HOUR;
        summary.islands += run->islands;
        summary.island_longest =
            std::max(summary.island_longest, static_cast<double>(run->island_longest));
        summary.breaches += run->breaches.empty() ? 0 : 1;
        for (const auto& [hazard, count] : run->loops) {
            summary.loops[hazard] += count;
        }
    }
    return summary;
}

using Differences = std::vector<double>;

// Of runs with the same seed.
Differences differences_of(Runs first, Runs other) {
    Differences differences;
    for (const CaseResult* const run : other) {
        const auto same = std::ranges::find_if(
            first, [run](const CaseResult* one) { return one->of.seed == run->of.seed; });
        if (same != first.end()) {
            differences.push_back(out_per_hour({&run, 1}) - out_per_hour({&*same, 1}));
        }
    }
    return differences;
}

Difference difference_of(const std::string& variant, const std::string& against,
                         const Differences& differences) {
    const auto interval = bootstrap(differences.size(), [&](std::span<const std::size_t> drawn) {
        double sum = 0;
        for (const std::size_t at : drawn) {
            sum += differences[at];
        }
        return sum / static_cast<double>(drawn.size());
    });
    return {variant,
            against,
            differences.size(),
            {mean(differences), interval},
            sign_flip_chance(differences)};
}

struct Variant {
    std::string name;
    std::string against;
    std::vector<const CaseResult*> runs;
};

// In the order of the file.
std::vector<Variant> variants_of(const Campaign& campaign) {
    const std::vector<CampaignDaemon> own(1);
    const std::vector<CampaignDaemon>& daemons = campaign.daemons.empty() ? own : campaign.daemons;
    std::vector<Variant> variants;
    for (const std::string& options : campaign.options) {
        for (const CampaignDaemon& daemon : daemons) {
            const bool is_first_daemon = daemon == daemons[0];
            const bool is_first = is_first_daemon && options == campaign.options[0];
            const std::string& other = is_first_daemon ? campaign.options[0] : options;
            variants.push_back({campaign_variant(options, daemon),
                                is_first ? "" : campaign_variant(other, daemons[0]),
                                {}});
        }
    }
    return variants;
}

struct Place {
    PlaceSummary summary;
    std::vector<Variant> variants;
};

std::vector<Place> places_of(const Campaign& campaign, const std::vector<CaseResult>& results) {
    std::vector<Place> places;
    for (const int seconds : campaign.seconds) {
        for (const std::string& shape : campaign.shapes) {
            for (const CampaignTrouble& trouble : campaign.troubles) {
                Place place{{shape, trouble.name, seconds / SECONDS_AN_HOUR, {}},
                            variants_of(campaign)};
                for (const CaseResult& result : results) {
                    const CampaignCase& of = result.of;
                    const auto variant = std::ranges::find(
                        place.variants, campaign_variant(of.options, of.daemon), &Variant::name);
                    if (of.seconds == seconds && of.shape == shape &&
                        of.trouble.name == trouble.name && variant != place.variants.end()) {
                        variant->runs.push_back(&result);
                    }
                }
                places.push_back(place);
            }
        }
    }
    return places;
}

void differences_judge(CampaignSummary& summary) {
    std::vector<Difference*> differences;
    std::vector<double> chances;
    const auto add = [&](Difference& difference) {
        if (!difference.against.empty()) {
            differences.push_back(&difference);
            chances.push_back(difference.chance);
        }
    };
    for (PlaceSummary& place : summary.places) {
        for (VariantSummary& variant : place.variants) {
            add(variant.difference);
        }
    }
    for (Difference& difference : summary.everywhere) {
        add(difference);
    }
    const std::vector<double> raised = holm(chances);
    for (std::size_t at = 0; at < differences.size(); ++at) {
        differences[at]->raised = raised[at];
        differences[at]->is_one = raised[at] < SURE_CHANCE;
    }
}

void place_summarize(const Place& place, std::map<std::string, Differences>& all,
                     CampaignSummary& summary) {
    summary.places.push_back(place.summary);
    std::vector<VariantSummary>& variants = summary.places.back().variants;
    for (const Variant& variant : place.variants) {
        variants.push_back(variant_summary(variant.name, variant.runs));
        summary.mesh_hours += variants.back().mesh_hours;
        if (variant.against.empty()) {
            continue;
        }
        const auto other = std::ranges::find(place.variants, variant.against, &Variant::name);
        const Differences differences = differences_of(other->runs, variant.runs);
        variants.back().difference = difference_of(variant.name, variant.against, differences);
        Differences& everywhere = all[variant.name];
        everywhere.insert(everywhere.end(), differences.begin(), differences.end());
    }
}

}  // namespace

std::span<const MeasureRow> measures() {
    return MEASURES;
}

CampaignSummary campaign_summary(const Campaign& campaign, const std::vector<CaseResult>& results) {
    CampaignSummary summary;
    summary.name = campaign.name;
    summary.cases = campaign_cases(campaign).size();
    summary.results = results.size();
    std::map<std::string, Differences> all;
    for (const Place& place : places_of(campaign, results)) {
        place_summarize(place, all, summary);
    }
    for (const Variant& variant : variants_of(campaign)) {
        if (!variant.against.empty()) {
            summary.everywhere.push_back(
                difference_of(variant.name, variant.against, all[variant.name]));
        }
    }
    differences_judge(summary);
    return summary;
}

}  // namespace lab
