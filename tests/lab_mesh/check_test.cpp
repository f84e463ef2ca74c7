// The program that checks a scenario: its exit code, what it says differed, what it leaves behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "lab/rules/causes.h"
#include "lab/tools/small_file.h"
#include "tests/lab_program/man_page.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char TWO_NODES[] = "node root root\nnode e1 extender\nhears root e1 -55\n";

class Check : public testing::Test {
protected:
    void SetUp() override {
        // Of this test alone: CTest runs several at once.
        folder = std::string(BACKHAUL_BUILD_DIR) + "/check_test." +
                 testing::UnitTest::GetInstance()->current_test_info()->name();
        evidence = folder + "/what it left";
        lab::folder_remove(folder);
        setenv("BACKHAUL_EVIDENCE", evidence.c_str(), 1);
        lab::folder_make(folder);
    }

    void TearDown() override {
        unsetenv("BACKHAUL_EVIDENCE");
        lab::folder_remove(folder);
    }

    std::string scenario(const std::string& steps) {
        const std::string path = folder + "/story.scn";
        lab::file_write(path, TWO_NODES + steps);
        return path;
    }

    std::string folder;
    std::string evidence;  // a folder whose name a shell would take apart
};

TEST_F(Check, ends_with_0_when_everything_was_as_expected) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "expect e1 parent root\n"));
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_TRUE(lab::folder_list(evidence).empty());
}

TEST_F(Check, ends_with_1_and_says_what_differed_and_where_the_evidence_is) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "expect e1 uplink ath1\n"
                                                    "expect e1 hops 1\n"));
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("story.scn:5: expect e1 uplink ath1"),
                                 HasSubstr("e1 uplink is ath0"), Not(HasSubstr("story.scn:6"))));
    const std::size_t at = ended.out.find("evidence: ");
    ASSERT_NE(at, std::string::npos) << ended.out;
    const std::string left = ended.out.substr(at + 10, ended.out.find('\n', at) - at - 10);
    std::string text;
    EXPECT_TRUE(lab::file_read(left + "/e1/var/log/backhaul_flow_log", &text));
    EXPECT_THAT(text, HasSubstr("change ath0 state from 4 to 7"));
    EXPECT_TRUE(lab::file_read(left + "/e1/run/lab/record/lines", &text));
    EXPECT_THAT(text, HasSubstr("hyctl setifbcast br-lan ath0 enable"));
    EXPECT_TRUE(lab::path_exists(left + "/root/tmp/wifi_if_profile"));

    // The one command that it prints runs the same again.
    const std::size_t again = ended.out.find("again: ");
    ASSERT_NE(again, std::string::npos) << ended.out;
    const std::string command =
        ended.out.substr(again + 7, ended.out.find('\n', again) - again - 7);
    const std::size_t words = command.find("check ");
    ASSERT_NE(words, std::string::npos) << command;
    EXPECT_EQ(lab_run(command.substr(words)).code, 1);
}

// The line of the file in which the text comes for the first time behind line `from`, -1: none.
int line_with(const std::vector<std::string>& lines, const std::string& text, int from = 0) {
    for (std::size_t at = static_cast<std::size_t>(from); at < lines.size(); ++at) {
        if (lines[at].find(text) != std::string::npos) {
            return static_cast<int>(at);
        }
    }
    return -1;
}

TEST_F(Check, leaves_what_every_boot_and_every_worker_did_in_one_order) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "reboot e1\n"
                                                    "wait-until e1 status ready within 100\n"
                                                    "kill-worker e1 11\n"
                                                    "wait 5\n"
                                                    "expect e1 hops 7\n"));
    EXPECT_EQ(ended.code, 1);
    const std::string left = evidence + "/story.1";
    std::ifstream file(left + "/e1/journal");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    const std::string start = "  <-- backhaul_monitor start -->";
    const std::string joined = "$ hyctl setifbcast br-lan ath0 enable";
    const int first = line_with(lines, "0:01" + start);
    const int first_joined = line_with(lines, joined, first);
    const int second = line_with(lines, "0:49" + start, first_joined);
    const int second_joined = line_with(lines, joined, second);
    const int crash = line_with(lines, "1:17  abnormal termination : 11", second_joined);
    EXPECT_EQ(first, 0);
    EXPECT_GT(first_joined, first);
    EXPECT_GT(second, first_joined);
    EXPECT_GT(second_joined, second);
    EXPECT_GT(crash, second_joined);
    EXPECT_GT(line_with(lines, "1:18" + start, crash), crash);
    // Only what the run wrote: no programs.
    EXPECT_FALSE(lab::path_exists(left + "/e1/run/lab/bin/lab_tool"));
    EXPECT_FALSE(lab::path_exists(left + "/e1/run/lab/backhaul_monitor"));
}

TEST_F(Check, stops_at_a_wait_that_does_not_come_true) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 uplink eth within 3\n"
                                                    "expect e1 hops 7\n"));
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("story.scn:4: wait-until e1 uplink eth within 3"),
                                 Not(HasSubstr("story.scn:5"))));
}

TEST_F(Check, tells_when_what_must_never_be_was_for_the_first_time) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "never e1 status not-ready until end\n"
                                                    "always e1 parent root until end\n"
                                                    "always e1 hops 1 until moved\n"
                                                    "wait 30\n"
                                                    "mark moved\n"
                                                    "deauth e1\n"
                                                    "wait-until e1 status ready within 60\n"
                                                    "mark end\n"));
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("story.scn:5: never e1 status not-ready until end\n"
                                           "    at 0:59: e1 status is not-ready\n"),
                                 HasSubstr("story.scn:6: always e1 parent root until end\n"
                                           "    at 0:59: e1 parent is none\n"),
                                 Not(HasSubstr("story.scn:7"))));
}

TEST_F(Check, looks_back_to_a_mark_and_not_beyond_it) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "deauth e1\n"
                                                    "wait-until e1 status ready within 60\n"
                                                    "mark quiet\n"
                                                    "never e1 log DISASSOC\n"
                                                    "wait 60\n"
                                                    "expect e1 outages at-most 0 since quiet\n"
                                                    "expect e1 no-log \"state from 4 to 7\" since "
                                                    "quiet\n"
                                                    "fade e1 root -60\n"
                                                    "wait 5\n"
                                                    "expect e1 outages at-most 0\n"));
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, AllOf(HasSubstr("story.scn:14: expect e1 outages at-most 0\n"),
                                 Not(HasSubstr("story.scn:1:")), Not(HasSubstr("since quiet"))));
}

TEST_F(Check, ends_at_a_verb_for_which_nothing_was_remembered) {
    const Ended ended = lab_run("check " + scenario("wait-until e1 status ready within 100\n"
                                                    "remember up e1 parent\n"
                                                    "power-off $up\n"
                                                    "expect e1 parent $up within 5\n"
                                                    "remember up e1 parent\n"
                                                    "reboot $up\n"
                                                    "expect e1 hops 7\n"));
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out,
                AllOf(HasSubstr("story.scn:7: expect e1 parent $up within 5\n"),
                      HasSubstr("e1 parent is none (expect e1 parent root within 5)"),
                      HasSubstr("story.scn:9: reboot $up\n"),
                      HasSubstr("`none` is no node of this mesh"), Not(HasSubstr("story.scn:10"))));
}

TEST_F(Check, counts_an_island_that_lasts_longer_than_it_was_told) {
    const Ended ended = lab_run("check --json --island 90 " +
                                scenario("node e2 extender\nhears root e2 -55\n"
                                         "wait-until all status ready within 100\n"
                                         "cable-between e1 e2\n"
                                         "wait-until all state eth ETH_BACKHAUL_READY within 60\n"
                                         "wait 150\ncable-out e1\n"
                                         "wait-until all parent root within 300\n"));
    const lab::Json json = lab::Json::parse(ended.out);
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_EQ(json["islands"]["count"], 1);
    EXPECT_GT(json["islands"]["longest"], 140);
    EXPECT_EQ(json["islands"]["longest"], json["islands"]["seconds"]);
    EXPECT_EQ(json["causes"][0]["name"], "cable-between") << json["causes"];
}

TEST_F(Check, ends_with_2_when_the_scenario_cannot_be_read) {
    const Ended ended = lab_run("check " + scenario("dauth e1\n"));
    EXPECT_EQ(ended.code, 2);
    EXPECT_THAT(ended.out, HasSubstr("did you mean `deauth`?"));
    EXPECT_EQ(lab_run("check " + folder + "/missing.scn").code, 2);
}

std::string table_of(const std::string& out) {
    return out.substr(std::min(out.find("NODE "), out.size()));
}

TEST_F(Check, takes_the_same_course_every_time) {
    const std::string words = "check " + scenario(
                                             "wait-until e1 status ready within 100\n"
                                             "deauth e1\nkill-worker e1\nwait 1\n"
                                             "wait-until e1 status ready within 300\n");
    const Ended one = lab_run(words);
    const Ended other = lab_run(words);
    EXPECT_EQ(one.code, 0) << one.out;
    EXPECT_EQ(table_of(one.out), table_of(other.out));
    EXPECT_THAT(one.out, HasSubstr("e1"));
}

// The third loss of an only station is known to break a rule.
TEST_F(Check, tells_remarks_and_the_budgets_of_causes_as_json) {
    const std::string loss = "wait 60\ndeauth e1\nwait-until e1 status ready within 60\n";
    const Ended ended =
        lab_run("check --json " + scenario("without e1 ath1 ath3\nap-on root\n"
                                           "wait-until e1 status ready within 100\n" +
                                           loss + loss + loss));
    ASSERT_EQ(ended.code, 0) << ended.out;
    const lab::Json json = lab::Json::parse(ended.out);
    EXPECT_EQ(json["remarks"], lab::Json::parse(R"([{"line":5,"text":"ap-on root changed nothing: )"
                                                R"(all backhaul APs of root: not silenced"}])"));
    ASSERT_EQ(json["causes"].size(), 1U) << ended.out;
    const lab::Json& cause = json["causes"][0];
    EXPECT_EQ(cause["name"], "no-idle-backup");
    EXPECT_EQ(cause["times"], 1);
    EXPECT_EQ(cause["most_an_hour"], 1);
    EXPECT_EQ(cause["allowed_an_hour"], lab::cause_row(lab::Cause::no_idle_backup).budget);
    const std::string page = harness::man_page_json();
    ASSERT_NE(page, "");
    harness::fields_expect(json, page);
}

TEST_F(Check, holds_an_hour_of_random_trouble_against_the_rules) {
    // In the mesh of a scenario, whose own steps do not matter.
    const Ended ended = lab_run("chaos " + scenario("expect e1 hops 7\n") +
                                " --hours 1 --seed 3 --logs " + folder + "/logs");
    EXPECT_EQ(ended.code, 0) << ended.out;
    EXPECT_THAT(ended.out, AllOf(HasSubstr("2 nodes, 1 hours, seed 3"), HasSubstr("worst outage")));
    for (const char* const name : {"root", "e1"}) {
        std::string log;
        lab::file_read(folder + "/logs/" + name + "/backhaul_flow_log", &log);
        EXPECT_THAT(log, HasSubstr(" : <-- backhaul_monitor start -->\n")) << name;
    }
}

}  // namespace
