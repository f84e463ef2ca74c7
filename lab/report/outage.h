// When each node was without its backhaul, and for how long.
//
// An outage is what users feel: it begins when a node that had its backhaul has it no longer, ready
// with frames that reach a root, and ends when it has it again. What a node says of itself is not
// enough: nodes may be ready below each other without a root. Who looks at the mesh tells.
// Forming a mesh is no outage: it ends with the first ready, whose time is kept apart. Values;
// seconds of the mesh's clock.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "lab/report/name_order.h"

namespace lab {

struct Outage {
    std::int64_t from = 0;
    std::int64_t to = -1;  // -1: not over

    bool operator==(const Outage&) const = default;
};

struct NodeOutages {
    std::int64_t first_ready = -1;  // -1: never ready so far
    std::vector<Outage> outages;    // in the order of their beginnings
};

struct OutageBook {
    std::map<std::string, NodeOutages, NameOrder> nodes;
};

// Notes whether the node has its backhaul at this time. Times never go back.
void outage_note(OutageBook* book, const std::string& node, std::int64_t time, bool ready);

// Length of an outage as of `now`.
std::int64_t outage_seconds(const Outage& outage, std::int64_t now);

struct OutageSummary {
    int count = 0;
    std::int64_t total = 0;
    std::int64_t worst = 0;
    std::int64_t median = 0;  // of an even number the lower of the two in the middle
    bool is_out = false;      // now
};

// Of one node (all zero when it is unknown) and of all nodes together. Of an outage that lasted
// already at `since` the part behind it counts, of earlier ones nothing.
OutageSummary outage_summary(const OutageBook& book, const std::string& node, std::int64_t now,
                             std::int64_t since = 0);
OutageSummary outage_summary_of_all(const OutageBook& book, std::int64_t now);

// "2:03" for 123 seconds, "1:02:03" for more than an hour.
std::string duration_text(std::int64_t seconds);

}  // namespace lab
