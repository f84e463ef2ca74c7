// What the commands that take flow logs share; on the program's only thread, replay_command.cpp.
#pragma once

#include <string>
#include <vector>

#include "lab/program/commands.h"
#include "lab/replay/replay_log.h"

namespace lab {

// Reads the logs that somebody named. False with a sentence, also when one cannot be run again.
bool command_logs_read(const std::vector<std::string>& words, std::vector<ReplayLog>& logs,
                       std::string& error);

// Shrinks the first log with which the daemon differs, and tells; the exit code.
int shrink_difference(const Arguments& arguments, const std::vector<ReplayLog>& logs);

}  // namespace lab
