// What is odd about a scenario though it can be played.
#include "lab/scenario/scenario_remarks.h"

#include <gtest/gtest.h>

#include "lab/scenario/scenario_parse.h"

namespace lab {
namespace {

std::vector<std::string> remarks_of(const std::string& text) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_TRUE(scenario_parse(text, &scenario, &errors)) << scenario_errors_text("", errors);
    std::vector<std::string> texts;
    for (const Remark& remark : scenario_remarks(scenario)) {
        EXPECT_EQ(remark.line, 0);
        texts.push_back(remark.text);
    }
    return texts;
}

TEST(ScenarioRemarks, has_none_about_one_root_and_an_expectation) {
    EXPECT_TRUE(remarks_of("line 2\nexpect e1 status not-ready\n").empty());
    EXPECT_TRUE(remarks_of("line 2\nwait-until e1 status ready\n").empty());
}

TEST(ScenarioRemarks, names_a_mesh_without_a_root) {
    EXPECT_EQ(
        remarks_of("node e1 extender\nexpect e1 uplink none\n"),
        std::vector<std::string>{"the mesh has no root: no node can become ready over the air"});
}

TEST(ScenarioRemarks, names_all_roots_where_there_are_several) {
    EXPECT_EQ(remarks_of("node old root\nnode new root\nexpect old role root\n"),
              std::vector<std::string>{"the mesh has 2 roots: old, new"});
}

TEST(ScenarioRemarks, names_steps_that_expect_nothing) {
    const std::vector<std::string> nothing = {
        "no step expects anything: only the rules are held against it"};
    EXPECT_EQ(remarks_of("line 2\n"), nothing);
    EXPECT_EQ(remarks_of("line 2\nsay hello\ndeauth e1\nwait 60\n"), nothing);
}

TEST(ScenarioRemarks, are_told_with_the_file_and_with_the_line_where_there_is_one) {
    EXPECT_EQ(remarks_text("a.scn", {{0, "odd"}, {12, "even"}}), "a.scn: odd\na.scn:12: even\n");
}

}  // namespace
}  // namespace lab
