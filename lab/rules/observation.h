// What the rules look at: every node of a mesh at one moment.
//
// Whoever runs the mesh fills an Observation at regular looks (once a second is good) and hands it
// to rules_check. Plain values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace lab {

// One line of the flow log, without its date and line end.
struct LogEntry {
    std::int64_t time = 0;
    std::string text;
};

// One line of the interface profile.
struct ObservedInterface {
    std::string name;
    std::string type;
    int priority = 0;
};

// How often a broadcast with this mark reached the node since it was sent.
struct ObservedBroadcast {
    std::string mark;
    int seen = 0;
};

// What the air offers a backhaul station.
struct ObservedStation {
    std::string name;
    bool hears_root = false;    // an AP that it may join has a way to a root, not through its node
    bool hears_wanted = false;  // such an AP is the one that it was told to join, or it may choose
    bool is_joined = false;     // to any AP
    bool is_attached = false;   // to a supplicant
};

struct NodeObservation {
    std::string name;
    bool is_root = false;   // role of the worker
    bool powered = true;    // false: nothing of it is looked at
    bool rebooted = false;  // it lost its power since the last look
    bool status_exists = false;
    std::string status_text;                    // of /tmp/backhaul_status, whole
    std::vector<ObservedInterface> interfaces;  // in the order of the profile
    std::vector<std::string> service_aps_up;
    std::vector<std::string> uplinks;  // over which frames pass: stations, "eth"
    int worker_pid = 0;                // 0: there is none
    bool worker_end_expected = false;  // since the last look something ended it: a verb, a role
    std::vector<LogEntry> log;         // lines that came since the last look
    bool log_lines_lost = false;       // some came and went between the looks
    std::vector<ObservedBroadcast> broadcasts;
    bool reaches_root = true;      // its frames get over uplinks that carry to a root with power
    std::string above;             // node to which its uplink leads; empty: none carries
    std::int64_t troubled_at = 0;  // when something was last done to it, or still keeps it busy
    std::vector<ObservedStation> stations;
};

// Whether an extender has its backhaul, as users feel it. The file may say that all is well where
// no frame reaches a root.
inline bool has_backhaul(const NodeObservation& node) {
    return node.powered && node.status_text == "ready\n" && !node.uplinks.empty() &&
           node.reaches_root;
}

struct Observation {
    std::int64_t time = 0;
    std::vector<NodeObservation> nodes;
};

}  // namespace lab
