// A campaign's answers for people: one page that needs nothing besides itself, and a table for
// programs. Functions of values, for any thread.
#pragma once

#include <string>

#include "lab/campaign/summary.h"

namespace lab {

// HTML in one file, without scripts and without anything to be fetched.
std::string report_page(const CampaignSummary& summary);

// Comma-separated, the names first: a line for every measure, cause, hazard and difference.
std::string report_csv(const CampaignSummary& summary);

}  // namespace lab
