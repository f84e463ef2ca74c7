#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "lab/campaign/report.h"
#include "lab/campaign/report_css.h"

namespace lab {
namespace {

constexpr double PERCENT = 100;

std::string escaped(std::string_view text) {
    std::string safe;
    for (const char letter : text) {
        safe += letter == '&'   ? std::string("&amp;")
                : letter == '<' ? std::string("&lt;")
                : letter == '>' ? std::string("&gt;")
                : letter == '"' ? std::string("&quot;")
                                : std::string(1, letter);
    }
    return safe;
}

std::string number(double value, int digits) {
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

std::string interval_text(const Interval& interval, int digits) {
    return interval.is_known ? number(interval.low, digits) + " to " + number(interval.high, digits)
                             : "interval unknown";
}

std::string chance_text(double chance) {
    return chance < 0.001 ? "below 0.001" : number(chance, 3);
}

// Where a value stands on a line that goes from `least` to `most`.
std::string place_text(double value, double least, double most) {
    const double share = most > least ? (value - least) / (most - least) : 0.5;
    return number(std::clamp(share, 0.0, 1.0) * PERCENT, 2) + "%";
}

std::string span_html(const char* tag, double from, double to, double least, double most) {
    const double share = most > least ? (to - from) / (most - least) : 0;
    return std::string("<") + tag + " style=\"left:" + place_text(from, least, most) +
           ";width:" + number(std::clamp(share, 0.0, 1.0) * PERCENT, 2) + "%\"></" + tag + ">";
}

std::string mark_html(const char* kind, double at, double least, double most) {
    return std::string("<b class=\"") + kind + "\" style=\"left:" + place_text(at, least, most) +
           "\"></b>";
}

std::string row_html(const std::string& name, const std::string& track, const std::string& said,
                     const std::string& aloud) {
    return "<div class=\"name\">" + escaped(name) +
           "</div><div class=\"track\" role=\"img\" aria-label=\"" + escaped(aloud) + "\">" +
           track + "</div><div class=\"at\">" + said + "</div>\n";
}

std::string axis_html(const std::string& from, const std::string& to) {
    return "<div></div><div class=\"axis\" aria-hidden=\"true\"><span>" + from + "</span><span>" +
           to + "</span></div><div></div>\n";
}

std::string table_html(const std::string& title, const std::string& head, const std::string& body) {
    return "<div class=\"wide\" tabindex=\"0\" role=\"region\" aria-label=\"" + escaped(title) +
           "\"><table><thead><tr>" + head + "</tr></thead><tbody>" + body +
           "</tbody></table></div>\n";
}

std::string cell(const std::string& text, const std::string& small = "") {
    return "<td>" + text + (small.empty() ? "" : "<small>" + small + "</small>") + "</td>";
}

std::string head(const std::string& text, const std::string& unit = "") {
    return "<th scope=\"col\">" + escaped(text) +
           (unit.empty() ? "" : "<br><small class=\"soft\">" + escaped(unit) + "</small>") +
           "</th>";
}

std::string place_title(const PlaceSummary& place) {
    return place.shape + ", " + place.trouble;
}

// --- Differences

std::string verdict(const Difference& difference) {
    if (difference.is_one) {
        return difference.estimate.value < 0 ? "<span class=\"sure\">shorter</span>"
                                             : "<span class=\"sure\">longer</span>";
    }
    return "not shown";
}

std::string difference_row(const std::string& place, const Difference& difference) {
    const Estimate& estimate = difference.estimate;
    return "<tr>" + cell(escaped(place)) + cell(escaped(difference.variant)) +
           cell(escaped(difference.against)) + cell(std::to_string(difference.pairs)) +
           cell(number(estimate.value, 1), interval_text(estimate.interval, 1)) +
           cell(chance_text(difference.chance)) + cell(chance_text(difference.raised)) +
           cell(verdict(difference)) + "</tr>";
}

// All places together, 0 in the place where its line stands.
std::string differences_plot(const std::vector<Difference>& differences) {
    double most = 0;
    for (const Difference& difference : differences) {
        const Estimate& estimate = difference.estimate;
        most = std::max({most, std::abs(estimate.value), std::abs(estimate.interval.low),
                         std::abs(estimate.interval.high)});
    }
    std::string html = "<div class=\"plot\">\n";
    for (const Difference& difference : differences) {
        const Estimate& estimate = difference.estimate;
        const std::string said = number(estimate.value, 1);
        const std::string track =
            "<s style=\"left:50%\"></s>" +
            (estimate.interval.is_known
                 ? span_html("i", estimate.interval.low, estimate.interval.high, -most, most)
                 : "") +
            mark_html("dot", estimate.value, -most, most);
        html += row_html(difference.variant, track, said,
                         said + " s an hour against " + difference.against + ", " +
                             interval_text(estimate.interval, 1));
    }
    return html + axis_html("shorter, " + number(-most, 0), "longer, " + number(most, 0)) +
           "</div>\n";
}

std::string differences_table(const std::string& rows) {
    return table_html("differences",
                      head("Where") + head("Variant") + head("Against") + head("Pairs") +
                          head("Difference", "s an hour") + head("Chance") +
                          head("Raised", "Holm") + head("So it is"),
                      rows);
}

std::string differences_html(const CampaignSummary& summary) {
    if (summary.everywhere.empty()) {
        return "";
    }
    std::string everywhere;
    for (const Difference& difference : summary.everywhere) {
        everywhere += difference_row("everywhere", difference);
    }
    std::string places;
    for (const PlaceSummary& place : summary.places) {
        for (const VariantSummary& variant : place.variants) {
            if (!variant.difference.against.empty()) {
                places += difference_row(place_title(place), variant.difference);
            }
        }
    }
    return "<h2 id=\"differences\">Is it a difference?</h2>\n"
           "<p>Seconds without a backhaul in an hour of an extender, one variant less the other: "
           "below 0 is better. Pairs have the same seed, so the same was done to both.</p>\n" +
           differences_plot(summary.everywhere) + differences_table(everywhere) +
           "<details><summary>Place by place</summary>\n" + differences_table(places) +
           "</details>\n"
           "<p class=\"soft\">Chance: how often a mean at least as far from 0 comes when each "
           "pair's sign is turned at random (paired permutation test, two-sided). Raised by Holm's "
           "method over all rows, since many questions are asked at once; below 0.05 it is called "
           "a "
           "difference. \"Not shown\" does not say that there is none.</p>\n";
}

// --- A place

double most_of(const PlaceSummary& place, std::size_t measure) {
    double most = 0;
    for (const VariantSummary& variant : place.variants) {
        const Estimate& estimate = variant.estimates[measure];
        most = std::max({most, estimate.value, estimate.interval.high});
    }
    return most;
}

std::string measure_plot(const PlaceSummary& place, std::size_t measure) {
    const MeasureRow& row = measures()[measure];
    const double most = most_of(place, measure);
    std::string html = "<div class=\"plot\">\n";
    for (const VariantSummary& variant : place.variants) {
        const Estimate& estimate = variant.estimates[measure];
        if (variant.runs == 0) {
            html += row_html(variant.variant, "", "no result", "no result");
            continue;
        }
        const std::string said = number(estimate.value, row.digits);
        const std::string track =
            (estimate.interval.is_known
                 ? span_html("i", estimate.interval.low, estimate.interval.high, 0, most)
                 : "") +
            mark_html("dot", estimate.value, 0, most);
        html += row_html(variant.variant, track, said,
                         said + " " + std::string(row.unit) + ", " +
                             interval_text(estimate.interval, row.digits));
    }
    return html + axis_html("0", number(most, row.digits) + " " + escaped(row.unit)) + "</div>\n";
}

std::string estimates_table(const PlaceSummary& place) {
    std::string heads = head("Variant") + head("Runs") + head("Mesh-hours");
    for (const MeasureRow& row : measures()) {
        heads += head(std::string(row.title), std::string(row.unit));
    }
    std::string rows;
    for (const VariantSummary& variant : place.variants) {
        rows += "<tr>" + cell(escaped(variant.variant)) + cell(std::to_string(variant.runs)) +
                cell(number(variant.mesh_hours, 1));
        for (std::size_t at = 0; at < measures().size(); ++at) {
            const Estimate& estimate = variant.estimates[at];
            const int digits = measures()[at].digits;
            rows += variant.runs == 0
                        ? cell("")
                        : cell(number(estimate.value, digits),
                               estimate.interval.is_known ? interval_text(estimate.interval, digits)
                                                          : "");
        }
        rows += "</tr>";
    }
    return table_html("measures of " + place_title(place), heads, rows);
}

std::string hazards_text(const VariantSummary& variant) {
    std::string text;
    for (const auto& [hazard, count] : variant.loops) {
        text += (text.empty() ? "" : ", ") + hazard + " " + std::to_string(count);
    }
    return text.empty() ? "none" : text;
}

std::string hazards_table(const PlaceSummary& place) {
    std::string rows;
    for (const VariantSummary& variant : place.variants) {
        rows += "<tr>" + cell(escaped(variant.variant)) + cell(escaped(hazards_text(variant))) +
                cell(std::to_string(variant.islands)) + cell(number(variant.island_longest, 0)) +
                cell(std::to_string(variant.breaches)) + "</tr>";
    }
    return table_html("hazards of " + place_title(place),
                      head("Variant") + head("Loops by hazard", "times") + head("Islands") +
                          head("Longest island", "s") + head("Runs that broke a rule"),
                      rows);
}

// Lengths from a second to a day, each ten times the space of the one before.
double on_axis(double seconds) {
    return std::log10(std::max(seconds, 1.0));
}

std::string cause_row(const std::string& name, const CauseSummary& cause, double most) {
    constexpr double QUARTER = 0.25;
    const double low = quantile(cause.lengths, QUARTER);
    const double high = quantile(cause.lengths, 1 - QUARTER);
    const std::string track =
        span_html("i", on_axis(cause.lengths.front()), on_axis(cause.worst), 0, most) +
        span_html("u", on_axis(low), on_axis(high), 0, most) +
        mark_html("bar", on_axis(cause.median), 0, most) +
        mark_html("ring", on_axis(cause.p95), 0, most);
    return row_html(name, track, std::to_string(cause.count),
                    std::to_string(cause.count) + " outages, median " + number(cause.median, 0) +
                        " s, 95th percentile " + number(cause.p95, 0) + " s, worst " +
                        number(cause.worst, 0) + " s");
}

std::string causes_html(const PlaceSummary& place) {
    std::vector<std::string> names;
    double most = 1;
    for (const VariantSummary& variant : place.variants) {
        for (const CauseSummary& cause : variant.causes) {
            most = std::max(most, on_axis(cause.worst));
            if (std::ranges::find(names, cause.cause) == names.end()) {
                names.push_back(cause.cause);
            }
        }
    }
    std::string html;
    for (const std::string& name : names) {
        std::string rows;
        std::string plot;
        for (const VariantSummary& variant : place.variants) {
            const auto found = std::ranges::find(variant.causes, name, &CauseSummary::cause);
            if (found == variant.causes.end()) {
                continue;
            }
            plot += cause_row(variant.variant, *found, most);
            rows += "<tr>" + cell(escaped(variant.variant)) + cell(std::to_string(found->count)) +
                    cell(number(found->median, 0)) + cell(number(found->p95, 0)) +
                    cell(number(found->worst, 0)) + "</tr>";
        }
        html += "<h3>" + escaped(name) + "</h3>\n<div class=\"plot\">" + plot +
                axis_html("1 s", number(std::pow(10, most), 0) + " s") + "</div>\n" +
                table_html(name + " in " + place_title(place),
                           head("Variant") + head("Outages") + head("Median", "s") +
                               head("95th percentile", "s") + head("Worst", "s"),
                           rows);
    }
    return html;
}

std::string place_html(const PlaceSummary& place, std::size_t at) {
    return "<h2 id=\"place" + std::to_string(at) + "\">" + escaped(place_title(place)) +
           "</h2>\n<p class=\"soft\">Runs of " + number(place.hours, 1) +
           " h.</p>\n<h3>Seconds without a backhaul in an hour</h3>\n" + measure_plot(place, 0) +
           "<details open><summary>All measures</summary>\n" + estimates_table(place) +
           hazards_table(place) + "</details>\n<details><summary>Outages by cause</summary>\n" +
           causes_html(place) + "</details>\n";
}

std::string how_to_read() {
    return "<h2 id=\"reading\">How to read this</h2>\n"
           "<p>A dot is what was measured, its line the interval that holds the true value 19 "
           "times "
           "in 20, by drawing whole runs anew (percentile bootstrap, clusters are runs, 2,000 "
           "draws "
           "with a fixed seed). With fewer than three runs no interval is known. An hour is one of "
           "an extender that was ready once. In plots by cause the thin line goes from the "
           "shortest "
           "to the worst outage, the box holds the middle half, the bar is the median, the ring "
           "the "
           "95th percentile; each tenth of the seconds takes the same space.</p>\n"
           "<p>An outage is put down to the last thing that was done to the mesh before it began. "
           "Loops are marked frames that came twice, by the known hazard behind them. An island is "
           "a group "
           "of extenders that say ready below each other without a way to a root, for more than "
           "ten "
           "minutes.</p>\n";
}

}  // namespace

std::string report_page(const CampaignSummary& summary) {
    std::string links;
    std::string places;
    for (std::size_t at = 0; at < summary.places.size(); ++at) {
        links += "<li><a href=\"#place" + std::to_string(at) + "\">" +
                 escaped(place_title(summary.places[at])) + "</a></li>";
        places += place_html(summary.places[at], at);
    }
    const std::string differences = differences_html(summary);
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
           escaped(summary.name) + "</title>\n<style>\n" + std::string(REPORT_CSS) +
           "</style>\n</head>\n<body>\n<h1>" + escaped(summary.name) + "</h1>\n<p>" +
           std::to_string(summary.results) + " of " + std::to_string(summary.cases) +
           " cases have a result: " + number(summary.mesh_hours, 1) +
           " mesh-hours.</p>\n<nav aria-label=\"Parts of this page\"><ul>" +
           (differences.empty() ? ""
                                : "<li><a href=\"#differences\">Is it a difference?</a></li>") +
           links + "<li><a href=\"#reading\">How to read this</a></li></ul></nav>\n<main>\n" +
           differences + places + how_to_read() + "</main>\n</body>\n</html>\n";
}

}  // namespace lab
