// Files through which the test of a soak and its shell know of each other, inside the node.
#pragma once

#include <array>

// The station that the daemon told to connect last.
inline constexpr char SOAK_WANTED[] = "/run/lab/soak_wanted";
// What is found in a message.
inline constexpr char SOAK_WORD[] = "/run/lab/soak_word";
// What the agent leaves when the standard extender's service APs are configured.
inline constexpr char SOAK_AGENT_FOLDER[] = "/tmp/vl1905";
inline constexpr std::array<const char*, 4> SOAK_AGENT_FILES = {
    "/tmp/vl1905/APautooutput_5G", "/tmp/vl1905/vl1905WIFIState_5G",
    "/tmp/vl1905/APautooutput_G1_24G", "/tmp/vl1905/vl1905WIFIState_G1_24G"};
