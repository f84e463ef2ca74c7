// The narrator from outside: what it tells of a scenario, and its exit code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr char TWO_NODES[] = "title a pair\nnode root root\nnode e1 extender\nhears root e1 -55\n";

struct Told {
    int code = -1;
    std::string text;
};

class Narrated : public testing::Test {
protected:
    void SetUp() override {
        std::string name = std::string(BACKHAUL_BUILD_DIR) + "/told.XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override {
        std::filesystem::remove_all(folder);
    }

    Told tell(const std::string& steps) const {
        Told told;
        std::ofstream(folder + "/story.scn") << TWO_NODES << steps;
        const std::string command = "BACKHAUL_EVIDENCE=" + folder + "/evidence " +
                                    BACKHAUL_BUILD_DIR + "/lab/backhaul_lab_demo --logs " + folder +
                                    "/logs " + folder + "/story.scn 2>&1";
        FILE* const out = popen(command.c_str(), "r");
        if (out == nullptr) {
            return told;
        }
        std::array<char, 4096> piece{};
        while (fgets(piece.data(), piece.size(), out) != nullptr) {
            told.text += piece.data();
        }
        const int status = pclose(out);
        told.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        return told;
    }

    std::string folder;
};

TEST_F(Narrated, tells_chapters_steps_and_what_was_seen) {
    const Told told = tell(
        "chapter The life of e1\n"
        "say it boots\n"
        "wait-until e1 status ready within 60\n"
        "expect e1 file /tmp/backhaul_status ready\n"
        "expect e1 no-file /tmp/backhaul_status \"not ready\"\n"
        "expect e1 no-file /tmp/nothing x\n"
        "expect e1 no-log STA_CONNECTION_DOWN for 5\n"
        "deauth e1\n"
        "expect e1 log STA_CONNECTION_DOWN\n"
        "expect e1 ran reconnect\n");
    EXPECT_EQ(told.code, 0) << told.text;
    EXPECT_THAT(
        told.text,
        AllOf(HasSubstr("\nThe life of e1\n    0:00  it boots\n    0:01  root  starts\n"),
              HasSubstr("    0:29        seen      e1 status is ready\n"
                        "    0:29        seen      e1 /tmp/backhaul_status holds \"ready\"\n"
                        "    0:29        seen      e1 /tmp/backhaul_status holds \"ready\"\n"
                        "    0:29        seen      e1 has no /tmp/nothing\n"
                        "    0:34        seen      e1 logged no \"STA_CONNECTION_DOWN\", for 5 "
                        "seconds\n"
                        "    0:34  e1    deauth e1\n"),
              HasSubstr("    0:34        seen      e1 logged \"STA_CONNECTION_DOWN\"\n"
                        "    0:34        seen      e1 ran `wpa_cli -i ath0 -p "
                        "/var/run/wpa_supplicant-ath0 reconnect`\n"),
              HasSubstr("\nThe mesh at the end\n"), HasSubstr("\nOutages\n"),
              HasSubstr("\nevery step was seen: 1 steps, 7 pieces of evidence\n")));
}

TEST_F(Narrated, leaves_the_log_of_each_node) {
    const Told told = tell("wait-until e1 status ready within 60\n");
    EXPECT_EQ(told.code, 0) << told.text;
    for (const char* const node : {"root", "e1"}) {
        std::ifstream log(folder + "/logs/" + node + "/backhaul_flow_log");
        std::string line;
        std::getline(log, line);
        EXPECT_EQ(line, "Tue Nov 14 22:13:21 2023 : <-- backhaul_monitor start -->") << node;
    }
}

TEST_F(Narrated, ends_at_the_first_thing_that_is_not_seen) {
    const Told told = tell(
        "wait-until e1 status ready within 60\n"
        "deauth e1\n"
        "expect e1 no-log \"change ath0 state from 3 to 4\" for 60\n"
        "wait 1\n"
        "expect e1 role extender\n");
    EXPECT_EQ(told.code, 1);
    EXPECT_THAT(
        told.text,
        AllOf(HasSubstr("    0:31        NOT SEEN  expect e1 no-log \"change ath0 state from "
                        "3 to 4\" for 60\n"
                        "    0:31                  e1 logged \"backhaul_intf_state_change : "
                        "change ath0 state from 3 to 4\"\n"),
              HasSubstr("NOT everything was seen"),
              HasSubstr("evidence: " + folder + "/evidence/demonstration.1"),
              Not(HasSubstr("e1 role"))));
}

TEST_F(Narrated, tells_why_a_scenario_cannot_be_told) {
    const Told told = tell("dauth e1\n");
    EXPECT_EQ(told.code, 2);
    EXPECT_EQ(told.text, folder +
                             "/story.scn:5: `dauth` is no statement or verb (did you mean "
                             "`deauth`?)\n");
}

}  // namespace
