// One input as one life.
#pragma once

#include <cstdint>
#include <span>

namespace lives {

// Lives through the steps that `bytes` hold, as a root or an extender. When a rule is broken, the
// story is told and the program aborted; with LIVES_TELL in the environment each story is told.
void life_live(std::span<const uint8_t> bytes, bool master);

}  // namespace lives
