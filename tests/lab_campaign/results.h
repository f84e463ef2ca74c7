// Results as cases would leave them.
#pragma once

#include "lab/campaign/case_result.h"

namespace harness {

// Two shapes, three ways to run them, eight seeds.
inline lab::Campaign tuning_campaign() {
    lab::Campaign campaign;
    std::string error;
    lab::campaign_parse(R"({"name": "tuning", "seeds": {"from": 1, "count": 8},
                            "shapes": ["line 2", "star 3"], "options": ["", "-p 2", "-x 5"]})",
                        "/", campaign, error);
    return campaign;
}

inline std::vector<lab::CampaignCase> tuning() {
    return lab::campaign_cases(tuning_campaign());
}

// With outages of such lengths in an hour of one extender.
inline lab::CaseResult case_result(const lab::CampaignCase& one,
                                   const std::vector<std::int64_t>& outages) {
    lab::CaseResult result;
    result.of = one;
    result.daemon_mark = "mark";
    result.host = "here";
    result.seconds = 3960;
    result.observed_seconds = 3600;
    std::int64_t from = 600;
    for (const std::int64_t seconds : outages) {
        result.outages.push_back({"e1", from, seconds, true, seconds < 60 ? "deauth" : "ap-off"});
        from += 400;
    }
    return result;
}

}  // namespace harness
