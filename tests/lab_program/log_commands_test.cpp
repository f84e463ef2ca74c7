// Flow logs from outside: run again, and shrunk to what matters; as JSON that the man page tells.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "lab/tools/small_file.h"
#include "tests/lab_program/man_page.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using lab::Json;
using testing::HasSubstr;

constexpr char SCENARIO[] =
    "node root root\nnode e1 extender\nnode e2 extender\nhears root e1 -55\nhears root e2 -60\n"
    "wait-until all status ready within 120\nreboot e1\nwait 5\n"
    "wait-until all status ready within 120\ndeauth e1 ath0\nwait 60\n";
constexpr char LOSS[] = "backhaul_disconnected(ath0) : sta_intf->disconnect_count 1";
constexpr char OTHER_LOSS[] = "backhaul_disconnected(ath0) : sta_intf->disconnect_count 7";

// The one object among what a command said.
Json json_of(const Ended& ended) {
    std::istringstream lines(ended.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('{')) {
            return Json::parse(line, nullptr, false);
        }
    }
    return {};
}

class LogCommands : public testing::Test {
protected:
    static void SetUpTestSuite() {
        // Each test is a program of its own, and they may run at once.
        folder = BACKHAUL_BUILD_DIR "/log_commands_test." + std::to_string(getpid());
        lab::file_write(folder + "/played.scn", SCENARIO);
        const Ended ended = lab_run("check " + folder + "/played.scn --logs " + folder + "/logs");
        ASSERT_EQ(ended.code, 0) << ended.out;
        ASSERT_TRUE(lab::file_read(folder + "/logs/e1/backhaul_flow_log", &log));
        // A daemon that counted otherwise wrote this one.
        changed = log;
        const std::size_t at = changed.find(LOSS);
        ASSERT_NE(at, std::string::npos) << log;
        changed.replace(at, sizeof(LOSS) - 1, OTHER_LOSS);
        line = static_cast<std::size_t>(
                   std::count(log.begin(), log.begin() + static_cast<long>(at), '\n')) +
               1;
        lab::file_write(folder + "/changed.log", changed);
    }
    static void TearDownTestSuite() {
        lab::folder_remove(folder);
    }

    // What a command tells as JSON, each field of which the man page has; null when it complains.
    Json told_by(const std::string& words, int code) const {
        const Ended ended = lab_run(words);
        EXPECT_EQ(ended.code, code) << ended.out;
        Json told = json_of(ended);
        EXPECT_FALSE(told.is_null() || told.contains("good")) << ended.out;
        harness::fields_expect(told, page);
        return told.contains("good") ? Json() : told;
    }

    static inline std::string folder;
    static inline std::string log;
    static inline std::string changed;
    static inline std::size_t line = 0;
    const std::string page = harness::man_page_json();
};

TEST_F(LogCommands, replay_tells_that_every_node_did_the_same) {
    const Json told = told_by("replay " + folder + "/logs --json", 0);
    ASSERT_FALSE(told.is_null());
    EXPECT_EQ(told["same"], true);
    ASSERT_EQ(told["nodes"].size(), 3U);
    for (const Json& node : told["nodes"]) {
        EXPECT_EQ(node["matched"], node["lines"]);
        EXPECT_TRUE(node["difference"].is_null());
        EXPECT_FALSE(node["unknown"].empty());
    }
    EXPECT_EQ(told["nodes"][0]["node"], "e1");
    EXPECT_EQ(told["nodes"][0]["lines"], std::ranges::count(log, '\n'));
}

TEST_F(LogCommands, replay_tells_both_texts_of_the_first_difference) {
    const Json told = told_by("replay e1=" + folder + "/changed.log --json", 1);
    ASSERT_FALSE(told.is_null());
    EXPECT_EQ(told["same"], false);
    const Json& difference = told["nodes"][0]["difference"];
    EXPECT_EQ(difference["line"], line);
    EXPECT_EQ(difference["log"], OTHER_LOSS);
    EXPECT_EQ(difference["daemon"], LOSS);
    EXPECT_TRUE(difference["lacks"].is_null());
}

TEST_F(LogCommands, shrink_cuts_a_log_to_the_life_that_differs) {
    const std::string file = folder + "/short.log";
    const Json told =
        told_by("shrink replay e1=" + folder + "/changed.log --json --output " + file, 0);
    ASSERT_FALSE(told.is_null());
    EXPECT_EQ(told["tries"], 2);
    EXPECT_EQ(told["first_lines"], std::ranges::count(log, '\n'));
    std::string text;
    ASSERT_TRUE(lab::file_read(file, &text));
    EXPECT_EQ(told["log"], text);
    // From the boot on, and not past the second of the difference.
    EXPECT_EQ(text.find("monitor start"), text.rfind("monitor start"));
    EXPECT_THAT(changed, HasSubstr(text));
    EXPECT_THAT(text, HasSubstr(OTHER_LOSS));
    EXPECT_LT(told["replay"]["seconds"], told["first_seconds"]);
    EXPECT_FALSE(changed.ends_with(text)) << "what came later is cut";
    const Ended again = lab_run("replay e1=" + file);
    EXPECT_EQ(again.code, 1);
    EXPECT_THAT(again.out, HasSubstr(std::string("log:    ") + OTHER_LOSS));
}

TEST_F(LogCommands, shrink_makes_a_mesh_of_logs_and_keeps_what_a_line_needs) {
    const Json told = told_by(
        "shrink replay " + folder + "/logs --node e1 --seen '" + std::string(LOSS) + "' --json", 0);
    ASSERT_FALSE(told.is_null());
    EXPECT_EQ(told["confirmed"], true);
    EXPECT_EQ(told["first_nodes"], 3);
    EXPECT_GE(told["first_verbs"], 2);
    EXPECT_EQ(told["nodes"], 2);
    EXPECT_EQ(told["verbs"], 1);
    EXPECT_THAT(std::string(told["scenario"]), HasSubstr("deauth e1 ath0\n"));
}

TEST_F(LogCommands, shrink_says_when_there_is_nothing_to_keep) {
    const Ended ended = lab_run("shrink replay " + folder + "/logs --node e2");
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, HasSubstr("every log is the same when it is run again"));
    EXPECT_EQ(lab_run("shrink replay").code, 2);
}

}  // namespace
