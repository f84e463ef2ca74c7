// The page and the table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "lab/campaign/report.h"
#include "tests/lab_campaign/results.h"

namespace lab {
namespace {

using testing::HasSubstr;
using testing::Not;

CampaignSummary summary() {
    std::vector<CaseResult> results;
    for (const CampaignCase& one : harness::tuning()) {
        results.push_back(harness::case_result(one, {one.options.empty() ? 20 : 200, 90}));
        results.back().loops["left-over-station"] = 1;
    }
    return campaign_summary(harness::tuning_campaign(), results);
}

TEST(ReportPage, needs_nothing_besides_itself) {
    const std::string page = report_page(summary());
    for (const char* const word :
         {"http:", "https:", "src=", "<link", "<script", "@import", "url("}) {
        EXPECT_THAT(page, Not(HasSubstr(word)));
    }
    EXPECT_THAT(page, HasSubstr("prefers-color-scheme: dark"));
}

TEST(ReportPage, says_in_words_what_it_draws) {
    const std::string page = report_page(summary());
    EXPECT_THAT(page, HasSubstr("48 of 48 cases have a result: 52.8 mesh-hours."));
    EXPECT_THAT(page, HasSubstr("aria-label=\"110.0 s an hour, 110.0 to 110.0\""));
    EXPECT_THAT(page, HasSubstr("aria-label=\"16 outages, median 145 s, 95th percentile 200 s, "
                                "worst 200 s\""));
    EXPECT_THAT(page, HasSubstr("left-over-station 8"));
    EXPECT_THAT(page, HasSubstr("<span class=\"sure\">longer</span>"));
}

TEST(ReportPage, closes_what_it_opens) {
    const std::string page = report_page(summary());
    for (const std::string tag :
         {"table", "tr", "td", "th", "div", "details", "b", "i", "u", "p"}) {
        const auto count = [&page](const std::string& text) {
            std::size_t found = 0;
            for (std::size_t at = page.find(text); at != std::string::npos;
                 at = page.find(text, at + 1)) {
                ++found;
            }
            return found;
        };
        EXPECT_EQ(count("<" + tag + ">") + count("<" + tag + " "), count("</" + tag + ">")) << tag;
    }
}

TEST(ReportPage, shows_names_as_they_are) {
    CampaignSummary odd = summary();
    odd.name = "<b>&\"";
    EXPECT_THAT(report_page(odd), HasSubstr("<h1>&lt;b&gt;&amp;&quot;</h1>"));
}

TEST(ReportPage, of_a_campaign_that_has_just_begun_draws_what_is_there) {
    const CaseResult only = harness::case_result(harness::tuning()[0], {20});
    const std::string page = report_page(campaign_summary(harness::tuning_campaign(), {only}));
    EXPECT_THAT(page, HasSubstr("1 of 48 cases"));
    EXPECT_THAT(page, HasSubstr("interval unknown"));
    EXPECT_THAT(page, HasSubstr("no result"));
    EXPECT_THAT(page, Not(HasSubstr("nan")));
}

TEST(ReportTable, has_the_same_columns_in_every_line) {
    std::istringstream table(report_csv(summary()));
    std::string line;
    std::getline(table, line);
    EXPECT_EQ(line,
              "shape,trouble,hours,variant,runs,mesh_hours,what,of,value,low,high,pairs,"
              "chance,raised");
    const auto commas = std::ranges::count(line, ',');
    while (std::getline(table, line)) {
        EXPECT_EQ(std::ranges::count(line, ','), commas) << line;
    }
}

TEST(ReportTable, tells_every_number) {
    const std::string table = report_csv(summary());
    for (const char* const line :
         {"line 2,usual,1,usual,8,8.8,out_seconds_per_hour,,110,110,110,,,\n",
          "line 2,usual,1,usual,8,8.8,outage_worst,,90,,,,,\n",
          "star 3,usual,1,p2,8,8.8,cause_median,ap-off,145,,,,,\n",
          "star 3,usual,1,x5,8,8.8,loops,left-over-station,8,,,,,\n",
          "line 2,usual,1,p2,8,8.8,difference_out_seconds_per_hour,usual,180,180,180,8,0.0078125,"
          "0.03125\n",
          "everywhere,,,p2,,,difference_out_seconds_per_hour,usual,180,180,180,16,"}) {
        EXPECT_THAT(table, HasSubstr(line));
    }
}

}  // namespace
}  // namespace lab
