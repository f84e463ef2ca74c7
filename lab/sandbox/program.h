// A program of the machine, run to its end. Any thread. A signal of the caller's terminal does not
// reach it.
#pragma once

#include <string>
#include <vector>

namespace lab {

// Runs a program without the shell, `input` on its standard input, its error output captured.
// True when it ended with status 0; else `error` says what it said.
bool run_program(const std::vector<std::string>& words, const std::string& input,
                 std::string& error);

// The same for a program whose standard output is wanted; its error output is lost.
bool program_output(const std::vector<std::string>& words, const std::string& input,
                    std::string* output, std::string& error);

// Where a program of that name is: along PATH, then where tools of the system are. Empty when
// nowhere.
std::string place_on_path(const std::string& name);

// All that comes out of a pipe until its other end is closed.
std::string read_to_end(int descriptor);

}  // namespace lab
