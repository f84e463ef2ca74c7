// The text form of a scenario. Only what differs from the defaults is written.
#include <algorithm>

#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/scenario/scenario_step.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

void line_add(std::string* text, const std::vector<std::string>& words) {
    text->append(words_quoted(words)).append("\n");
}

void head_add(std::string* text, const Scenario& scenario) {
    const Scenario usual;
    if (!scenario.title.empty()) {
        line_add(text, {"title", scenario.title});
    }
    if (scenario.ssid != usual.ssid || scenario.key != usual.key) {
        line_add(text, {"mesh", scenario.ssid, scenario.key});
    }
    if (scenario.seed != usual.seed) {
        line_add(text, {"seed", std::to_string(scenario.seed)});
    }
    if (scenario.association_seconds != usual.association_seconds) {
        line_add(text, {"association-time", std::to_string(scenario.association_seconds)});
    }
    if (scenario.boot_seconds != usual.boot_seconds) {
        line_add(text, {"boot-time", std::to_string(scenario.boot_seconds)});
    }
    if (scenario.island_seconds != usual.island_seconds) {
        line_add(text, {"island-time", std::to_string(scenario.island_seconds)});
    }
    if (scenario.channels != usual.channels) {
        std::vector<std::string> words = {"channels"};
        for (const int channel : scenario.channels) {
            words.push_back(std::to_string(channel));
        }
        line_add(text, words);
    }
}

void interface_add(std::string* text, const std::string& node, const ScenarioInterface& interface) {
    line_add(text, {"interface", node, interface.name, interface.type, interface.band,
                    std::to_string(interface.priority), std::to_string(interface.follow)});
}

// Names of the usual interfaces that the node lacks.
std::vector<std::string> lacking(const ScenarioNode& node) {
    std::vector<std::string> names;
    for (const ScenarioInterface& usual : default_interfaces()) {
        if (scenario_interface_find(node, usual.name) == nullptr) {
            names.push_back(usual.name);
        }
    }
    return names;
}

const ScenarioInterface* usual_find(const std::string& name) {
    const auto usual = default_interfaces();
    const auto found =
        std::find_if(usual.begin(), usual.end(), [&name](const auto& i) { return i.name == name; });
    return found == usual.end() ? nullptr : &*found;
}

// Whether the usual interfaces that the node has come first and in their usual order, so that
// naming the differences is enough.
bool order_is_usual(const ScenarioNode& node) {
    std::vector<std::string> expected;
    for (const ScenarioInterface& usual : default_interfaces()) {
        if (scenario_interface_find(node, usual.name) != nullptr) {
            expected.push_back(usual.name);
        }
    }
    return expected.size() <= node.interfaces.size() &&
           std::equal(expected.begin(), expected.end(), node.interfaces.begin(),
                      [](const std::string& name, const auto& i) { return i.name == name; });
}

void interfaces_add(std::string* text, const ScenarioNode& node) {
    const bool by_difference = order_is_usual(node);
    std::vector<std::string> without = {"without", node.name};
    if (by_difference) {
        const std::vector<std::string> names = lacking(node);
        without.insert(without.end(), names.begin(), names.end());
    } else {
        without.emplace_back("all");
    }
    if (without.size() > 2) {
        line_add(text, without);
    }
    for (const ScenarioInterface& interface : node.interfaces) {
        const ScenarioInterface* const usual = usual_find(interface.name);
        if (!by_difference || usual == nullptr || *usual != interface) {
            interface_add(text, node.name, interface);
        }
    }
}

void node_add(std::string* text, const ScenarioNode& node) {
    line_add(text, {"node", node.name, node.role == NodeRole::root ? "root" : "extender"});
    if (node.options != default_options()) {
        std::vector<std::string> words = {"options", node.name};
        words.insert(words.end(), node.options.begin(), node.options.end());
        line_add(text, words);
    }
    interfaces_add(text, node);
    if (!node.unconfigured.empty()) {
        std::vector<std::string> words = {"unconfigured", node.name};
        words.insert(words.end(), node.unconfigured.begin(), node.unconfigured.end());
        line_add(text, words);
    }
    if (!node.approved) {
        line_add(text, {"unapproved", node.name});
    }
    for (const auto& [key, value] : node.uci) {
        line_add(text, {"uci", node.name, key, value});
    }
}

}  // namespace

std::string scenario_print(const Scenario& scenario) {
    std::string text;
    head_add(&text, scenario);
    for (const ScenarioNode& node : scenario.nodes) {
        node_add(&text, node);
    }
    for (const ScenarioHearing& hearing : scenario.hearings) {
        std::vector<std::string> words = {"hears", hearing.a, hearing.b,
                                          signal_print(hearing.signal)};
        if (!hearing.band.empty()) {
            words.push_back(hearing.band);
        }
        line_add(&text, words);
    }
    for (const auto& [node, peer] : scenario.cables) {
        line_add(&text, {"cable", node, peer});
    }
    return text + steps_print(scenario.steps);
}

}  // namespace lab
