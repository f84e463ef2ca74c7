// Steps that lead from one to another: marks, what holds between them, remembered values, several
// nodes, verbs of one moment, and files that are included.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/step_values.h"

namespace lab {
namespace {

using testing::HasSubstr;
using Files = std::map<std::string, std::string>;

constexpr char MESH[] = "node root root\nnode e1 extender\nnode e2 extender\nnode e3 extender\n";

ScenarioOpen open_of(const Files& files) {
    return [files](const std::string& /*from*/, const std::string& name, ScenarioText* opened,
                   std::string& error) {
        const auto found = files.find(name);
        if (found == files.end()) {
            error = "cannot read " + name;
            return false;
        }
        *opened = {name, name, found->second};
        return true;
    };
}

Scenario parsed(const std::string& text, const Files& files = {}) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_TRUE(scenario_parse(text, &scenario, &errors, open_of(files), "own"))
        << scenario_errors_text("f", errors);
    return scenario;
}

std::string error_of(const std::string& text, const Files& files = {}) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_FALSE(scenario_parse(text, &scenario, &errors, open_of(files), "own")) << text;
    return scenario_errors_text("f", errors);
}

// Of steps behind the mesh of four lines.
std::vector<ScenarioStep> steps_of(const std::string& steps) {
    return parsed(MESH + steps).steps;
}
std::string error_behind(const std::string& steps) {
    return error_of(MESH + steps);
}
std::string printed(const std::string& steps) {
    return steps_print(steps_of(steps));
}

TEST(ScenarioWords, are_read_again_as_they_were_printed) {
    const std::string steps =
        "always e1 parent root\n"
        "never all status ready until quiet\n"
        "after 3 always rule one-uplink clean until quiet\n"
        "mark quiet\n"
        "expect e1 log \"a b\" since quiet within 5\n"
        "expect e1 not-ran reboot since quiet for 60\n"
        "wait-until e1 outages at-most 2 since quiet\n"
        "expect rule no-loop known since quiet\n"
        "remember up e1 parent\n"
        "remember worst e1 outage since quiet\n"
        "after 5 reboot $up\n"
        "expect e2 parent $up within 60\n"
        "expect e1 outage below $worst since quiet\n"
        "never e1 parent $up\n"
        "after 10 power-off e1 and power-off e2 and ap-off root ath20\n"
        "clear-radar root 116\n"
        "cable-between e1 e2\n";
    EXPECT_EQ(printed(steps), steps);
    const Scenario scenario = parsed(MESH + steps);
    EXPECT_EQ(parsed(scenario_print(scenario)), scenario);
}

TEST(ScenarioWords, watches_know_where_they_end) {
    const std::vector<ScenarioStep> steps =
        steps_of("never e1 ready until end\nalways e1 hops 1 until end\nmark end\n");
    EXPECT_EQ(steps[0].until, "end");
    EXPECT_EQ(steps[0].condition.text, "ready");
    EXPECT_EQ(error_behind("never e1 ready until end\n"), "f:5: no step below it is `mark end`\n");
    EXPECT_EQ(error_behind("mark end\nnever e1 ready until end\n"),
              "f:6: the mark `end` stands above: name one that comes later\n");
    EXPECT_EQ(error_behind("always e1 ready within 60\n"),
              "f:5: say `always CONDITION [until MARK]`\n");
}

TEST(ScenarioWords, watches_of_a_line_are_said_the_right_way_round) {
    const std::string told =
        "f:5: a line comes once: say `never NODE log TEXT` or `always NODE no-log TEXT`\n";
    EXPECT_EQ(error_behind("always e1 log x\n"), told);
    EXPECT_EQ(error_behind("never e1 not-ran x\n"), told);
    EXPECT_EQ(steps_of("never e1 log x\nalways e1 not-ran x\n").size(), 2U);
}

TEST(ScenarioWords, since_names_a_mark_above_and_stands_where_something_looks_back) {
    EXPECT_EQ(steps_of("mark a\nexpect e1 log x since a\n")[1].condition.since, "a");
    EXPECT_EQ(steps_of("expect e1 log since\n")[0].condition.text, "since");
    EXPECT_EQ(error_behind("mark quiet\nexpect e1 log x since quit\n"),
              "f:6: `quit` is no mark of a step above (did you mean `quiet`?)\n");
    EXPECT_EQ(
        error_behind("mark a\nexpect e1 status ready since a\n"),
        "f:6: `status` asks for what is now: `since` stands behind log, no-log, ran, not-ran, "
        "outage, outages and rule\n");
    EXPECT_EQ(error_behind("mark a\nmark a\n"), "f:6: there is a mark `a` already\n");
    EXPECT_EQ(error_behind("mark a b\n"), "f:5: say `mark NAME`\n");
}

TEST(ScenarioWords, values_stand_wherever_one_of_their_kind_may) {
    const std::vector<ScenarioStep> steps = steps_of(
        "remember up e1 parent\ncable-in e1 $up\nfade e2 $up -70\n"
        "remember way e1 uplink\ndeauth e1 $way\nsay the parent is $up\n");
    EXPECT_EQ(steps[1].words, (std::vector<std::string>{"cable-in", "e1", "$up"}));
    EXPECT_TRUE(steps[5].words.empty());
    ScenarioStep filled;
    std::string error;
    const Scenario mesh = parsed(std::string(MESH) + "remember up e1 parent\nreboot $up\n");
    ASSERT_TRUE(step_fill(mesh.steps[1], mesh, {{"up", "e3"}}, &filled, error)) << error;
    EXPECT_EQ(step_print(filled), "reboot e3");
    EXPECT_FALSE(step_fill(mesh.steps[1], mesh, {{"up", "none"}}, &filled, error));
    EXPECT_EQ(error, "`none` is no node of this mesh");
}

TEST(ScenarioWords, values_that_fit_nowhere_are_told_before_anything_runs) {
    const std::string up = "remember up e1 parent\n";
    EXPECT_EQ(error_behind(up + "reboot $ip\n"),
              "f:6: `$ip` is no value that a step above remembers (did you mean `$up`?)\n");
    EXPECT_THAT(error_behind(up + "expect e1 hops $up\n"), HasSubstr("is no number from 0 to 255"));
    EXPECT_EQ(error_behind(up + "wait $up\n"),
              "f:6: how long to wait is a number, not a remembered value\n");
    EXPECT_EQ(error_behind("remember up e1 parnt\n"),
              "f:5: `parnt` cannot be remembered (did you mean `parent`?)\n");
    EXPECT_EQ(error_behind("remember up e1 log\n"), "f:5: `log` cannot be remembered\n");
    EXPECT_EQ(error_behind("remember up e9 parent\n"),
              "f:5: `e9` is no node of this mesh (did you mean `e1`?)\n");
    EXPECT_EQ(error_behind("remember node e1 parent\n"),
              "f:5: `$node` is the node of `each`: choose another name\n");
    EXPECT_EQ(error_behind("remember up\n"), "f:5: say `remember NAME NODE CONDITION-NAME`\n");
}

TEST(ScenarioWords, verbs_of_one_moment_are_steps_that_are_joined) {
    const std::vector<ScenarioStep> steps =
        steps_of("after 9 deauth e1 and reboot e2\nreboot e3\n");
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0].after, 9);
    EXPECT_FALSE(steps[0].joined);
    EXPECT_TRUE(steps[1].joined);
    EXPECT_EQ(steps[1].line, 5);
    EXPECT_FALSE(steps[2].joined);
    EXPECT_EQ(error_behind("deauth e1 and wait 5\n"),
              "f:5: only verbs stand behind `and`: they are of one moment\n");
    EXPECT_EQ(error_behind("deauth e1 and\n"), "f:5: say `VERB ... and VERB ...`\n");
    EXPECT_EQ(error_behind("and deauth e1\n"), "f:5: `and` cannot stand here\n");
    EXPECT_THAT(error_behind("node and extender\n"), HasSubstr("cannot be a node's name"));
}

TEST(ScenarioWords, each_is_the_steps_for_one_node_after_the_other) {
    EXPECT_EQ(printed("group leaves e2 e3\n"
                      "each leaves e1: reboot $node then wait-until $node ready then wait 60\n"),
              "reboot e2\nwait-until e2 status ready\nwait 60\n"
              "reboot e3\nwait-until e3 status ready\nwait 60\n"
              "reboot e1\nwait-until e1 status ready\nwait 60\n");
    EXPECT_EQ(printed("each all : deauth $node and ap-off $node\n"),
              "deauth e1 and ap-off e1\ndeauth e2 and ap-off e2\ndeauth e3 and ap-off e3\n");
    EXPECT_EQ(printed("each e1 e1: remember up $node parent then fade $node $up -80\n"),
              "remember up e1 parent\nfade e1 $up -80\n");
}

TEST(ScenarioWords, each_says_what_it_cannot_do) {
    const std::string usage = "f:5: say `each NODE...: STEP [then STEP ...]`\n";
    EXPECT_EQ(error_behind("each e1 deauth $node\n"), usage);
    EXPECT_EQ(error_behind("each e1:\n"), usage);
    EXPECT_EQ(error_behind("each: deauth $node\n"), usage);
    EXPECT_EQ(error_behind("each e9: deauth $node\n"),
              "f:5: `e9` is no node of this mesh (did you mean `e1`?)\n");
    EXPECT_EQ(error_behind("each e1: dauth $node\n"),
              "f:5: `dauth` is no statement or verb (did you mean `deauth`?)\n");
    EXPECT_EQ(error_behind("deauth $node\n"),
              "f:5: `$node` is no value that a step above remembers\n");
    EXPECT_EQ(error_behind("group e1 e2\n"), "f:5: there is a node `e1` already\n");
    EXPECT_EQ(error_behind("group g e1\nnode g extender\n"), "f:6: there is a group `g` already\n");
    EXPECT_EQ(error_behind("group g\n"), "f:5: say `group NAME NODE...`\n");
}

TEST(ScenarioWords, refuse_a_cable_between_an_extender_and_a_root_and_a_channel_that_is_none) {
    EXPECT_EQ(error_behind("cable-between e1 root\n"),
              "f:5: `cable-between` joins two extenders: to a root say `cable-in EXTENDER ROOT`\n");
    EXPECT_EQ(error_behind("cable-between e1\n"), "f:5: say `cable-between NODE PEER`\n");
    EXPECT_EQ(error_behind("cable-between e1 e1\n"), "f:5: `e1` is on both ends\n");
    EXPECT_EQ(error_behind("clear-radar root 197\n"), "f:5: `197` is no channel from 1 to 196\n");
}

TEST(ScenarioInclude, reads_the_file_where_it_stands_and_keeps_its_lines) {
    const Scenario scenario =
        parsed("title own\ninclude mesh\nwait 5\n", {{"mesh", "line 2\nmark formed\n"}});
    EXPECT_EQ(scenario.nodes.size(), 2U);
    ASSERT_EQ(scenario.steps.size(), 2U);
    EXPECT_EQ(step_place(scenario.steps[0], "f"), "mesh:2");
    EXPECT_EQ(step_place(scenario.steps[1], "f"), "f:3");
    EXPECT_EQ(parsed(scenario_print(scenario)), scenario);
}

TEST(ScenarioInclude, tells_mistakes_of_an_included_file_by_its_name) {
    EXPECT_EQ(error_of("include mesh\ndauth e1\n", {{"mesh", "line 2\n\nwait x\n"}}),
              "mesh:3: `x` is no number of seconds from 0 to 1000000\n"
              "f:2: `dauth` is no statement or verb (did you mean `deauth`?)\n");
    EXPECT_EQ(error_of("line 2\ninclude none\n"), "f:2: cannot read none\n");
    EXPECT_EQ(error_of("line 2\ninclude\n"), "f:2: say `include FILE`\n");
}

TEST(ScenarioInclude, tells_a_circle_and_stops_where_it_gets_too_deep) {
    EXPECT_EQ(error_of("line 2\ninclude a\n", {{"a", "include b\n"}, {"b", "\ninclude a\n"}}),
              "b:2: `a` includes itself, by what stands here\n");
    Files files;
    for (int at = 1; at < 12; ++at) {
        files[std::to_string(at)] = "include " + std::to_string(at + 1) + "\n";
    }
    EXPECT_EQ(error_of("line 2\ninclude 1\n", files),
              "8:1: files include each other at most 8 deep\n");
    files["8"] = "mark deep\n";
    EXPECT_EQ(parsed("line 2\ninclude 1\n", files).steps.size(), 1U);
}

TEST(ScenarioInclude, needs_somebody_who_opens_files) {
    Scenario scenario;
    std::vector<ScenarioError> errors;
    EXPECT_FALSE(scenario_parse("line 2\ninclude a\n", &scenario, &errors));
    EXPECT_EQ(scenario_errors_text("f", errors),
              "f:2: only a scenario in a file includes others\n");
}

}  // namespace
}  // namespace lab
