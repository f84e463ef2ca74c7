// The program from outside: a mesh in the background, and everything that can be asked of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "lab/sandbox/limits.h"
#include "lab/tools/small_file.h"
#include "tests/lab_program/program_run.h"

namespace {

using harness::Ended;
using harness::lab_run;
using testing::HasSubstr;
using testing::StartsWith;

// Every process of tests has a mesh of its own, whose socket lies below the build.
class Up : public testing::Test {
protected:
    static void SetUpTestSuite() {
        lab::folder_remove(place());
        lab::folder_make(place());
        setenv("XDG_RUNTIME_DIR", place().c_str(), 1);
        const Ended up = lab_run("up line 2");
        EXPECT_EQ(up.code, 0) << up.out;
        EXPECT_THAT(up.out, HasSubstr("the mesh is up; no node is ready yet"));
        EXPECT_THAT(up.out, HasSubstr("`" BACKHAUL_BUILD_DIR "/lab/backhaul_lab down`"));
        const Ended ready = lab_run("do wait-until e1 status ready within 100");
        EXPECT_EQ(ready.code, 0) << ready.out;
    }
    static void TearDownTestSuite() {
        const Ended down = lab_run("down");
        EXPECT_EQ(down.code, 0) << down.out;
        EXPECT_FALSE(lab::path_exists(place() + "/backhaul_lab/control"));
        EXPECT_THAT(lab_run("status").out, StartsWith("backhaul_lab: no mesh is up"));
        unsetenv("XDG_RUNTIME_DIR");
        lab::folder_remove(place());
    }

    static std::string place() {
        return std::string(BACKHAUL_BUILD_DIR) + "/up_test." + std::to_string(getpid());
    }
};

TEST_F(Up, shows_every_node_of_the_mesh) {
    const Ended ended = lab_run("status");
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, HasSubstr("2 nodes, 1 ready"));
    EXPECT_THAT(ended.out, HasSubstr("e1    extender  ready "));
    EXPECT_THAT(ended.out, HasSubstr("ath0 > root     1  ath0 BACKHAUL_READY"));
    const Ended json = lab_run("status e1 --json");
    EXPECT_THAT(json.out, HasSubstr(R"("nodes":[{"name":"e1","power":"on","role":"extender")"));
    const Ended unknown = lab_run("status e7");
    EXPECT_EQ(unknown.code, 2);
    EXPECT_EQ(unknown.out, "backhaul_lab: `e7` is no node of this mesh (did you mean `e1`?)\n");
    EXPECT_EQ(lab_run("do deauth e7").code, unknown.code);
    EXPECT_EQ(lab_run("log e7").code, unknown.code);
}

TEST_F(Up, does_a_verb_and_waits_for_what_follows) {
    EXPECT_EQ(lab_run("do deauth e1").code, 0);
    const Ended lost = lab_run("do expect e1 status ready");
    EXPECT_EQ(lost.code, 1);
    EXPECT_EQ(lost.out, "backhaul_lab: e1 status is not-ready\n");
    const Ended back = lab_run("do expect e1 status ready within 60");
    EXPECT_EQ(back.code, 0) << back.out;
    EXPECT_EQ(lab_run("do dauth e1").code, 2);
}

TEST_F(Up, answers_in_json) {
    EXPECT_EQ(lab_run("do deauth e1 --json").out, "{\"version\":1,\"good\":true,\"text\":\"\"}\n");
    const Ended bad = lab_run("do dauth e1 --json");
    EXPECT_NE(bad.code, 0);
    EXPECT_THAT(bad.out, HasSubstr(R"({"version":1,"good":false,"text":"`dauth` is no)"));
    EXPECT_THAT(lab_run("log e1 --json").out,
                HasSubstr(R"({"version":1,"time":1700000001,"seconds":1,)"
                          R"("text":"<-- backhaul_monitor start -->"})"));
}

TEST_F(Up, tells_errors_in_json_where_json_was_asked_for) {
    for (const char* words :
         {"status e7 --json", "log e7 --json", "do deauth e7 --json", "speed 0 --json",
          "up line 2 --json", "check nowhere.scn --json", "status --jsn --json",
          "chaos --nodes 1 --json", "status --json --socket /nowhere/control"}) {
        const Ended ended = lab_run(words);
        EXPECT_NE(ended.code, 0) << words;
        EXPECT_THAT(ended.out, StartsWith(R"({"version":1,"good":false,"text":")")) << words;
        EXPECT_EQ(std::count(ended.out.begin(), ended.out.end(), '\n'), 1) << ended.out;
    }
}

TEST_F(Up, tells_speed_events_and_outages_in_json) {
    EXPECT_EQ(lab_run("do wait-until e1 status ready within 100").code, 0);
    EXPECT_EQ(lab_run("speed 700").code, 0);
    // Not by a loss: the third one, with those of the other tests, would park the station.
    EXPECT_EQ(lab_run("do reboot e1").code, 0);
    EXPECT_EQ(lab_run("do wait 5").code, 0);
    EXPECT_EQ(lab_run("do wait-until e1 status ready within 200").code, 0);
    const std::string out = lab_run("status e1 --json").out;
    EXPECT_THAT(out, HasSubstr(R"("speed":"700")"));
    EXPECT_THAT(out, HasSubstr(R"("kind":"verb",)"));
    EXPECT_THAT(out, HasSubstr(R"("outage_list":[{"from":)"));
    EXPECT_EQ(lab_run("speed auto").code, 0);
    EXPECT_EQ(lab_run("speed 0").code, 2);
    EXPECT_THAT(lab_run("status --json").out, HasSubstr(R"("speed":"auto")"));
}

TEST_F(Up, refuses_a_second_mesh_at_the_same_place) {
    const Ended ended = lab_run("up line 2");
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, HasSubstr("a mesh is already up at"));
}

TEST_F(Up, asks_for_the_numbers_of_a_shape) {
    EXPECT_EQ(lab_run("up star").out, "backhaul_lab: say `star NODES`\n");
    EXPECT_EQ(lab_run("chaos line 251").out,
              "backhaul_lab: `251` is no number of nodes from 1 to 250\n");
    EXPECT_THAT(lab_run("check stars.scn").out, HasSubstr("No such file"));
}

TEST_F(Up, tells_what_is_odd_about_a_scenario) {
    const std::string folder = place() + "/odd";
    lab::folder_make(folder);
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    const std::string there = " --socket " + folder + "/control";
    lab::file_write(folder + "/rootless.scn", "node e1 extender\nwait 1\n");
    lab::file_write(folder + "/still.scn", "node old root\nnode new root\n");
    const Ended text = lab_run("up " + folder + "/rootless.scn" + there);
    EXPECT_THAT(text.out, StartsWith(folder + "/rootless.scn: the mesh has no root: "));
    EXPECT_THAT(text.out, HasSubstr("/rootless.scn: no step expects anything: "));
    EXPECT_EQ(lab_run("down" + there).code, 0);
    const Ended json = lab_run("up --json " + folder + "/still.scn" + there);
    EXPECT_THAT(json.out,
                HasSubstr(R"("ready":0,"web":"","remarks":[{"line":0,"text":"the mesh has )"
                          R"(2 roots: old, new"}]})"));
    EXPECT_EQ(lab_run("down" + there).code, 0);
}

TEST_F(Up, answers_for_as_many_nodes_as_a_mesh_may_have) {
    // The kernel takes half a minute to take so many networks down, and whoever asks it for an
    // interface meanwhile waits: no test could run beside it.
    if (getenv("BACKHAUL_MANY") == nullptr) {
        GTEST_SKIP() << "needs the machine for itself: set BACKHAUL_MANY";
    }
    const std::string folder = place() + "/many";
    lab::folder_make(folder);
    ASSERT_EQ(chmod(folder.c_str(), 0700), 0);
    const std::string there = " --socket " + folder + "/control";
    const std::string most = std::to_string(lab::MOST_NODES);
    const Ended up = lab_run("up star " + most + there);
    ASSERT_EQ(up.code, 0) << up.out;
    EXPECT_EQ(lab_run("do wait 2" + there).code, 0);
    EXPECT_THAT(lab_run("status" + there).out, HasSubstr(most + " nodes, "));
    EXPECT_EQ(lab_run("status --json e" + std::to_string(lab::MOST_NODES - 1) + there).code, 0);
    EXPECT_EQ(lab_run("down" + there).code, 0);
}

TEST_F(Up, shows_the_flow_log_with_the_dates_of_the_mesh) {
    const Ended ended = lab_run("log e1");
    EXPECT_EQ(ended.code, 0);
    // A mesh begins with its daemons; only a reboot takes its time.
    EXPECT_THAT(ended.out,
                StartsWith("Tue Nov 14 22:13:21 2023 : <-- backhaul_monitor start -->\n"));
    EXPECT_THAT(ended.out,
                HasSubstr(" : backhaul_intf_state_change : change ath0 state from 4 to 7\n"));
    const Ended last = lab_run("log e1 --lines 2");
    EXPECT_EQ(std::count(last.out.begin(), last.out.end(), '\n'), 2) << last.out;
    EXPECT_EQ(last.out, ended.out.substr(ended.out.size() - last.out.size()));
}

TEST_F(Up, runs_a_command_among_the_files_and_tools_of_a_node) {
    const Ended ended = lab_run(
        "shell e1 -c 'cat /tmp/backhaul_status; ip -br addr show br-lan; "
        "uci get wireless.ath0.ssid; exit 7'");
    EXPECT_EQ(ended.code, 7);
    EXPECT_THAT(ended.out, HasSubstr("ready\n"));
    EXPECT_THAT(ended.out, HasSubstr("192.168.1.2/24"));
    EXPECT_THAT(ended.out, HasSubstr("lab-backhaul\n"));
}

TEST_F(Up, stands_still_in_a_pause_and_goes_on_for_a_step) {
    const auto seconds = [] {
        const std::string out = lab_run("status --json").out;
        const std::size_t at = out.find("\"seconds\":");
        return at == std::string::npos ? -1 : atoi(out.c_str() + at + 10);
    };
    EXPECT_EQ(lab_run("speed pause").code, 0);
    const int before = seconds();
    EXPECT_EQ(lab_run("do wait 30").code, 0);
    EXPECT_EQ(seconds(), before + 30);
    // A tool that asks the air is answered, though no time passes for it.
    EXPECT_THAT(lab_run("shell e1 -c 'timeout 60 iwpriv ath0 get_whc_dist'").out,
                HasSubstr("get_whc_dist:1"));
    EXPECT_EQ(seconds(), before + 30);
    EXPECT_EQ(lab_run("speed resume").code, 0);
}

}  // namespace
