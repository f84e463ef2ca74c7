// The meshes that the generators make.
#include <gtest/gtest.h>

#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/scenario_parse.h"

namespace lab {
namespace {

// "e1-root" for who hears whom well, "e1~e2" for poorly.
std::vector<std::string> hearings(const Scenario& scenario) {
    std::vector<std::string> texts;
    for (const ScenarioHearing& hearing : scenario.hearings) {
        texts.push_back(hearing.a + (hearing.signal == -55 ? "-" : "~") + hearing.b);
    }
    return texts;
}

TEST(ScenarioGenerate, makes_a_chain) {
    const Scenario scenario = scenario_line(4);
    EXPECT_EQ(scenario.nodes.size(), 4U);
    EXPECT_EQ(scenario.nodes[0].name, "root");
    EXPECT_EQ(scenario.nodes[0].role, NodeRole::root);
    EXPECT_EQ(scenario.nodes[3].name, "e3");
    EXPECT_EQ(scenario.nodes[3].role, NodeRole::extender);
    EXPECT_EQ(hearings(scenario), (std::vector<std::string>{"e1-root", "e2-e1", "e3-e2"}));
}

TEST(ScenarioGenerate, makes_a_star_whose_extenders_can_help_out) {
    EXPECT_EQ(hearings(scenario_star(4)), (std::vector<std::string>{"e1-root", "e2-root", "e3-root",
                                                                    "e1~e2", "e2~e3", "e3~e1"}));
    EXPECT_EQ(hearings(scenario_star(3)),
              (std::vector<std::string>{"e1-root", "e2-root", "e1~e2"}));
    EXPECT_EQ(hearings(scenario_star(2)), (std::vector<std::string>{"e1-root"}));
    EXPECT_TRUE(hearings(scenario_star(1)).empty());
}

TEST(ScenarioGenerate, makes_a_tree_of_two_levels) {
    const Scenario scenario = scenario_tree(2, 2);
    EXPECT_EQ(scenario.nodes.size(), 7U);
    EXPECT_EQ(hearings(scenario), (std::vector<std::string>{"e1-root", "e2-root", "e1~e2", "e3-e1",
                                                            "e4-e1", "e5-e2", "e6-e2"}));
}

TEST(ScenarioGenerate, makes_a_grid_with_the_root_in_a_corner) {
    const Scenario scenario = scenario_grid(2, 3);
    EXPECT_EQ(scenario.nodes.size(), 6U);
    EXPECT_EQ(hearings(scenario),
              (std::vector<std::string>{"e1-root", "e2-e1", "e3-root", "e3~e1", "e4-e3", "e4-e1",
                                        "e4~root", "e4~e2", "e5-e4", "e5-e2", "e5~e1"}));
}

TEST(ScenarioGenerate, makes_what_it_reads_again_from_its_text) {
    for (const Scenario& scenario : {scenario_line(1), scenario_line(5), scenario_star(6),
                                     scenario_tree(3, 2), scenario_grid(4, 4)}) {
        Scenario again;
        std::vector<ScenarioError> errors;
        ASSERT_TRUE(scenario_parse(scenario_print(scenario), &again, &errors))
            << scenario_errors_text("text", errors);
        EXPECT_EQ(again, scenario);
    }
}

TEST(ScenarioGenerate, refuses_shapes_and_numbers_it_does_not_know) {
    Scenario scenario;
    std::string error;
    const std::vector<std::string> one = {"3"};
    const std::vector<std::string> none = {"0"};
    const std::vector<std::string> many = {"20", "20"};
    EXPECT_FALSE(scenario_generate("lin", one, &scenario, error));
    EXPECT_EQ(error, "`lin` is no shape (did you mean `line`?)");
    EXPECT_FALSE(scenario_generate("line", none, &scenario, error));
    EXPECT_EQ(error, "`0` is no number of nodes from 1 to 250");
    EXPECT_FALSE(scenario_generate("tree", one, &scenario, error));
    EXPECT_EQ(error, "say `tree CHILDREN GRANDCHILDREN`");
    const std::vector<std::string> one_more = {std::to_string(MOST_NODES + 1)};
    EXPECT_FALSE(scenario_generate("star", one_more, &scenario, error));
    EXPECT_EQ(error, "`251` is no number of nodes from 1 to 250");
    EXPECT_FALSE(scenario_generate("grid", many, &scenario, error));
    EXPECT_EQ(error, "a mesh has at most 250 nodes");
}

}  // namespace
}  // namespace lab
