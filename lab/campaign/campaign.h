// A campaign: many runs of random trouble whose results are to be compared. What varies stands in
// a file as lists; the cases are their product.
//
//   {"name": "tuning",
//    "seeds": {"from": 1, "count": 40},          or [1, 5, 9]
//    "hours": [1],                                of the mesh's time, 0.1 and more
//    "shapes": ["line 4", "tree 1 2"],
//    "trouble": {"steady": {"weights": {"reboot": 2, "deauth": 1}, "pause": 300, "longest": 600}},
//    "options": {"-p": [2, 3], "-x": [10]},       or ["", "-p 2", "-p 2 -x 5"]
//    "daemons": {"before": "PATH", "after": "PATH"}}
//
// Only seeds and shapes are needed: the rest is the usual trouble, an hour of it, no options and
// the daemon that this program was built with. A path is taken from the file's folder.
//
// A case has an id made of its own values alone, so that a longer list leaves the ids of all others
// as they are. Cases come with the seed as the outermost loop: when a campaign is interrupted,
// every combination has had about as many hours as any other. Functions of values, for any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/campaign/campaign_parts.h"
#include "lab/report/json_text.h"
#include "lab/scenario/scenario.h"

namespace lab {

struct CampaignCase {
    std::string id;  // "s7.line-4.flapping.1h.p2-x5.after"; a name for a file as well
    std::uint32_t seed = 1;
    int seconds = 0;
    std::string shape;
    CampaignTrouble trouble;
    std::string options;
    CampaignDaemon daemon;  // without a name: the program's own

    bool operator==(const CampaignCase&) const = default;
};

// Reads the text of a campaign file that lies in `folder`. False with one sentence.
bool campaign_parse(std::string_view text, const std::string& folder, Campaign& campaign,
                    std::string& error);

// As campaign_parse() reads it, with whole paths: what another machine needs.
Json campaign_json(const Campaign& campaign);

std::vector<CampaignCase> campaign_cases(const Campaign& campaign);
std::optional<CampaignCase> campaign_case_find(const Campaign& campaign, std::string_view id);

// How the case's mesh is run, the end of its id: "p2-x5.after".
std::string campaign_variant(const std::string& options, const CampaignDaemon& daemon);

// All that the case's result depends on, besides what the daemon's file holds.
Json campaign_case_json(const CampaignCase& one);
bool campaign_case_read(const Json& json, CampaignCase& one);

// The mesh with its trouble, the options on every extender.
bool campaign_case_scenario(const CampaignCase& one, Scenario& scenario, std::string& error);

}  // namespace lab
