// The campaign's file and its cases.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "lab/campaign/campaign.h"
#include "lab/tools/small_file.h"

namespace lab {
namespace {

using testing::ElementsAre;

Campaign parsed(const std::string& text) {
    Campaign campaign;
    std::string error;
    EXPECT_TRUE(campaign_parse(text, "/home/lab", campaign, error)) << error;
    return campaign;
}

std::string refusal(const std::string& text) {
    Campaign campaign;
    std::string error;
    EXPECT_FALSE(campaign_parse(text, "/home/lab", campaign, error)) << text;
    return error;
}

// A file that is whole but for this.
std::string refusal_of(const std::string& key) {
    return refusal(R"({"seeds": [1], "shapes": ["line 2"], )" + key + "}");
}

std::vector<std::string> ids(const Campaign& campaign) {
    std::vector<std::string> names;
    for (const CampaignCase& one : campaign_cases(campaign)) {
        names.push_back(one.id);
    }
    return names;
}

constexpr const char* WHOLE = R"({
    // What is asked.
    "name": "mine", "seeds": {"from": 7, "count": 2}, "hours": [0.5, 2], "shapes": ["tree  1 2"],
    "trouble": {"steady": {"weights": {"reboot": 2}, "pause": 300, "longest": 60}, "usual": {}},
    "options": {"-p": [2], "-x": [5, 10]}, "daemons": {"before": "old", "after": "/new/daemon"}})";

TEST(CampaignFile, needs_no_more_than_seeds_and_shapes) {
    const Campaign campaign = parsed(R"({"seeds": [3, 1], "shapes": ["line 4", "star 3"]})");
    EXPECT_THAT(ids(campaign), ElementsAre("s3.line-4.usual.1h.usual", "s3.star-3.usual.1h.usual",
                                           "s1.line-4.usual.1h.usual", "s1.star-3.usual.1h.usual"));
}

TEST(CampaignFile, varies_whatever_it_lists_with_the_seed_outermost) {
    const std::vector<std::string> names = ids(parsed(WHOLE));
    ASSERT_EQ(names.size(), 32U);
    EXPECT_EQ(names[0], "s7.tree-1-2.steady.0.5h.p2-x5.before");
    EXPECT_EQ(names[1], "s7.tree-1-2.steady.0.5h.p2-x5.after");
    EXPECT_EQ(names[2], "s7.tree-1-2.steady.0.5h.p2-x10.before");
    EXPECT_EQ(names[4], "s7.tree-1-2.usual.0.5h.p2-x5.before");
    EXPECT_EQ(names[8], "s7.tree-1-2.steady.2h.p2-x5.before");
    EXPECT_EQ(names[16], "s8.tree-1-2.steady.0.5h.p2-x5.before");
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

TEST(CampaignFile, takes_paths_from_its_own_folder) {
    const Campaign campaign = parsed(WHOLE);
    EXPECT_THAT(campaign.daemons, ElementsAre(CampaignDaemon{"before", "/home/lab/old"},
                                              CampaignDaemon{"after", "/new/daemon"}));
}

TEST(CampaignFile, is_the_same_from_its_json) {
    const Campaign campaign = parsed(WHOLE);
    EXPECT_EQ(parsed(json_text(campaign_json(campaign))), campaign);
}

TEST(CampaignFile, names_what_it_cannot_take) {
    EXPECT_EQ(refusal("[]"), "a campaign is a JSON object");
    EXPECT_THAT(refusal("{\"seeds\": [1],\n \"shapes\" [}"),
                testing::StartsWith("no JSON: parse error at line 2"));
    EXPECT_EQ(refusal("{}"), "`seeds` is missing");
    EXPECT_EQ(refusal(R"({"seeds": [1]})"), "`shapes` is missing");
    EXPECT_EQ(refusal_of(R"("shape": [])"),
              "`shape` is no key of a campaign (did you mean `shapes`?)");
    EXPECT_EQ(refusal_of(R"("shapes": ["lin 4"])"),
              "`shapes`: `lin` is no shape (did you mean `line`?)");
    EXPECT_EQ(refusal_of(R"("shapes": ["tree 4"])"), "`shapes`: say `tree CHILDREN GRANDCHILDREN`");
    EXPECT_EQ(refusal_of(R"("shapes": ["line 1"])"), "`shapes`: `line 1` has no extender");
    EXPECT_EQ(refusal_of(R"("shapes": ["line 2", "line  2"])"),
              "`shapes` names the same thing twice");
    EXPECT_EQ(refusal_of(R"("seeds": [-1])"),
              "`seeds` takes whole numbers from 0 to 4294967295, not -1");
    EXPECT_EQ(refusal_of(R"("seeds": {"from": 1})"),
              "`seeds` needs a list of numbers, or {\"from\": 1, \"count\": 40}");
    EXPECT_EQ(refusal_of(R"("hours": 0)"), "`hours` takes numbers from 0.1 to 10000, not 0");
    EXPECT_EQ(refusal_of(R"("hours": "2")"), "`hours` takes numbers from 0.1 to 10000, not \"2\"");
    EXPECT_EQ(refusal_of(R"("options": {"-q": [1]})"),
              "`options`: `-q` is no option that can vary (did you mean `-p`?)");
    EXPECT_EQ(refusal_of(R"("options": ["-p"])"), "`options`: `` is no number of -p from 0 to 255");
    EXPECT_EQ(refusal_of(R"("options": {"-p": [256]})"),
              "`-p` takes whole numbers from 0 to 255, not 256");
    EXPECT_EQ(refusal_of(R"("options": ["-p 1 -p 2"])"),
              "`options`: `-p` stands twice in `-p 1 -p 2`");
    EXPECT_EQ(refusal_of(R"("trouble": {"a b": {}})"),
              "`trouble`: the name `a b` may have letters, digits, `-` and `_` only");
    EXPECT_EQ(refusal_of(R"("trouble": {"x": {"weights": {"deauht": 1}}})"),
              "`trouble` `x`: `deauht` is no kind of trouble (did you mean `deauth`?)");
    EXPECT_EQ(refusal_of(R"("trouble": {"x": {"weights": {"deauth": 0}}})"),
              "`trouble` `x`: `weights` needs an object with a weight above 0, like "
              "{\"deauth\": 20}");
    EXPECT_EQ(refusal_of(R"("trouble": {"x": {"pauses": 1}})"),
              "`trouble` `x`: `pauses` is no key (did you mean `pause`?)");
    EXPECT_EQ(refusal_of(R"("daemons": {"x": 1})"), "`daemons`: `x` needs a path");
    EXPECT_EQ(refusal(R"({"seeds": {"from": 1, "count": 60000}, "shapes": ["line 2", "line 3"]})"),
              "these are 120000 cases; a campaign has at most 100000");
}

TEST(CampaignFile, that_comes_with_the_lab_can_be_read) {
    std::string text;
    ASSERT_TRUE(file_read(BACKHAUL_SOURCE_DIR "/lab/campaigns/tuning.json", &text));
    EXPECT_EQ(campaign_cases(parsed(text)).size(), 27U * 3 * 3 * 7);
}

TEST(CampaignCase, gives_its_options_to_every_extender_and_its_trouble_to_the_mesh) {
    const auto one = campaign_case_find(parsed(WHOLE), "s8.tree-1-2.steady.0.5h.p2-x10.after");
    ASSERT_TRUE(one);
    Scenario scenario;
    std::string error;
    ASSERT_TRUE(campaign_case_scenario(*one, scenario, error)) << error;
    EXPECT_THAT(scenario.nodes[0].options, ElementsAre("-d"));
    for (std::size_t at = 1; at < scenario.nodes.size(); ++at) {
        EXPECT_THAT(scenario.nodes[at].options, ElementsAre("-d", "-p", "2", "-x", "10"));
    }
    EXPECT_EQ(scenario.seed, 8U);
    for (const ScenarioStep& step : scenario.steps) {
        EXPECT_TRUE(step.kind == StepKind::expect || step.verb.kind == VerbKind::reboot);
    }
    EXPECT_FALSE(campaign_case_find(parsed(WHOLE), "s9.tree-1-2.steady.0.5h.p2-x10.after"));
}

TEST(CampaignCase, does_the_same_to_the_mesh_whatever_its_daemon_and_options) {
    std::vector<std::vector<ScenarioStep>> steps;
    for (const CampaignCase& one : campaign_cases(parsed(WHOLE))) {
        Scenario scenario;
        std::string error;
        ASSERT_TRUE(campaign_case_scenario(one, scenario, error)) << error;
        steps.push_back(scenario.steps);
    }
    EXPECT_EQ(steps[0], steps[3]);
    EXPECT_NE(steps[0], steps[16]);
}

}  // namespace
}  // namespace lab
