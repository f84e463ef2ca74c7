// One case of a campaign, played in processes of its own. On the program's main thread, outside of
// any sandbox.
#pragma once

#include <string>

#include "lab/campaign/case_result.h"

namespace lab {

// The daemon's file that the case is played with.
std::string campaign_daemon(const CampaignCase& one);

// Plays the case and, when it broke a rule in no known way, searches the shortest scenario that
// still does. Evidence is left below `evidence`. False with a sentence when the machine failed or
// the run was ended before it was over: then there is no result.
bool campaign_case_play(const CampaignCase& one, const std::string& evidence, CaseResult& result,
                        std::string& error);

}  // namespace lab
