// How a mesh is right now, as a table for people and as JSON for programs.
//
// Whoever holds the mesh fills a MeshStatus (whole seconds of the mesh's clock); `backhaul_lab
// status` and the live view show it. Values and functions of values. Texts that come out of a
// node's files are taken as they are: tables and JSON make them harmless.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/report/json_text.h"
#include "lab/report/outage.h"
#include "lab/report/table.h"

namespace lab {

// One record of the daemon's link table, as its flow log tells it.
struct LinkStatus {
    std::string interface;     // "ath0", "eth", "timer"
    std::int32_t state = -1;   // -1: no line has told it yet
    std::string state_name;    // "READY"
    std::int64_t seconds = 0;  // in this state
    int losses = 0;            // of the backhaul since the last start of the worker
    bool parked = false;       // after the third loss
    bool carries = false;      // frames pass over it
};

// Power of a node.
enum class NodePower { off, booting, on };

struct NodeStatus {
    std::string name;
    bool is_root = false;
    NodePower power = NodePower::off;
    std::string role;             // "root", "extender"; what its worker runs as
    std::string uplink = "none";  // "ath0", "eth" or "none": over which frames pass
    std::string parent;           // node at the other end; empty: none
    int hops = -1;                // to the root; -1: not connected
    std::vector<LinkStatus> links;
    int service_aps_up = 0;
    int service_aps = 0;
    std::string led;               // last pattern that was asked for: "BackhaulFinish"; empty: none
    std::string root_address;      // of /tmp/rootap_ip, without the line end; empty: no file
    std::string status_text;       // of /tmp/backhaul_status, without the line end; empty: no file
    std::int64_t outage = -1;      // how long it has been out by now; -1: it is not
    std::int64_t outages = 0;      // how many there were, with the one that lasts
    std::int64_t outage_all = 0;   // seconds of all of them
    int worker_pid = 0;            // 0: there is none
    std::int64_t cpu_ms = 0;       // processor time of its processes
    std::int64_t resident_kb = 0;  // memory of the worker
    bool messages_dropped = false;    // by the verb drop-messages
    bool aps_silenced = false;        // by the verb ap-off: at least one
    bool has_cable = false;           // one is plugged in as its uplink
    std::vector<Outage> outage_list;  // seconds of the mesh since its start
};

// Something that was done or followed. What `kind` may be stands in lab/program/api.h.
struct StatusEvent {
    std::string kind;
    std::int64_t seconds = 0;  // of the mesh since its start
    std::string node;
    std::string text;
};

// How the time of a mesh in the background passes.
struct PaceStatus {
    std::string speed;  // as lab/program/pacing.h says it; empty: not in the background
    bool paused = false;
    bool hurries = false;  // a step or somebody waits
    std::string stalled;   // why no time passes; empty: it does
};

struct MeshStatus {
    std::string title;
    std::int64_t seconds = 0;     // of the mesh since its start
    std::int64_t steps_done = 0;  // of the scenario
    std::int64_t steps = 0;
    std::int64_t failed = 0;      // expectations that did not hold
    std::int64_t violations = 0;  // of the rules, those known left out
    std::int64_t known = 0;       // violations that the daemon's required behaviour leads to
    std::string last_failed;      // the last of those: "12: expect ... - what was there"
    std::string last_violation;   // "rule node: text" of the last that is not known
    std::uint32_t seed = 0;
    PaceStatus pace;
    std::vector<StatusEvent> events;  // the newest, in their order
    std::vector<NodeStatus> nodes;
};

// The link that tells most about a node: what carries, else what is on its way, else the first
// that is known. Null when it has none.
const LinkStatus* node_main_link(const NodeStatus& node);

// "READY", or "state 12" when it has no name, or "-" when it is not known.
std::string state_text(const LinkStatus& link);

// One row a node: what `status` and the live view show.
Table status_table(const MeshStatus& status);

// One row an interface of the node.
Table node_table(const NodeStatus& node);

// "a tree of four   12:31   4 nodes, 3 ready   steps 5/9   violations 0 (and 2 known)"
std::string status_headline(const MeshStatus& status);

// The whole status as one JSON object, and back. What is missing there is left as it was; false
// with a sentence when a field is of another kind.
Json status_json(const MeshStatus& status);
bool status_read(const Json& json, MeshStatus& status, std::string& error);

}  // namespace lab
