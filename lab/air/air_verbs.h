// What the verbs do to the air.
#pragma once

#include <string>

#include "lab/air/air_effect.h"
#include "lab/scenario/verb.h"

namespace lab {

// Does the verb. Its names have been checked against the scenario. When it changes nothing, `note`
// says why ("ath0 of e1 has no AP"); it is empty otherwise.
Effects air_verb(Air* air, const Verb& verb, std::string* note);

}  // namespace lab
