// The program's commands, one function each: from what was typed to an exit code. They print, talk
// to a running mesh or make one. Called by main() on its only thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lab/program/api.h"

namespace lab {

// What somebody typed behind `backhaul_lab COMMAND`.
struct Arguments {
    std::vector<std::string> words;  // besides the options
    bool json = false;
    bool follow = false;
    bool web = false;
    bool colour_never = false;
    std::optional<double> speed;
    std::optional<std::uint32_t> seed;
    int island = 0;        // seconds until who has no root is on an island; 0: as the scenario says
    std::string socket;    // empty: the usual place
    std::string shell;     // of -c; empty: an interactive one
    std::string evidence;  // folder; empty: the usual place
    std::string logs;      // folder for the nodes' flow logs; empty: none are left
    int lines = 0;         // 0: all
    std::string rule;      // that has to be broken
    std::string node;      // where; empty: anywhere
    std::vector<std::string> seen;    // parts of lines
    std::vector<std::string> unseen;  // parts of no line
    std::string output;               // file; empty: standard output
    int nodes = 8;
    int hours = 24;
    int minutes = 0;                  // of real time; 0: no limit
    std::string until;                // a rule with whose breach a run ends; empty: none
    std::string results;              // folder of a campaign; empty: beside its file
    std::string one_case;             // id of the only one to play
    int jobs = 0;                     // cases at once; 0: one for each processor
    std::vector<std::string> logins;  // machines to play them on
    bool list = false;
    bool slurm = false;
    bool report = false;
};

// client_commands.cpp: they talk to the mesh that is up.
int status_command(const Arguments& arguments);
int do_command(const Arguments& arguments);
int log_command(const Arguments& arguments);
int shell_command(const Arguments& arguments);
int speed_command(const Arguments& arguments);
int down_command(const Arguments& arguments);

// watch.cpp
int watch_command(const Arguments& arguments);

// text_commands.cpp: they only print.
int verbs_command(const Arguments& arguments);
int generate_command(const Arguments& arguments);
int doctor_command(const Arguments& arguments);

// up.cpp
int up_command(const Arguments& arguments);

// run_commands.cpp: they play a scenario in the foreground.
int check_command(const Arguments& arguments);
int chaos_command(const Arguments& arguments);

// shrink_command.cpp
int shrink_command(const Arguments& arguments);

// campaign_command.cpp
int campaign_command(const Arguments& arguments);

// replay_command.cpp
int replay_command(const Arguments& arguments);

// Shared by them; terminal.cpp.
// One object a line on standard output.
void json_print(const Json& object);
// "backhaul_lab: TEXT" on standard error, or an object on standard output where JSON was asked for;
// returns `code`.
int complain(const Arguments& arguments, const std::string& text, int code = EXIT_DIFFERS);
// Whether standard output takes colours.
bool wants_colour(const Arguments& arguments);
// Where the socket of these arguments is.
std::string socket_of(const Arguments& arguments);

}  // namespace lab
