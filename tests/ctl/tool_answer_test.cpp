// What a tool's answer has to be, as a function of the answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "ctl/tool_answer.h"

namespace {

// The question that begins with these words.
const tool_question& question(std::string_view line) {
    const auto* const found = std::ranges::find_if(TOOL_QUESTIONS, [&](const tool_question& one) {
        return std::string_view(one.line).starts_with(line);
    });
    EXPECT_NE(found, TOOL_QUESTIONS.end()) << line;
    return found == TOOL_QUESTIONS.end() ? TOOL_QUESTIONS[0] : *found;
}

bool is_good(std::string_view line, std::string_view answer) {
    return question(line).is_good(answer);
}

TEST(ToolAnswer, of_echo_is_what_stands_behind_its_option) {
    EXPECT_TRUE(is_good("echo -n x", "x"));
    EXPECT_FALSE(is_good("echo -n x", "-n x\n"));
    EXPECT_FALSE(is_good("echo -n x", "x\n"));
    EXPECT_FALSE(is_good("echo -n x", ""));
}

TEST(ToolAnswer, of_grep_is_the_line) {
    EXPECT_TRUE(is_good("echo Not-Associated |", "Not-Associated\n"));
    EXPECT_FALSE(is_good("echo Not-Associated |", ""));
}

TEST(ToolAnswer, of_ps_lists_the_first_process) {
    EXPECT_TRUE(
        is_good("ps", "  PID USER       VSZ STAT COMMAND\n    1 root      1536 S    init\n"));
    EXPECT_FALSE(is_good("ps", "    PID TTY          TIME CMD\n   1211 pts/0    00:00:00 ps\n"));
    EXPECT_FALSE(is_good("ps", "PID\nroot 1 init\n"));
    EXPECT_FALSE(is_good("ps", ""));
}

TEST(ToolAnswer, of_openssl_is_the_word_that_was_enciphered) {
    EXPECT_TRUE(is_good("echo -n UPLINKSCAN", "UPLINKSCAN"));
    EXPECT_FALSE(is_good("echo -n UPLINKSCAN", ""));
    EXPECT_FALSE(is_good("echo -n UPLINKSCAN", "-n UPLINKSCAN"));
}

TEST(ToolAnswer, of_uci_is_zero_or_one) {
    EXPECT_TRUE(is_good("uci get", "0\n"));
    EXPECT_TRUE(is_good("uci get", "1\n"));
    EXPECT_FALSE(is_good("uci get", "off\n"));
    EXPECT_FALSE(is_good("uci get", "10\n"));
    EXPECT_FALSE(is_good("uci get", ""));
}

TEST(ToolAnswer, of_iwconfig_tells_an_access_point_as_its_sixth_word) {
    const std::string head = "ath0      IEEE 802.11ac  ESSID:\"mesh\"\n          ";
    const std::string managed = "Mode:Managed  Frequency:5.5 GHz  Access Point: ";
    EXPECT_TRUE(is_good("iwconfig", head + managed + "02:00:00:00:01:04\n"));
    EXPECT_TRUE(is_good("iwconfig", head + managed + "Not-Associated   \n"));
    EXPECT_FALSE(is_good("iwconfig", head + "Mode:Managed  Access Point: 02:00:00:00:01:04\n"));
    EXPECT_FALSE(is_good("iwconfig", head + managed + "02:00:00\n"));
    EXPECT_FALSE(is_good("iwconfig", head + managed + "02:00:00:00:01:zz\n"));
    EXPECT_FALSE(is_good("iwconfig", head));
    EXPECT_FALSE(is_good("iwconfig", ""));
}

TEST(ToolAnswer, of_iwpriv_holds_a_number_behind_a_colon) {
    EXPECT_TRUE(is_good("iwpriv", "ath0      get_whc_dist:1\n"));
    EXPECT_TRUE(is_good("iwpriv", "ath0      get_whc_dist: 0\n"));
    EXPECT_FALSE(is_good("iwpriv", "ath0      get_whc_dist:none\n"));
    EXPECT_FALSE(is_good("iwpriv", "ath0      get_whc_dist 1\n"));
    EXPECT_FALSE(is_good("iwpriv", ":1\n"));
    EXPECT_FALSE(is_good("iwpriv", "Invalid command : get_whc_dist\n"));
}

TEST(ToolAnswer, of_wpa_cli_has_a_state_that_is_not_disabled) {
    EXPECT_TRUE(is_good("wpa_cli", "bssid=02:00:00:00:01:04\nwpa_state=COMPLETED\n"));
    EXPECT_TRUE(is_good("wpa_cli", "wpa_state=SCANNING\naddress=02:00:00:00:02:01\n"));
    EXPECT_FALSE(is_good("wpa_cli", "wpa_state=INTERFACE_DISABLED\n"));
    EXPECT_FALSE(is_good("wpa_cli", "Failed to connect to non-global ctrl_ifname: ath0\n"));
}

TEST(ToolAnswer, of_wifisys_tool_is_a_number) {
    EXPECT_TRUE(is_good("wifisys_tool", "1\n"));
    EXPECT_TRUE(is_good("wifisys_tool", " 0"));
    EXPECT_FALSE(is_good("wifisys_tool", "usage: wifisys_tool\n"));
    EXPECT_FALSE(is_good("wifisys_tool", ""));
}

TEST(ToolLine, holds_the_name_wherever_it_belongs) {
    EXPECT_STREQ(tool_line_of(question("wpa_cli"), "ath0").data(),
                 "wpa_cli -i ath0 -p /var/run/wpa_supplicant-ath0 status");
    EXPECT_STREQ(tool_line_of(question("ps"), "").data(), "ps");
}

TEST(ToolLine, of_every_question_is_whole_with_the_longest_name) {
    for (const tool_question& one : TOOL_QUESTIONS) {
        const std::string line = tool_line_of(one, "fifteen-letters").data();
        EXPECT_TRUE(line.ends_with(
            std::string_view(one.line).substr(std::string_view(one.line).find_last_of('%') + 1)))
            << line;
        EXPECT_EQ(line.find('%'), std::string::npos) << line;
    }
}

TEST(ToolLine, takes_no_name_in_which_a_shell_or_a_tool_reads_more) {
    EXPECT_TRUE(tool_line_takes("ath0"));
    EXPECT_TRUE(tool_line_takes("wl0-ap.1_x"));
    for (const char* const name :
         {"", "-a", "a b", "$(reboot)", "a;b", "`a`", "a/b", "a|b", "a\n"}) {
        EXPECT_FALSE(tool_line_takes(name)) << name;
    }
}

TEST(ToolExcerpt, is_the_first_line_without_what_a_terminal_reads) {
    EXPECT_STREQ(tool_answer_excerpt("off\nmore\n").data(), "'off'");
    EXPECT_STREQ(tool_answer_excerpt("\x1b[2Jx\ty\x7f").data(), "'?[2Jx?y?'");
    EXPECT_STREQ(tool_answer_excerpt("").data(), "nothing");
    EXPECT_STREQ(tool_answer_excerpt("\nmore").data(), "nothing");
    EXPECT_EQ(std::string(tool_answer_excerpt(std::string(100, 'x')).data()).size(), 42U);
}

}  // namespace
