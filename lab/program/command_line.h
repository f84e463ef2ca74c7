// What somebody typed behind `backhaul_lab`, read by CLI11 from a table of commands and options.
// Functions of values: main() prints and exits.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lab/program/commands.h"

namespace CLI {
class App;
}

namespace lab {

struct CommandRow {
    std::string_view name;
    std::string_view usage;  // "log NODE"; several forms with " | " between
    std::string_view help;   // one sentence
    std::size_t least;       // number of words besides options
    std::size_t most;
    std::string_view options;  // names of those that it knows, one blank between
};

// What such a command takes are the words of a step.
inline constexpr std::size_t ANY_NUMBER = SIZE_MAX;
// As many files as the reader of logs takes.
inline constexpr std::size_t MOST_LOGS = 4096;

inline constexpr std::array COMMANDS = {
    CommandRow{"up", "up FILE | up line N | up star N | up tree A B | up grid A B",
               "Starts a mesh in the background and plays the scenario's steps.", 1, 3,
               "--speed --seed --web --socket --json"},
    CommandRow{"status", "status [NODE]", "Shows every node, or the interfaces of one.", 0, 1,
               "--json --socket --no-colour"},
    CommandRow{"watch", "watch", "Shows the mesh live; keys do things to it.", 0, 0,
               "--socket --no-colour"},
    CommandRow{"do", "do VERB ... | do wait ... | do expect ...",
               "Does one step of a scenario now and waits for it.", 1, ANY_NUMBER,
               "--json --socket"},
    CommandRow{"log", "log NODE", "Shows the node's flow log with the mesh's dates.", 1, 1,
               "-f --lines --json --socket"},
    CommandRow{"shell", "shell NODE", "Opens a shell inside the node, among its files and tools.",
               1, 1, "-c --socket"},
    CommandRow{"speed", "speed N | speed fastest | speed auto | speed pause | speed resume",
               "Changes how fast the mesh's time passes.", 1, 1, "--json --socket"},
    CommandRow{"check", "check FILE", "Plays a scenario to its end and tells what differed.", 1, 1,
               "--json --seed --island --evidence --logs --no-colour"},
    CommandRow{"chaos",
               "chaos | chaos FILE | chaos line N | chaos star N | chaos tree A B | chaos grid A B",
               "Plays random verbs and tells of outages and broken rules.", 0, 3,
               "--nodes --hours --minutes --until --island --seed --json --evidence --logs "
               "--no-colour"},
    CommandRow{"replay", "replay LOG...",
               "Runs flow logs again and tells where the daemon first does otherwise.", 1,
               MOST_LOGS, "--json"},
    CommandRow{
        "shrink",
        "shrink FILE | shrink chaos | shrink chaos FILE | shrink chaos line N | shrink chaos "
        "star N | shrink chaos tree A B | shrink chaos grid A B | shrink replay LOG...",
        "Finds the shortest scenario that still shows what is asked for.", 1, MOST_LOGS,
        "--rule --node --seen --not-seen --output --nodes --hours --minutes --seed --json"},
    CommandRow{"campaign", "campaign FILE",
               "Plays many runs of random trouble and compares what came of them.", 1, 1,
               "--results --jobs --sshlogin --slurm --list --case --report --json"},
    CommandRow{"generate",
               "generate line N | generate star N | generate tree A B | generate grid A B",
               "Prints a scenario of that shape.", 1, 3, "--seed"},
    CommandRow{"verbs", "verbs",
               "Prints what a scenario may say: statements, steps, verbs and conditions.", 0, 0,
               "--json"},
    CommandRow{"doctor", "doctor", "Tells what this machine lacks and what is lost by it.", 0, 0,
               "--json --no-colour"},
    CommandRow{"down", "down", "Ends the mesh.", 0, 0, "--json --socket"},
    CommandRow{"help", "help [COMMAND]", "Shows this, or one command.", 0, 1, ""},
};

// The reader of all commands, which puts what it reads into `arguments`.
std::unique_ptr<CLI::App> command_line(Arguments& arguments);

// Reads the words behind the program's name and returns the command, never `help`. Null when there
// is nothing to run: with `help` when that was asked for, else with one sentence in `error`.
const CommandRow* command_read(std::vector<std::string> words, Arguments& arguments,
                               std::string& help, std::string& error);

}  // namespace lab
