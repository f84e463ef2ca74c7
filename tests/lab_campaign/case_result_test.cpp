// What a case leaves, and what it adds up.
#include <gtest/gtest.h>

#include <unistd.h>

#include "lab/campaign/case_result.h"
#include "lab/tools/small_file.h"
#include "tests/lab_campaign/results.h"

namespace lab {
namespace {

class Results : public testing::Test {
protected:
    ~Results() override {
        folder_remove(folder);
    }
    bool loads(const CampaignCase& one, const std::string& mark = "mark") const {
        CaseResult result;
        return case_result_load(folder, one, mark, result);
    }
    // Below the build, for each process its own.
    const std::string folder =
        std::string(BACKHAUL_BUILD_DIR) + "/case_result_test." + std::to_string(getpid());
    std::string error;
};

TEST_F(Results, are_read_as_they_were_written) {
    CaseResult result = harness::case_result(harness::tuning()[0], {17, 180});
    result.loops["left-over-station"] = 2;
    result.breaches = {"no-loop e1: twice"};
    result.rule = "no-loop";
    result.scenario = "line 2\n";
    result.shrunk = "line 1\n";
    result.islands = 3;
    ASSERT_TRUE(case_result_save(folder, result, error)) << error;
    CaseResult again;
    ASSERT_TRUE(case_result_load(folder, result.of, "mark", again));
    EXPECT_EQ(case_result_json(again), case_result_json(result));
    std::string text;
    EXPECT_TRUE(file_read(folder + "/" + result.of.id + ".scn", &text));
    EXPECT_EQ(text, "line 2\n");
    EXPECT_TRUE(file_read(folder + "/" + result.of.id + ".short.scn", &text));
    EXPECT_EQ(text, "line 1\n");
}

TEST_F(Results, count_only_for_the_case_and_the_daemon_that_they_came_from) {
    const CaseResult result = harness::case_result(harness::tuning()[0], {});
    ASSERT_TRUE(case_result_save(folder, result, error)) << error;
    EXPECT_TRUE(loads(result.of));
    EXPECT_FALSE(loads(result.of, "of another build"));
    CampaignCase other = result.of;
    other.trouble.pause = 151;
    EXPECT_FALSE(loads(other));
    other = result.of;
    other.id = "s99.line-2.usual.1h.usual";
    EXPECT_FALSE(loads(other));
}

TEST_F(Results, that_are_cut_short_are_none) {
    const CaseResult result = harness::case_result(harness::tuning()[0], {17});
    const std::string text = json_text(case_result_json(result));
    for (const std::size_t size : {std::size_t{0}, text.size() / 2, text.size() - 1}) {
        ASSERT_TRUE(file_write(folder + "/" + result.of.id + ".json", text.substr(0, size)));
        EXPECT_FALSE(loads(result.of)) << size;
    }
}

TEST(OutageCause, is_the_last_verb_until_then) {
    const std::vector<CaseVerb> verbs = {{10, "deauth e1 ath0"},
                                         {20, "fade e1 root none 5h"},
                                         {20, "fade e1 e2 -120"},
                                         {90, "fade e1 root -55"},
                                         {95, "cable-in e2"}};
    EXPECT_EQ(outage_cause(verbs, 9), "none");
    EXPECT_EQ(outage_cause(verbs, 10), "deauth");
    EXPECT_EQ(outage_cause(verbs, 20), "link-cut");
    EXPECT_EQ(outage_cause(verbs, 94), "link-back");
    EXPECT_EQ(outage_cause(verbs, 1000), "cable-in");
    EXPECT_EQ(outage_cause(std::span(verbs).first(2), 20), "link-cut");
}

TEST(FileMark, is_another_for_another_byte) {
    std::string error;
    const std::string self = file_mark("/proc/self/exe", error);
    EXPECT_EQ(self.size(), 16U) << error;
    EXPECT_EQ(file_mark("/proc/self/exe", error), self);
    EXPECT_NE(file_mark("/bin/sh", error), self);
    EXPECT_EQ(file_mark("/no/such/file", error), "");
    EXPECT_EQ(error, "cannot read /no/such/file");
}

TEST(CaseTally, counts_from_the_first_ready_on) {
    CaseTally tally;
    case_tally_look(tally, {"e1", false, true});
    EXPECT_EQ(tally.observed_seconds, 0);
    case_tally_look(tally, {"e1", true, false});
    case_tally_look(tally, {"e1", false, true});
    case_tally_look(tally, {"e2", false, true});
    EXPECT_EQ(tally.observed_seconds, 2);
    EXPECT_EQ(tally.parked_seconds, 1);
}

}  // namespace
}  // namespace lab
