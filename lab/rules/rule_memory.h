// What was found, and what is remembered of a node between two looks: values.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "lab/rules/causes.h"
#include "lab/rules/islands.h"
#include "lab/rules/link_tracker.h"

namespace lab {

struct Violation {
    std::string rule;
    std::string node;
    std::int64_t time = 0;
    std::string text;
    std::string known;  // why the daemon's required behaviour leads to it; empty: a failure

    bool operator==(const Violation&) const = default;
};

// Something that is the case for a while.
struct Episode {
    std::int64_t since = 0;
    bool told = false;
};

struct NodeMemory {
    bool is_new = true;
    LinkTracker tracker;
    std::map<std::string, Episode> episodes;  // by what is the case
    int worker_pid = 0;
    bool status_seen = false;
};

struct RulesMemory {
    std::map<std::string, NodeMemory> nodes;  // by name
    CauseHistories causes;
    IslandBook islands;
};

// What the rules know of a node's link states, or null before the first look.
const LinkTracker* rules_tracker(const RulesMemory& memory, const std::string& node);

}  // namespace lab
