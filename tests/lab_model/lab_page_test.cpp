// The page about the lab names everything that a scenario may say.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "lab/rules/causes.h"
#include "lab/rules/rule_names.h"
#include "lab/scenario/condition.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/verb.h"

namespace lab {
namespace {

class LabPage : public testing::Test {
protected:
    void SetUp() override {
        std::ifstream file(BACKHAUL_SOURCE_DIR "/docs/lab.md");
        page.assign(std::istreambuf_iterator<char>(file), {});
        // A bar inside a table's cell has to be escaped.
        for (std::size_t at = 0; (at = page.find("\\|", at)) != std::string::npos;) {
            page.erase(at, 1);
        }
        ASSERT_FALSE(page.empty());
    }

    bool names(std::string_view text) const {
        return page.find("`" + std::string(text) + "`") != std::string::npos;
    }

    std::string page;
};

TEST_F(LabPage, names_every_statement_verb_and_condition_with_its_usage) {
    for (const StatementRow& row : statement_table()) {
        EXPECT_TRUE(names(row.usage)) << row.usage;
    }
    for (const VerbRow& row : verb_table()) {
        EXPECT_TRUE(names(row.usage)) << row.usage;
    }
    for (const ConditionRow& row : condition_table()) {
        EXPECT_TRUE(names(row.usage)) << row.usage;
    }
}

TEST_F(LabPage, names_every_step_rule_and_known_cause) {
    for (const StepRow& row : step_table()) {
        EXPECT_NE(page.find(row.name), std::string::npos) << row.name;
    }
    for (const std::string_view rule : RULE_NAMES) {
        EXPECT_TRUE(names(rule)) << rule;
    }
    for (const CauseRow& row : cause_table()) {
        EXPECT_TRUE(names(row.name)) << row.name;
    }
}

TEST_F(LabPage, shows_a_scenario_that_can_be_read) {
    const std::size_t at = page.find("    # A deauthentication is over");
    ASSERT_NE(at, std::string::npos);
    const std::string text = page.substr(at, page.find("\nand run", at) - at);
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_TRUE(scenario_parse(text, &scenario, &errors)) << scenario_errors_text("", errors);
    EXPECT_EQ(scenario.nodes.size(), 3U);
    EXPECT_EQ(scenario.steps.size(), 9U);
}

}  // namespace
}  // namespace lab
