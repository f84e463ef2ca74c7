#pragma once

// What the daemon's tools can be asked without changing anything, and what a good answer is: the
// daemon's own lines, or as near to them as an answer can be had. Values only; check_tools.cpp
// asks.
//
// Tools of which every call does something (ifconfig, hyctl, wifi, radartool, the agent, the LED)
// have no question here.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// About whom a question is asked, once for each.
enum class ask_of : uint8_t {
    node,
    section,   ///< each interface whose section says `disabled`
    station,   ///< each station that the kernel has
    backhaul,  ///< each station and backhaul AP that the kernel has
    attached   ///< each station that the supplicant holds
};

struct tool_question {
    const char* tool;
    ask_of of;
    const char* line;  ///< for the shell; each '%' stands for the interface
    bool (*is_good)(std::string_view answer);
    const char* expected;  ///< what a good answer is
    bool stops;            ///< the daemon would not work
    const char* then;
    const char* help;
};

/// Whether an answer is good.
bool answer_is_n(std::string_view answer);
bool answer_has_init(std::string_view answer);
bool answer_is_association(std::string_view answer);
bool answer_is_word(std::string_view answer);
bool answer_is_switch(std::string_view answer);
bool answer_has_access_point(std::string_view answer);
bool answer_has_number(std::string_view answer);
bool answer_is_number(std::string_view answer);
bool answer_has_state(std::string_view answer);

inline constexpr std::array TOOL_QUESTIONS = {
    tool_question{
        "sh", ask_of::node, "echo -n x", answer_is_n, "x alone", true,
        "words to other nodes are enciphered with \"-n \" before them, and not understood",
        "take a shell whose echo knows -n, for example busybox or dash"},
    tool_question{"grep", ask_of::node, "echo Not-Associated | grep Not-Associated",
                  answer_is_association, "that line", true,
                  "every association counts as there, hyd as gone", "mend it"},
    tool_question{"ps", ask_of::node, "ps", answer_has_init, "the list of all processes", true,
                  "hyd is not seen, and restarted at each look",
                  "take a ps that lists all without an option, as busybox's does"},
    tool_question{"openssl", ask_of::node,
                  "echo -n UPLINKSCAN | openssl aes-128-cbc -e -k check | "
                  "openssl aes-128-cbc -d -k check",
                  answer_is_word, "UPLINKSCAN", true,
                  "no message between nodes is sent or understood",
                  "build openssl with aes-128-cbc and its commands"},
    tool_question{"uci", ask_of::section, "uci get wireless.%.disabled", answer_is_switch, "0 or 1",
                  true, "the interface counts as switched off, whatever its file says",
                  "look what `uci changes` holds, and at the file's syntax"},
    tool_question{"iwconfig", ask_of::backhaul, "iwconfig %", answer_has_access_point,
                  "its AP, or Not-Associated, as the sixth word of the line with Point", true,
                  "an association is seen that is not there, or its AP is not",
                  "take the radio vendor's wireless tools"},
    tool_question{"iwpriv", ask_of::station, "iwpriv % get_whc_dist", answer_has_number,
                  "a number behind a colon", true, "the node tells others that it has 0 hops",
                  "take the radio vendor's driver and tools"},
    tool_question{"iwpriv", ask_of::station, "iwpriv % get_whc_ul_rate", answer_has_number,
                  "a number behind a colon", false, "the nodes below are told a rate of 0",
                  "take the radio vendor's driver and tools"},
    tool_question{"wpa_cli", ask_of::attached, "wpa_cli -i % -p /var/run/wpa_supplicant-% status",
                  answer_has_state, "a wpa_state other than INTERFACE_DISABLED", true,
                  "the station is attached again every second",
                  "look at the supplicant and at the interface"},
    tool_question{"wifisys_tool", ask_of::node, "wifisys_tool -g 1 -f 2", answer_is_number,
                  "a number", false, "visitor APs that vanish are not brought up again", "mend it"},
};

using tool_line = std::array<char, 160>;
using tool_excerpt = std::array<char, 48>;

/// The question's line for the shell.
tool_line tool_line_of(const tool_question& question, std::string_view name);

/// Whether the shell reads the interface's name as nothing but a name.
bool tool_line_takes(std::string_view name);

/// A line of an answer for one who reads, the one with `Point` or else the first: "nothing", or cut
/// and without control characters.
tool_excerpt tool_answer_excerpt(std::string_view answer);
