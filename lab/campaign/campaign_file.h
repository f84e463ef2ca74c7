// Values of a campaign file, read one by one. Each function returns false with one sentence that
// names the key. For campaign.cpp.
#pragma once

#include <string>

#include "lab/campaign/campaign_parts.h"
#include "lab/report/json_text.h"

namespace lab {

bool campaign_seeds_read(const Json& value, Campaign& campaign, std::string& error);
bool campaign_hours_read(const Json& value, Campaign& campaign, std::string& error);
bool campaign_shapes_read(const Json& value, Campaign& campaign, std::string& error);
bool campaign_trouble_read(const Json& value, Campaign& campaign, std::string& error);
bool campaign_options_read(const Json& value, Campaign& campaign, std::string& error);

}  // namespace lab
