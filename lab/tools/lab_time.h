// The node's time as the stand-in tools see it.
//
// The tools are linked statically, so the preloaded clock library cannot move their time: they
// look the moved clock up themselves, in the file that the environment variable LAB_CLOCK names.
#pragma once

#include <cstdint>

namespace lab {

// Seconds since 1970: of the moved clock when there is one, else of the machine.
std::int64_t node_time();

}  // namespace lab
