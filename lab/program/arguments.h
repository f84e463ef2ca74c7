// What somebody typed behind `backhaul_lab`.
//
// The commands and options are data; reading them, the usage texts and the guesses at what was
// meant follow from the tables. Functions of values: main() prints and exits.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lab {

// Exit codes of the program.
inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_DIFFERS = 1;  // an expectation failed, or something is not there
inline constexpr int EXIT_USAGE = 2;

enum class CommandKind {
    UP,
    STATUS,
    WATCH,
    DO,
    LOG,
    SHELL,
    SPEED,
    CHECK,
    CHAOS,
    GENERATE,
    VERBS,
    DOCTOR,
    DOWN,
    HELP,
};

enum class OptionKind {
    JSON,
    SPEED,
    SEED,
    SOCKET,
    FOLLOW,
    LINES,
    COMMAND,
    EVIDENCE,
    NODES,
    HOURS,
    MINUTES,
    COLOUR,
};

struct OptionRow {
    OptionKind kind;
    std::string_view name;   // "--speed"
    std::string_view value;  // "N"; empty: it has none
    std::string_view help;
};

struct CommandRow {
    CommandKind kind;
    std::string_view name;
    std::string_view usage;    // "log NODE [-f] [--lines N]"
    std::string_view help;     // one sentence
    int least;                 // number of words besides options
    int most;                  // -1: any number, those of a step
    std::string_view options;  // names of those that it knows, one blank between
};

struct Arguments {
    CommandKind command = CommandKind::HELP;
    std::vector<std::string> words;  // besides the command and the options
    bool json = false;
    bool follow = false;
    bool colour_never = false;
    std::optional<double> speed;
    std::optional<std::uint32_t> seed;
    std::string socket;    // empty: the usual place
    std::string shell;     // of -c; empty: an interactive one
    std::string evidence;  // folder; empty: the usual place
    int lines = 0;         // 0: not said
    int nodes = 0;         // 0: not said
    int hours = 0;         // 0: not said
    int minutes = 0;       // of real time; 0: no limit
};

// Every command once, in the order of CommandKind; every option once, in that of OptionKind.
std::span<const CommandRow> command_table();
std::span<const OptionRow> option_table();

// Reads the words behind the program's name. False with one sentence in `error`.
bool arguments_parse(std::span<const std::string> words, Arguments* arguments, std::string* error);

// "0" for as fast as it can go, else up to 1000 seconds of the mesh in a real one.
bool speed_parse(const std::string& word, double* speed);

// All commands, or one with its options.
std::string usage_text();
std::string usage_text(const CommandRow& row);

}  // namespace lab
