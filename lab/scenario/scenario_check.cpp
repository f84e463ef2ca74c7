#include "lab/scenario/scenario_check.h"

#include <algorithm>
#include <optional>

#include "lab/rules/rule_names.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

std::vector<std::string> node_names(const Scenario& scenario,
                                    std::optional<NodeRole> role = std::nullopt) {
    std::vector<std::string> names;
    for (const ScenarioNode& node : scenario.nodes) {
        if (role.value_or(node.role) == node.role) {
            names.push_back(node.name);
        }
    }
    return names;
}

bool type_is_uplink(std::string_view type) {
    return type_is_station(type) || type == "ETHERNET";
}

bool peers_check(const Scenario& scenario, const Verb& verb, std::string& error) {
    std::vector<std::string> peers;
    if (!verb.peer.empty()) {
        peers.push_back(verb.peer);
    }
    for (const auto& hearing : verb.hears) {
        peers.push_back(hearing.first);
    }
    for (const std::string& peer : peers) {
        if (!scenario_node_check(scenario, peer, error)) {
            return false;
        }
        if (peer == verb.node) {
            error = "`" + peer + "` is on both ends";
            return false;
        }
    }
    return true;
}

bool verb_interface_check(const ScenarioNode& node, const Verb& verb, std::string& error) {
    if (verb.interface.empty()) {
        return true;
    }
    if (verb.kind == VerbKind::ap_off || verb.kind == VerbKind::ap_on) {
        return scenario_interface_check(node, verb.interface, type_is_backhaul_ap, "backhaul AP",
                                        error);
    }
    return scenario_interface_check(node, verb.interface, type_is_station, "station", error);
}

bool condition_interface_check(const ScenarioNode& node, const Condition& condition,
                               std::string& error) {
    if (condition.interface.empty()) {
        return true;
    }
    if (condition.kind == ConditionKind::state) {
        return scenario_interface_check(node, condition.interface, nullptr, "interface", error);
    }
    if (condition.kind == ConditionKind::uplink && condition.interface != "none") {
        return scenario_interface_check(node, condition.interface, type_is_uplink, "uplink", error);
    }
    if (condition.kind == ConditionKind::parked) {
        return scenario_interface_check(node, condition.interface, type_is_station, "station",
                                        error);
    }
    return true;
}

bool rule_check(const std::string& name, std::string& error) {
    std::vector<std::string> names;
    for (const std::string_view known : RULE_NAMES) {
        if (known == name) {
            return true;
        }
        names.emplace_back(known);
    }
    error = unknown_word(name, "rule", names);
    return false;
}

}  // namespace

bool scenario_node_check(const Scenario& scenario, const std::string& name, std::string& error) {
    if (scenario_node_find(scenario, name) != nullptr) {
        return true;
    }
    error = unknown_word(name, "node of this mesh", node_names(scenario));
    return false;
}

bool scenario_interface_check(const ScenarioNode& node, const std::string& name,
                              bool (*type_fits)(std::string_view), const std::string& what,
                              std::string& error) {
    std::vector<std::string> names;
    for (const ScenarioInterface& interface : node.interfaces) {
        if (type_fits != nullptr && !type_fits(interface.type)) {
            continue;
        }
        if (interface.name == name) {
            return true;
        }
        names.push_back(interface.name);
    }
    error = unknown_word(name, what + " of " + node.name, names);
    return false;
}

bool scenario_verb_check(const Scenario& scenario, const Verb& verb, std::string& error) {
    if (!scenario_node_check(scenario, verb.node, error)) {
        return false;
    }
    const ScenarioNode* const node = scenario_node_find(scenario, verb.node);
    if (verb.kind == VerbKind::cable_in && node->role == NodeRole::root) {
        error = "a cable leads up from an extender: name that node first";
        return false;
    }
    if (verb.kind == VerbKind::cable_between) {
        const ScenarioNode* const peer = scenario_node_find(scenario, verb.peer);
        const bool has_root =
            node->role == NodeRole::root || (peer != nullptr && peer->role == NodeRole::root);
        if (has_root) {
            error = "`cable-between` joins two extenders: to a root say `cable-in EXTENDER ROOT`";
            return false;
        }
    }
    return verb_interface_check(*node, verb, error) && peers_check(scenario, verb, error);
}

bool scenario_group_nodes(const Scenario& scenario, std::span<const std::string> words,
                          std::vector<std::string>* nodes, std::string& error) {
    for (const std::string& word : words) {
        std::vector<std::string> named = {word};
        const auto group = scenario.names.groups.find(word);
        if (word == ALL_NODES) {
            named = node_names(scenario, NodeRole::extender);
        } else if (group != scenario.names.groups.end()) {
            named = group->second;
        } else if (!scenario_node_check(scenario, word, error)) {
            return false;
        }
        for (const std::string& node : named) {
            if (std::ranges::find(*nodes, node) == nodes->end()) {
                nodes->push_back(node);
            }
        }
    }
    return true;
}

bool scenario_mark_check(const Scenario& scenario, const std::string& name, std::string& error) {
    if (scenario.names.marks.contains(name)) {
        return true;
    }
    const std::vector<std::string> names(scenario.names.marks.begin(), scenario.names.marks.end());
    error = "`" + name + "` is no mark of a step above" + did_you_mean(name, names);
    return false;
}

bool scenario_condition_check(const Scenario& scenario, const Condition& condition,
                              std::string& error) {
    if (!condition.since.empty() && !scenario_mark_check(scenario, condition.since, error)) {
        return false;
    }
    if (condition.kind == ConditionKind::rule) {
        return rule_check(condition.node, error);
    }
    if (condition.node == ALL_NODES) {
        for (const ScenarioNode& node : scenario.nodes) {
            if (node.role == NodeRole::extender &&
                !condition_interface_check(node, condition, error)) {
                return false;
            }
        }
        return true;
    }
    if (!scenario_node_check(scenario, condition.node, error)) {
        return false;
    }
    if (condition.kind == ConditionKind::parent && condition.text != "none" &&
        !condition.text.empty() && !scenario_node_check(scenario, condition.text, error)) {
        return false;
    }
    return condition_interface_check(*scenario_node_find(scenario, condition.node), condition,
                                     error);
}

}  // namespace lab
