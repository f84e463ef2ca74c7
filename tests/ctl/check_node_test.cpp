// What `check` asks of the tools of the node that it runs on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ctl/check.h"
#include "ctl/options.h"
#include "ctl/tool_answer.h"
#include "ctl/tool_ask.h"
#include "lab/sandbox/layout.h"
#include "lab/tools/answer.h"
#include "lab/tools/state_layout.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;
using harness::put_file;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Gaps final : public gap_teller {
public:
    void gap(gap_kind kind, const char* id, const char* what, const char*, const char*) override {
        told.push_back(std::string(kind == gap_kind::stops ? "STOP " : "weak ") + id + ": " + what);
    }
    std::vector<std::string> told;
};

// Where PATH finds it.
std::string tool(const std::string& name) {
    return std::string(lab::LAB_TOOL)
        .replace(std::string_view(lab::LAB_TOOL).rfind('/') + 1, std::string::npos, name);
}

class CheckNode : public harness::SandboxTest {
protected:
    void SetUp() override {
        SandboxTest::SetUp();
        interface("ath0", BACKHAUL_STA);
        interface("ath20", BACKHAUL_AP);
        interface("ath10", MAIN_SERVICE_AP);
        lab::wifi_associated_set("", "ath0", "02:00:00:00:01:01");
    }

    void interface(const std::string& name, intf_type type) {
        check_line& line = image->lines[image->line_count++];
        std::ranges::copy(name, line.name.begin());
        line.type = type;
        uci_line_read("config wifi-iface '" + name + "'", image->wireless);
        uci_line_read("\toption disabled '0'", image->wireless);
        lab::uci_store_set("", "wireless." + name + ".disabled", "0");
    }

    std::vector<std::string> gaps() {
        Gaps teller;
        check_answers(*image, teller);
        return teller.told;
    }

    std::unique_ptr<check_image> image = std::make_unique<check_image>();
};

TEST_F(CheckNode, finds_no_gap_in_what_good_tools_answer) {
    EXPECT_THAT(gaps(), IsEmpty());
    const std::vector<std::string> lines = harness::take_lines();
    for (const char* const line :
         {"echo -n x", "ps", "uci get wireless.ath0.disabled", "uci get wireless.ath10.disabled",
          "iwconfig ath0", "iwconfig ath20", "iwpriv ath0 get_whc_dist",
          "iwpriv ath0 get_whc_ul_rate", "wifisys_tool -g 1 -f 2"}) {
        EXPECT_THAT(lines, testing::Contains(line));
    }
    // No service AP has an uplink, and nobody holds the station yet.
    EXPECT_THAT(lines, Not(testing::Contains("iwconfig ath10")));
    EXPECT_THAT(lines, Not(testing::Contains(StartsWith("wpa_cli"))));
}

TEST_F(CheckNode, changes_nothing) {
    gaps();
    for (const std::string& call : harness::take_calls()) {
        EXPECT_THAT(call, Not(HasSubstr(" set"))) << call;
        EXPECT_THAT(call, Not(HasSubstr("commit"))) << call;
    }
}

TEST_F(CheckNode, names_each_answer_that_the_daemon_would_misread) {
    cover(tool("iwconfig"), "#!/bin/sh\necho \"$1  no wireless extensions.\"\n");
    cover(tool("iwpriv"), "#!/bin/sh\necho 'Invalid command : get_whc_dist'\n");
    cover(tool("wifisys_tool"), "#!/bin/sh\n");
    lab::uci_store_set("", "wireless.ath10.disabled", "off");
    EXPECT_THAT(
        gaps(),
        ElementsAre("STOP tool.answer: `uci get wireless.ath10.disabled` answers 'off', not 0 or 1",
                    StartsWith("STOP tool.answer: `iwconfig ath0` answers 'ath0  no wireless "
                               "extensions.', not its AP, or Not-Associated,"),
                    StartsWith("STOP tool.answer: `iwconfig ath20` answers"),
                    StartsWith("STOP tool.answer: `iwpriv ath0 get_whc_dist` answers 'Invalid "
                               "command : get_whc_dist', not a number"),
                    StartsWith("weak tool.answer: `iwpriv ath0 get_whc_ul_rate` answers"),
                    "weak tool.answer: `wifisys_tool -g 1 -f 2` answers nothing, not a number"));
}

TEST_F(CheckNode, asks_the_supplicant_about_a_station_that_it_holds) {
    put_file("/var/run/wpa_supplicant-ath0/ath0", "");
    cover(tool("wpa_cli"),
          "#!/bin/sh\n[ \"$*\" != '-i ath0 -p /var/run/wpa_supplicant-ath0 status' ] ||\n"
          "    echo wpa_state=INTERFACE_DISABLED\n");
    EXPECT_THAT(gaps(), ElementsAre("STOP tool.answer: `wpa_cli -i ath0 -p "
                                    "/var/run/wpa_supplicant-ath0 status` answers "
                                    "'wpa_state=INTERFACE_DISABLED', not a wpa_state other than "
                                    "INTERFACE_DISABLED"));
    std::remove("/var/run/wpa_supplicant-ath0/ath0");
}

TEST_F(CheckNode, asks_a_tool_that_hangs_only_once_and_leaves_nothing_of_it) {
    cover(tool("iwpriv"),
          "#!/bin/sh\necho $$ >>/tmp/hanging\nsleep 1000 &\necho $! >>/tmp/hanging\nwait\n");
    image->answer_limit_ms = 1000;
    EXPECT_THAT(gaps(), ElementsAre("STOP tool.hangs: `iwpriv ath0 get_whc_dist` does not end in "
                                    "time, and was killed"));
    const std::string pids = file_text("/tmp/hanging");
    EXPECT_EQ(std::ranges::count(pids, '\n'), 2);
    char* at = const_cast<char*>(pids.c_str());
    for (int pid = 0; (pid = static_cast<int>(std::strtol(at, &at, 10))) > 0;) {
        EXPECT_TRUE(harness::wait_until([pid] { return kill(pid, 0) != 0; })) << pid;
    }
}

TEST_F(CheckNode, gives_no_shell_a_name_that_says_more_than_a_name) {
    interface("a;>/tmp/x", BACKHAUL_STA);
    EXPECT_THAT(gaps(), IsEmpty());
    EXPECT_FALSE(harness::file_is_there("/tmp/x"));
}

TEST_F(CheckNode, asks_nothing_about_an_interface_that_is_not_there_yet) {
    interface("ath7", BACKHAUL_STA);
    gaps();
    const std::vector<std::string> lines = harness::take_lines();
    EXPECT_THAT(lines, testing::Contains("uci get wireless.ath7.disabled"));
    EXPECT_THAT(lines, Not(testing::Contains(HasSubstr(" ath7"))));
}

TEST_F(CheckNode, takes_no_more_of_an_answer_than_it_holds) {
    const auto answer = std::make_unique<tool_answer>();
    EXPECT_EQ(tool_ask("yes | head -c 300000", 60000, *answer), ask_result::answered);
    EXPECT_EQ(answer->size, answer->text.size());
    EXPECT_EQ(tool_ask("printf abc; printf def >&2", 60000, *answer), ask_result::answered);
    EXPECT_EQ(std::string(answer->text.data(), answer->size), "abc");
    EXPECT_EQ(tool_ask("cat", 60000, *answer), ask_result::answered);
    EXPECT_EQ(answer->size, 0U);
}

// The whole program, in this process.
std::string check_of(std::vector<std::string> words) {
    std::vector<char*> arguments;
    words.insert(words.begin(), {"backhaulctl", "check", "--output", "/tmp/told"});
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    ctl_run(static_cast<int>(words.size()), arguments.data());
    return file_text("/tmp/told");
}

TEST_F(CheckNode, finds_a_bridge_without_a_broadcast_address) {
    const std::string address = "ip addr add 192.168.1.20/24 dev br-lan";
    ASSERT_EQ(std::system(("ip addr flush dev br-lan && " + address).c_str()), 0);
    EXPECT_THAT(check_of({"--no-ask"}), HasSubstr("STOP br-lan has no broadcast address"));
    ASSERT_EQ(std::system(("ip addr flush dev br-lan && " + address + " brd +").c_str()), 0);
    EXPECT_THAT(check_of({"--no-ask"}), Not(HasSubstr("broadcast")));
}

TEST_F(CheckNode, asks_on_the_own_node_and_not_where_it_is_told_not_to) {
    put_file("/tmp/wifi_if_profile", "ath0 BACKHAUL_STA 5h 30 0\neth ETHERNET 0 0 0\n");
    cover(tool("iwconfig"), "#!/bin/sh\n");
    EXPECT_THAT(check_of({}), HasSubstr("`iwconfig ath0` answers nothing, not its AP"));
    EXPECT_THAT(check_of({"--json"}), HasSubstr("\"asked\":true"));
    harness::take_lines();
    for (const char* const word : {"--no-ask", "--root=/"}) {
        EXPECT_THAT(check_of({word}), Not(HasSubstr("answers"))) << word;
        EXPECT_THAT(check_of({word, "--json"}), HasSubstr("\"asked\":false")) << word;
    }
    EXPECT_THAT(harness::take_lines(), IsEmpty());
}

}  // namespace
