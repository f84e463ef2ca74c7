// The node that a scenario gets when it says nothing more: a tri-band mesh router.
//
// Three stations look up (ath0 on the upper 5 GHz radio is preferred, ath1 on the lower one and
// ath3 on 2.4 GHz stand by), one backhaul AP on each radio serves the nodes below (ath20, ath12,
// ath2), and the main, guest and visitor APs serve clients. The names of the APs are those that
// the daemon knows. Functions of values.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

// The interfaces above, "eth" and the timer record, in the order of the profile.
std::span<const ScenarioInterface> default_interfaces();

// Daemon options of a node besides -m: "-d", its backhaul APs follow its own backhaul.
std::vector<std::string> default_options();

// A node with the defaults.
ScenarioNode default_node(std::string_view name, NodeRole role);

// Keywords of the profile's second and third column ("-" for no radio).
std::span<const std::string_view> interface_types();
std::span<const std::string_view> interface_bands();

// True for stations, backhaul APs and APs that serve clients.
bool type_is_station(std::string_view type);
bool type_is_backhaul_ap(std::string_view type);
bool type_is_service_ap(std::string_view type);

// Text of the node's interface profile.
std::string scenario_profile_text(const ScenarioNode& node);

// Words of the daemon's command line behind its name: "-m" on a root, then the options.
std::vector<std::string> scenario_daemon_options(const ScenarioNode& node);

// Entries of the node's configuration store before it first starts, the node's own `uci` last.
// Stations and, on an extender, all APs are disabled; the daemon turns them on.
std::vector<std::pair<std::string, std::string>> scenario_uci(const Scenario& scenario,
                                                              const ScenarioNode& node);

}  // namespace lab
