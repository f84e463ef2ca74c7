// A scenario as a file of the machine: the one place of this folder that opens anything.
//
// For whoever plays a scenario that somebody named by its path, on any thread. False with `error`
// set: why the file cannot be read, or all its mistakes, a line each ("FILE:12: ...").
#pragma once

#include <string>

#include "lab/scenario/scenario.h"

namespace lab {

inline constexpr std::size_t LONGEST_SCENARIO_FILE = 16U << 20U;  // bytes; MOST_STEPS have room

bool scenario_file_read(const std::string& path, Scenario* scenario, std::string& error);

}  // namespace lab
