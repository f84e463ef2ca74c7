// Whether the names that a verb or a condition uses are there.
//
// Called by the parser for every step and by `backhaul_lab do` for what somebody typed. Functions
// of values; false with one sentence in `error`, a guess at what was meant included.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "lab/scenario/scenario.h"

namespace lab {

bool scenario_verb_check(const Scenario& scenario, const Verb& verb, std::string& error);

bool scenario_condition_check(const Scenario& scenario, const Condition& condition,
                              std::string& error);

// A mark of that name stands above.
bool scenario_mark_check(const Scenario& scenario, const std::string& name, std::string& error);

// The nodes that these words name: each a node, a group or "all" (every extender). Once each.
bool scenario_group_nodes(const Scenario& scenario, std::span<const std::string> words,
                          std::vector<std::string>* nodes, std::string& error);

// The node exists.
bool scenario_node_check(const Scenario& scenario, const std::string& name, std::string& error);

// The interface is one of the node's; with `type_fits` it is also of a fitting type, which `what`
// names ("station").
bool scenario_interface_check(const ScenarioNode& node, const std::string& name,
                              bool (*type_fits)(std::string_view), const std::string& what,
                              std::string& error);

}  // namespace lab
