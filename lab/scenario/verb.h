// What can be done to a mesh, in words of the field: "deauth e1 ath0", "cable-in e2".
//
// The same verbs stand in scenario files, behind `backhaul_lab do`, behind the keys of the live
// view and in random runs. A verb names nodes and interfaces; whether they exist is for the caller
// to check (scenario_verb_check), what it does is for the model of the air. Functions of values.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lab {

enum class VerbKind {
    deauth,
    ap_off,
    ap_on,
    fade,
    move,
    cable_in,
    cable_out,
    cable_between,
    radar,
    clear_radar,
    reboot,
    power_off,
    power_on,
    kill_worker,
    kill_tool,
    drop_messages,
    approve,
    revoke,
    configure,
    role,
    command,
};

// Tools that kill-tool knows.
inline constexpr std::string_view TOOL_HYD = "hyd";
inline constexpr std::string_view TOOL_SUPPLICANT = "supplicant";
inline constexpr std::string_view TOOL_AGENT = "agent";

// Signals in dBm. A node that is heard with SIGNAL_NONE is not heard at all, on whatever band: the
// one signal that cuts a link for certain. Text: "none".
inline constexpr int SIGNAL_NONE = -127;
inline constexpr std::string_view NO_SIGNAL = "none";

inline constexpr int LAST_CHANNEL = 196;

// What the daemon's FIFO understands; it drops every other word without an answer.
inline constexpr std::array<std::string_view, 7> FIFO_WORDS = {
    "master",     "slave",   "approval_list_changed", "uplink_scan", "network_reload",
    "eth_detect", "eth_lost"};

struct Verb {
    VerbKind kind = VerbKind::deauth;
    std::string node;
    std::string interface;  // deauth, ap-off, ap-on, configure; empty: the verb's usual choice
    std::string peer;  // fade, cable-in, cable-out, cable-between; empty: the verb's usual choice
    std::string word;  // tool, role, command, band of a fade
    int number = 0;    // signal of a fade (dBm), of kill-worker (signal number), times of a radar,
                       // channel of clear-radar (0: all)
    int times = 0;     // kill-tool: how many calls fail; 0: until it is started again
    int seconds = 0;   // kill-tool, drop-messages: how long; 0: until the node restarts
    bool all = false;  // radar: every channel
    std::vector<std::pair<std::string, int>> hears;  // move: peers and signals

    bool operator==(const Verb&) const = default;
};

struct VerbRow {
    VerbKind kind;
    std::string_view name;
    std::string_view usage;  // "deauth NODE [STATION]"
    std::string_view help;   // one sentence
};

// Every verb once, in the order of VerbKind.
std::span<const VerbRow> verb_table();
const VerbRow& verb_row(VerbKind kind);

// A signal as `fade`, `move` and `hears` say it: a number, or "none".
bool signal_read(std::string_view word, int* signal, std::string& error);
std::string signal_print(int signal);

// Reads a verb from its words. False with one sentence in `error`.
bool verb_parse(std::span<const std::string> words, Verb* verb, std::string& error);

// The words of the verb, as verb_parse reads them.
std::string verb_print(const Verb& verb);

}  // namespace lab
