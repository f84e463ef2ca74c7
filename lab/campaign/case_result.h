// What became of a case: one JSON object, RESULTS/ID.json, from which every report is made.
//
// It holds the case itself and a mark of the daemon's file, so that a result counts only for the
// case and the daemon that it came from: who changes a weight or builds anew gets new runs, not a
// mixture. Only a run that came to its end has a result. Seconds are those of the mesh.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "lab/campaign/campaign.h"
#include "lab/campaign/case_tally.h"

namespace lab {

struct CaseOutage {
    std::string node;
    std::int64_t from = 0;  // since the mesh's start
    std::int64_t seconds = 0;
    bool is_over = true;
    std::string cause;  // outage_cause()

    bool operator==(const CaseOutage&) const = default;
};

struct CaseResult {
    CampaignCase of;
    std::string daemon_mark;
    std::string host;
    std::int64_t seconds = 0;
    std::int64_t real_ms = 0;
    std::int64_t observed_seconds = 0;
    std::int64_t parked_seconds = 0;
    std::vector<CaseOutage> outages;
    int switches = 0;
    int islands = 0;
    std::int64_t island_seconds = 0;
    std::int64_t island_longest = 0;
    std::map<std::string, int> loops;   // frames that came twice, by the known hazard
    std::map<std::string, int> causes;  // known causes of broken rules
    std::vector<std::string> breaches;  // what is known by no cause, sentences
    std::string rule;                   // that was broken first, empty: none
    std::string evidence;               // folder on that host
    std::string scenario;               // text that plays it again, where something differed
    std::string shrunk;                 // the shortest that still breaks the rule
};

// Something that was done to the mesh.
struct CaseVerb {
    std::int64_t time = 0;
    std::string text;  // "fade e1 root -120"
};

// What an outage that began then is put down to: the last verb until then by its name, `fade` as
// "link-cut" or "link-back". "none" before any verb.
std::string outage_cause(std::span<const CaseVerb> verbs, std::int64_t from);

// Of bytes: the same for the same file on every machine.
std::string file_mark(const std::string& path, std::string& error);

Json case_result_json(const CaseResult& result);
bool case_result_read(const Json& json, CaseResult& result);

// The case's result in that folder. False when there is none, it is not whole, or it came from
// another case or daemon.
bool case_result_load(const std::string& folder, const CampaignCase& one,
                      const std::string& daemon_mark, CaseResult& result);

// Puts the result, and the scenarios of a broken rule, into the folder; the result appears at once.
bool case_result_save(const std::string& folder, const CaseResult& result, std::string& error);

}  // namespace lab
