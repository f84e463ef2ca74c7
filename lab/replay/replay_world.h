// What a node's surroundings must have been like in a second, for the log's lines of that second to
// come about: what files and tables say before it begins, and what a tool answers when the daemon
// asks it. Functions of values: (lines of the second that are not there yet, question) to answer.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/replay/replay_log.h"
#include "lab/tools/air_protocol.h"

namespace lab {

using PendingLines = std::vector<const ReplayLine*>;

enum class Topology { clear, unknown_ap, loop };

// Before a second begins.
struct SecondFacts {
    bool agent_done = false;  // the agent's files are there
    Topology topology = Topology::clear;
    std::vector<std::string> access_points;  // that the node meets
    bool hyd_gone = false;
    bool supplicant_gone = false;
    bool channels_taken = false;               // radar: none is free
    std::optional<bool> extender_listed;       // by the topology database
    std::optional<int> visitor_feature;        // number of the feature
    std::optional<std::string> approval_list;  // text of the file
    std::vector<std::string> unconfigured;     // stations without a name of their network
    std::vector<std::string> configured;       // and with one
    std::vector<std::string> enabled;  // access points whose configuration is not "disabled"
    std::string clients_high;          // association list of the 5 GHz access points
    std::string clients_low;

    bool operator==(const SecondFacts&) const = default;
};
SecondFacts second_facts(const PendingLines& lines);

// What the wireless tools show of an interface.
enum class Seen { as_last_told, associated, not_associated, missing };
Seen interface_seen(const PendingLines& lines, std::string_view interface, std::string& mac);

// The answer of another tool; `local` when the log tells nothing of it.
AirReply tool_reply(const PendingLines& lines, const AirRequest& request);

}  // namespace lab
