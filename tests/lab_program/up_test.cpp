// The program from outside: a mesh in the background, and everything that can be asked of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "lab/tools/small_file.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr char PROGRAM[] = BACKHAUL_BUILD_DIR "/lab/backhaul_lab";

struct Ended {
    int code = -1;
    std::string out;  // with the error output
};

// In no sandbox: the program makes its own, and its socket lies below the build. Every process of
// tests has a mesh of its own.
class Up : public testing::Test {
protected:
    static void SetUpTestSuite() {
        lab::folder_remove(place());
        lab::folder_make(place());
        setenv("XDG_RUNTIME_DIR", place().c_str(), 1);
        const Ended up = run("up line 2");
        EXPECT_EQ(up.code, 0) << up.out;
        EXPECT_THAT(up.out, HasSubstr("the mesh is up"));
        const Ended ready = run("do wait-until e1 status ready within 100");
        EXPECT_EQ(ready.code, 0) << ready.out;
    }
    static void TearDownTestSuite() {
        const Ended down = run("down");
        EXPECT_EQ(down.code, 0) << down.out;
        EXPECT_FALSE(lab::path_exists(place() + "/backhaul_lab/control"));
        EXPECT_THAT(run("status").out, StartsWith("backhaul_lab: no mesh is up"));
        unsetenv("XDG_RUNTIME_DIR");
        lab::folder_remove(place());
    }

    static std::string place() {
        return std::string(BACKHAUL_BUILD_DIR) + "/up_test." + std::to_string(getpid());
    }

    static Ended run(const std::string& words) {
        Ended ended;
        FILE* const out = popen((std::string(PROGRAM) + " " + words + " 2>&1").c_str(), "r");
        for (int one = getc(out); one != EOF; one = getc(out)) {
            ended.out.push_back(static_cast<char>(one));
        }
        const int status = pclose(out);
        ended.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return ended;
    }
};

TEST_F(Up, shows_every_node_of_the_mesh) {
    const Ended ended = run("status");
    EXPECT_EQ(ended.code, 0);
    EXPECT_THAT(ended.out, HasSubstr("2 nodes, 1 ready"));
    EXPECT_THAT(ended.out, HasSubstr("e1    extender  ready "));
    EXPECT_THAT(ended.out, HasSubstr("ath0 > root     1  ath0 BACKHAUL_READY"));
    const Ended json = run("status e1 --json");
    EXPECT_THAT(json.out, HasSubstr(R"("nodes":[{"name":"e1","power":"on","role":"extender")"));
    EXPECT_EQ(run("status e7").out, "backhaul_lab: `e7` is no node (did you mean `e1`?)\n");
}

TEST_F(Up, does_a_verb_and_waits_for_what_follows) {
    EXPECT_EQ(run("do deauth e1").code, 0);
    const Ended lost = run("do expect e1 status ready");
    EXPECT_EQ(lost.code, 1);
    EXPECT_EQ(lost.out, "backhaul_lab: e1 status is not-ready\n");
    const Ended back = run("do expect e1 status ready within 60");
    EXPECT_EQ(back.code, 0) << back.out;
    EXPECT_EQ(run("do dauth e1").code, 2);
}

TEST_F(Up, refuses_a_second_mesh_at_the_same_place) {
    const Ended ended = run("up line 2");
    EXPECT_EQ(ended.code, 1);
    EXPECT_THAT(ended.out, HasSubstr("a mesh is already up at"));
}

TEST_F(Up, shows_the_flow_log_with_the_dates_of_the_mesh) {
    const Ended ended = run("log e1");
    EXPECT_EQ(ended.code, 0);
    // A mesh begins with its daemons; only a reboot takes its time.
    EXPECT_THAT(ended.out,
                StartsWith("Tue Nov 14 22:13:21 2023 : <-- backhaul_monitor start -->\n"));
    EXPECT_THAT(ended.out,
                HasSubstr(" : backhaul_intf_state_change : change ath0 state from 4 to 7\n"));
    const Ended last = run("log e1 --lines 2");
    EXPECT_EQ(std::count(last.out.begin(), last.out.end(), '\n'), 2) << last.out;
    EXPECT_EQ(last.out, ended.out.substr(ended.out.size() - last.out.size()));
}

TEST_F(Up, runs_a_command_among_the_files_and_tools_of_a_node) {
    const Ended ended =
        run("shell e1 -c 'cat /tmp/backhaul_status; ip -br addr show br-lan; "
            "uci get wireless.ath0.ssid; exit 7'");
    EXPECT_EQ(ended.code, 7);
    EXPECT_THAT(ended.out, HasSubstr("ready\n"));
    EXPECT_THAT(ended.out, HasSubstr("192.168.1.2/24"));
    EXPECT_THAT(ended.out, HasSubstr("lab-backhaul\n"));
}

TEST_F(Up, stands_still_in_a_pause_and_goes_on_for_a_step) {
    const auto seconds = [] {
        const std::string out = run("status --json").out;
        const std::size_t at = out.find("\"seconds\":");
        return at == std::string::npos ? -1 : atoi(out.c_str() + at + 10);
    };
    EXPECT_EQ(run("speed pause").code, 0);
    const int before = seconds();
    EXPECT_EQ(run("do wait 30").code, 0);
    EXPECT_EQ(seconds(), before + 30);
    // A tool that asks the air is answered, though no time passes for it.
    EXPECT_THAT(run("shell e1 -c 'timeout 60 iwpriv ath0 get_whc_dist'").out,
                HasSubstr("get_whc_dist:1"));
    EXPECT_EQ(seconds(), before + 30);
    EXPECT_EQ(run("speed resume").code, 0);
}

}  // namespace
