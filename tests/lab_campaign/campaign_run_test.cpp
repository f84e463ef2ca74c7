// Whole campaigns on this machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "lab/campaign/case_result.h"
#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;
using testing::Not;

class CampaignRun : public testing::Test {
protected:
    void SetUp() override {
        lab::folder_remove(folder);
        // Whatever a user has set for himself stays out, and what it keeps goes away.
        setenv("PARALLEL_HOME", (folder + "/home").c_str(), 1);
        lab::folder_make(folder + "/home");
    }
    void TearDown() override {
        unsetenv("PARALLEL_HOME");
        lab::folder_remove(folder);
    }
    Ended play(const std::string& words) const {
        return lab_run("campaign " + folder + "/mine.json --results " + folder + "/results " +
                       words);
    }
    void campaign_write(const std::string& text) const {
        ASSERT_TRUE(lab::file_write(folder + "/mine.json", text));
    }
    lab::Json result(const std::string& id) const {
        std::string text;
        lab::file_read(folder + "/results/" + id + ".json", &text);
        return lab::Json::parse(text, nullptr, false);
    }
    // Of this test alone: another may run beside it.
    const std::string folder = std::string(BACKHAUL_BUILD_DIR) + "/campaign_run_test/" +
                               testing::UnitTest::GetInstance()->current_test_info()->name();
};

constexpr const char* SHORT =
    R"({"seeds": [1], "hours": 0.1, "shapes": ["line 2"], "options": ["", "-p 2"],
        "trouble": {"losses": {"weights": {"deauth": 1}, "pause": 60}}})";
constexpr const char* USUAL = "s1.line-2.losses.0.1h.usual";
constexpr const char* P2 = "s1.line-2.losses.0.1h.p2";

TEST_F(CampaignRun, plays_every_case_once_and_goes_on_where_it_stopped) {
    campaign_write(SHORT);
    EXPECT_EQ(play("--list").out, std::string(USUAL) + "\n" + P2 + "\n");
    // One case by itself, as another engine would have it played.
    const Ended one = play("--case " + std::string(P2));
    EXPECT_EQ(one.code, 0) << one.out;
    EXPECT_THAT(one.out, HasSubstr(std::string(P2) + ": "));
    EXPECT_EQ(play("--list").out, std::string(USUAL) + "\n");
    const lab::Json before = result(P2);
    EXPECT_GT(before["outages"].size(), 0U);
    EXPECT_EQ(before["outages"][0]["cause"], "deauth");

    const Ended rest = play("--jobs 1");
    EXPECT_EQ(rest.code, 0) << rest.out;
    EXPECT_THAT(rest.out, HasSubstr("2 of 2: " + std::string(USUAL) + ": "));
    EXPECT_THAT(rest.out, HasSubstr("2 of 2 cases have a result, 0 broke a rule"));
    EXPECT_EQ(result(P2), before);

    // What was cut short is played again, and comes out as before but for the machine's time.
    lab::Json whole = result(USUAL);
    ASSERT_TRUE(lab::file_write(folder + "/results/" + USUAL + ".json",
                                lab::json_text(whole).substr(0, 100)));
    EXPECT_EQ(play("--jobs 1").code, 0);
    lab::Json again = result(USUAL);
    whole.erase("real_ms");
    again.erase("real_ms");
    EXPECT_EQ(again, whole);

    const Ended report = play("--report");
    EXPECT_EQ(report.code, 0) << report.out;
    std::string page;
    EXPECT_TRUE(lab::file_read(folder + "/results/report.html", &page));
    EXPECT_THAT(page, HasSubstr("2 of 2 cases have a result"));
    EXPECT_TRUE(lab::path_exists(folder + "/results/report.csv"));
}

TEST_F(CampaignRun, keeps_a_case_that_broke_a_rule_and_makes_it_short) {
    campaign_write(R"({"seeds": [1], "hours": 0.1, "shapes": ["line 2"],
        "trouble": {"silence": {"weights": {"ap-off": 1}, "pause": 60}},
        "daemons": {"broken": ")" BACKHAUL_BUILD_DIR R"(/tests/broken/no_timeout"}})");
    const Ended ended = play("--jobs 1");
    EXPECT_EQ(ended.code, 1) << ended.out;
    EXPECT_THAT(ended.out, HasSubstr("1 of 1 cases have a result, 1 broke a rule"));
    const std::string id = "s1.line-2.silence.0.1h.usual.broken";
    const lab::Json broken = result(id);
    ASSERT_TRUE(broken.is_object()) << ended.out;
    EXPECT_EQ(broken["rule"], "time-limits");
    EXPECT_TRUE(lab::path_exists(broken["evidence"].get<std::string>() + "/events"));
    std::string shorter;
    ASSERT_TRUE(lab::file_read(folder + "/results/" + id + ".short.scn", &shorter));
    EXPECT_THAT(shorter, testing::StartsWith("# Shows: "));
    std::string whole;
    ASSERT_TRUE(lab::file_read(folder + "/results/" + id + ".scn", &whole));
    EXPECT_LT(shorter.size(), whole.size());
    // It is a result like any other: nothing is left to be played.
    EXPECT_EQ(play("--list").out, "");
}

TEST_F(CampaignRun, says_what_it_cannot_do) {
    campaign_write(R"({"seeds": [1], "shapes": ["line 2"], "daemons": {"x": "no/such/file"}})");
    EXPECT_EQ(play("").out, "backhaul_lab: cannot read " + folder + "/no/such/file\n");
    campaign_write(SHORT);
    EXPECT_EQ(play("--case s2").out, "backhaul_lab: the campaign has no case `s2`\n");
    EXPECT_EQ(play("--report").out, "backhaul_lab: no case has a result yet\n");
    EXPECT_EQ(lab_run("campaign " + folder + "/none.json").code, 2);
    EXPECT_THAT(lab_run("campaign - </dev/null").out, HasSubstr("-: no JSON: "));
    EXPECT_EQ(play("--slurm --json").code, 0);
}

}  // namespace
