// How a tool call is named when an answer is looked up for it.
//
// The key of a call is the tool's name and its telling words, joined with dots:
// "wpa_cli.interface_add.ath0", "iwpriv.ath0.get_whc_bssid", "hyd.restart". Option letters and
// paths that only say where a tool should connect to are left out. Functions of values only.
#pragma once

#include <string>
#include <vector>

namespace lab {

// The name without folders: "/etc/init.d/hyd" is "hyd".
std::string tool_base_name(const std::string& path);

// The telling words of a call, in the order in which keys use them:
//  - wpa_cli: the verb, then the interface (from -i, or the tail of -p's path), then the rest;
//  - radartool: without "-i RADIO";
//  - wifisys_tool: GROUP FEATURE of "-g GROUP -f FEATURE";
//  - all others: the words as they are.
std::vector<std::string> tool_key_words(const std::string& tool,
                                        const std::vector<std::string>& words);

// The keys under which an answer for the call may lie, most telling first: for ("hyd", {"stop"})
// "hyd.stop" and "hyd". At most five words are used.
std::vector<std::string> tool_keys(const std::string& tool,
                                   const std::vector<std::string>& key_words);

// Interface that a wpa_cli call is for: -i's word, the tail of -p's path, or empty.
std::string wpa_cli_interface(const std::vector<std::string>& words);

}  // namespace lab
