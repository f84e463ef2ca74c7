// The comparison of texts with what was seen.

#include "tests/contract/coverage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<Text> three_texts() {
    std::vector<std::string> errors;
    std::vector<Text> texts = texts_read("stdout", "Slave\\n\nMaster\\n\n", &errors);
    const std::vector<Text> more = texts_read("commands", "wifi up wifi0\n", &errors);
    texts.insert(texts.end(), more.begin(), more.end());
    EXPECT_THAT(errors, IsEmpty());
    return texts;
}

TEST(Coverage, finds_the_texts_that_were_seen_and_passes_over_broken_lines) {
    const Seen seen = {"", "nothing", "stdout\tMaster\\n", "commands\twifi up wifi1"};
    EXPECT_THAT(produced(three_texts(), seen), ElementsAre(false, true, false));
}

TEST(Coverage, reports_what_is_missing_and_counts_each_kind) {
    const Report report = report_make(three_texts(), {false, true, false}, {});
    EXPECT_THAT(report.missing, ElementsAre("stdout Slave\\n", "commands wifi up wifi0"));
    ASSERT_EQ(report.counts.size(), 2u);
    EXPECT_EQ(report.counts[0].kind, "stdout");
    EXPECT_EQ(report.counts[0].texts, 2);
    EXPECT_EQ(report.counts[0].produced, 1);
    EXPECT_EQ(report.counts[1].texts, 1);
    EXPECT_EQ(report.counts[1].produced, 0);
}

TEST(Coverage, takes_an_exception_only_for_a_text_that_is_there_and_was_not_seen) {
    const Report report = report_make(three_texts(), {false, true, true},
                                      {"stdout Slave\\n", "stdout Master\\n", "stdout Nobody\\n"});
    EXPECT_THAT(report.missing, IsEmpty());
    EXPECT_EQ(report.counts[0].excepted, 1);
    EXPECT_THAT(report.needless, ElementsAre("stdout Master\\n", "stdout Nobody\\n"));
}

TEST(Coverage, wants_a_reason_above_each_group_of_exceptions) {
    std::vector<std::string> errors;
    EXPECT_THAT(exceptions_read("# why\na\nb\n\nc\n", &errors), ElementsAre("a", "b", "c"));
    EXPECT_THAT(errors, ElementsAre("no reason given: c"));
}

}  // namespace
}  // namespace contract
