// What a machine lacks to run the tests and the lab. Called by programs at start and by the lab's
// `doctor`; any thread; makes and discards one sandbox.
#pragma once

#include <string>
#include <vector>

namespace lab {

struct Lack {
    std::string what;    // what is missing, as a sentence
    std::string remedy;  // what to do, or what is lost without it
};

// Looks at the machine. `programs` is the folder of lab_tool, lab_sh and liblab_clock.so.
// An empty result means that everything works.
std::vector<Lack> doctor_look(const std::string& programs);

}  // namespace lab
