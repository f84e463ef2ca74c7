// The air as a scenario begins.
#pragma once

#include "lab/air/air_model.h"

namespace lab {

// The air of a scenario before anything is powered: every node boots at `now`.
Air air_from_scenario(const Scenario& scenario, std::int64_t now);

}  // namespace lab
