// The program's commands, one function each: from what was typed to an exit code. They print, talk
// to a running mesh or make one. Called by main() on its only thread.
#pragma once

#include "lab/program/arguments.h"

namespace lab {

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
int help_command(const Arguments& arguments);
int verbs_command(const Arguments& arguments);
int generate_command(const Arguments& arguments);

// doctor_command.cpp
int doctor_command(const Arguments& arguments);

// up.cpp
int up_command(const Arguments& arguments);

// run_commands.cpp: they play a scenario in the foreground.
int check_command(const Arguments& arguments);
int chaos_command(const Arguments& arguments);

// Shared by them.
// "backhaul_lab: TEXT" on standard error; returns `code`.
int complain(const std::string& text, int code = EXIT_DIFFERS);
// Whether standard output takes colours.
bool wants_colour(const Arguments& arguments);
// A connection to the mesh, or -1 after a complaint.
int mesh_connect(const Arguments& arguments);
// Where the socket of these arguments is.
std::string socket_of(const Arguments& arguments);

}  // namespace lab
