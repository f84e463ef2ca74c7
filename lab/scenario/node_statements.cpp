// Statements about one node: its options, interfaces and configuration.
#include <algorithm>

#include "lab/scenario/scenario_check.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/statements.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;  // of a statement, its name left out

constexpr int MOST_PRIORITY = 65535;
constexpr int MOST_FOLLOW = 255;
constexpr std::size_t LONGEST_INTERFACE = 15;

// The node that the first word names, or null with an error.
ScenarioNode* node_of(Words words, Scenario* scenario, std::string& error) {
    if (words.empty() || !scenario_node_check(*scenario, words[0], error)) {
        return nullptr;
    }
    return scenario_node_find(scenario, words[0]);
}

bool known_keyword(const std::string& word, std::string_view what,
                   std::span<const std::string_view> keywords, std::string& error) {
    if (std::find(keywords.begin(), keywords.end(), word) != keywords.end()) {
        return true;
    }
    error = unknown_word(word, what, std::vector<std::string>(keywords.begin(), keywords.end()));
    return false;
}

}  // namespace

bool options_read(Words words, Scenario* scenario, std::string& error) {
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node != nullptr) {
        node->options.assign(words.begin() + 1, words.end());
    }
    return node != nullptr;
}

bool interface_read(Words words, Scenario* scenario, std::string& error) {
    constexpr std::size_t NODE_AND_COLUMNS = 6;
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node == nullptr || words.size() != NODE_AND_COLUMNS) {
        return false;
    }
    ScenarioInterface interface { words[1], words[2], words[3] };
    if (interface.name.empty() || interface.name.size() > LONGEST_INTERFACE) {
        error = "an interface's name has 1 to 15 characters";
        return false;
    }
    if (!known_keyword(words[2], "interface type", interface_types(), error) ||
        !known_keyword(words[3], "band", interface_bands(), error) ||
        !number_read(words[4], "priority", 0, MOST_PRIORITY, &interface.priority, error) ||
        !number_read(words[5], "follow value", 0, MOST_FOLLOW, &interface.follow, error)) {
        return false;
    }
    const auto old = std::find_if(
        node->interfaces.begin(), node->interfaces.end(),
        [&interface](const ScenarioInterface& other) { return other.name == interface.name; });
    if (old == node->interfaces.end()) {
        node->interfaces.push_back(interface);
    } else {
        *old = interface;
    }
    return true;
}

bool without_read(Words words, Scenario* scenario, std::string& error) {
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node == nullptr || words.size() < 2) {
        return false;
    }
    if (words[1] == ALL_NODES) {
        node->interfaces.clear();
        return words.size() == 2;
    }
    for (const std::string& name : words.subspan(1)) {
        if (!scenario_interface_check(*node, name, nullptr, "interface", error)) {
            return false;
        }
        std::erase_if(node->interfaces, [&name](const auto& other) { return other.name == name; });
    }
    return true;
}

bool unconfigured_read(Words words, Scenario* scenario, std::string& error) {
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node == nullptr || words.size() < 2) {
        return false;
    }
    for (const std::string& name : words.subspan(1)) {
        if (!scenario_interface_check(*node, name, type_is_station, "station", error)) {
            return false;
        }
        node->unconfigured.push_back(name);
    }
    return true;
}

bool unapproved_read(Words words, Scenario* scenario, std::string& error) {
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node == nullptr || words.size() != 1) {
        return false;
    }
    node->approved = false;
    return true;
}

bool uci_read(Words words, Scenario* scenario, std::string& error) {
    constexpr std::size_t NODE_KEY_VALUE = 3;
    ScenarioNode* const node = node_of(words, scenario, error);
    if (node == nullptr || words.size() != NODE_KEY_VALUE) {
        return false;
    }
    node->uci.emplace_back(words[1], words[2]);
    return true;
}

}  // namespace lab
