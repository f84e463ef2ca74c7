#include <array>
#include <cstdio>

#include "lab/campaign/report.h"

namespace lab {
namespace {

std::string number(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.6g", value);
    return text.data();
}

// The columns that the lines of a variant share.
struct Columns {
    std::string place;    // "line 4,flapping,1,"
    std::string variant;  // "p2-x5,12,14.3,"
};

std::string line(const Columns& columns, const std::string& what, const std::string& of,
                 const Estimate& estimate, const std::string& rest = ",,") {
    const Interval& interval = estimate.interval;
    return columns.place + columns.variant + what + "," + of + "," + number(estimate.value) + "," +
           (interval.is_known ? number(interval.low) : "") + "," +
           (interval.is_known ? number(interval.high) : "") + "," + rest + "\n";
}

std::string difference_line(const Columns& columns, const Difference& difference) {
    return line(columns, "difference_" + std::string(OUT_MEASURE), difference.against,
                difference.estimate,
                std::to_string(difference.pairs) + "," + number(difference.chance) + "," +
                    number(difference.raised));
}

std::string variant_lines(const std::string& place, const VariantSummary& variant) {
    const Columns columns{place, variant.variant + "," + std::to_string(variant.runs) + "," +
                                     number(variant.mesh_hours) + ","};
    std::string text;
    for (std::size_t at = 0; at < measures().size(); ++at) {
        text += line(columns, std::string(measures()[at].name), "", variant.estimates[at]);
    }
    for (const CauseSummary& cause : variant.causes) {
        text += line(columns, "cause_outages", cause.cause, {static_cast<double>(cause.count), {}});
        text += line(columns, "cause_median", cause.cause, {cause.median, {}});
        text += line(columns, "cause_p95", cause.cause, {cause.p95, {}});
        text += line(columns, "cause_worst", cause.cause, {cause.worst, {}});
    }
    for (const auto& [hazard, count] : variant.loops) {
        text += line(columns, "loops", hazard, {static_cast<double>(count), {}});
    }
    text += line(columns, "islands", "", {static_cast<double>(variant.islands), {}});
    text += line(columns, "island_longest", "", {variant.island_longest, {}});
    text +=
        line(columns, "runs_that_broke_a_rule", "", {static_cast<double>(variant.breaches), {}});
    return variant.difference.against.empty() ? text
                                              : text + difference_line(columns, variant.difference);
}

}  // namespace

std::string report_csv(const CampaignSummary& summary) {
    std::string text =
        "shape,trouble,hours,variant,runs,mesh_hours,what,of,value,low,high,pairs,chance,raised\n";
    for (const PlaceSummary& place : summary.places) {
        for (const VariantSummary& variant : place.variants) {
            text += variant_lines(
                place.shape + "," + place.trouble + "," + number(place.hours) + ",", variant);
        }
    }
    for (const Difference& difference : summary.everywhere) {
        text += difference_line({"everywhere,,,", difference.variant + ",,,"}, difference);
    }
    return text;
}

}  // namespace lab
