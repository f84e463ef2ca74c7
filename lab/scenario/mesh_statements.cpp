// Statements about the mesh as a whole: names, times, shapes, who hears whom.
#include <algorithm>
#include <array>

#include "lab/scenario/scenario_check.h"
#include "lab/scenario/scenario_defaults.h"
#include "lab/scenario/scenario_generate.h"
#include "lab/scenario/statements.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

using Words = std::span<const std::string>;  // of a statement, its name left out

constexpr int MOST_SECONDS = 100000;

bool name_is_free(const Scenario& scenario, const std::string& name, std::string& error) {
    constexpr std::array RESERVED = {"all", "rule", "none", "and", "then"};
    if (!word_is_name(name) ||
        std::find(RESERVED.begin(), RESERVED.end(), name) != RESERVED.end()) {
        error = "`" + name + "` cannot be a node's name: use letters, digits, - and _";
        return false;
    }
    if (name.size() > LONGEST_NODE_NAME) {
        error = "a node's name has at most " + std::to_string(LONGEST_NODE_NAME) + " letters";
        return false;
    }
    const bool is_group = scenario.names.groups.contains(name);
    if (is_group || scenario_node_find(scenario, name) != nullptr) {
        error =
            std::string("there is a ") + (is_group ? "group" : "node") + " `" + name + "` already";
        return false;
    }
    if (scenario.nodes.size() >= MOST_NODES) {
        error = "a mesh has at most " + std::to_string(MOST_NODES) + " nodes";
        return false;
    }
    return true;
}

bool shape_read(const std::string& shape, Words words, Scenario* scenario, std::string& error) {
    Scenario made;
    if (!scenario_generate(shape, words, &made, error)) {
        return false;
    }
    for (const ScenarioNode& node : made.nodes) {
        if (!name_is_free(*scenario, node.name, error)) {
            return false;
        }
    }
    scenario->nodes.insert(scenario->nodes.end(), made.nodes.begin(), made.nodes.end());
    scenario->hearings.insert(scenario->hearings.end(), made.hearings.begin(), made.hearings.end());
    return true;
}

}  // namespace

bool title_read(Words words, Scenario* scenario, std::string& /*error*/) {
    scenario->title = words_joined(words);
    return !words.empty();
}

bool mesh_read(Words words, Scenario* scenario, std::string& error) {
    constexpr std::size_t LONGEST_SSID = 32;
    constexpr std::size_t SHORTEST_KEY = 8;
    constexpr std::size_t LONGEST_KEY = 63;
    if (words.size() != 2) {
        return false;
    }
    if (words[0].empty() || words[0].size() > LONGEST_SSID) {
        error = "an SSID has 1 to 32 characters";
        return false;
    }
    if (words[1].size() < SHORTEST_KEY || words[1].size() > LONGEST_KEY) {
        error = "a key has 8 to 63 characters";
        return false;
    }
    scenario->ssid = words[0];
    scenario->key = words[1];
    return true;
}

bool seed_read(Words words, Scenario* scenario, std::string& error) {
    std::int64_t seed = 0;
    if (words.size() != 1) {
        return false;
    }
    if (!word_number(words[0], 0, std::int64_t{UINT32_MAX}, &seed)) {
        error = "`" + words[0] + "` is no seed from 0 to " + std::to_string(UINT32_MAX);
        return false;
    }
    scenario->seed = static_cast<std::uint32_t>(seed);
    return true;
}

bool association_read(Words words, Scenario* scenario, std::string& error) {
    return words.size() == 1 && number_read(words[0], "number of seconds", 0, MOST_SECONDS,
                                            &scenario->association_seconds, error);
}

bool boot_read(Words words, Scenario* scenario, std::string& error) {
    return words.size() == 1 && number_read(words[0], "number of seconds", 0, MOST_SECONDS,
                                            &scenario->boot_seconds, error);
}

bool island_read(Words words, Scenario* scenario, std::string& error) {
    return words.size() == 1 && number_read(words[0], "number of seconds", 1, MOST_SECONDS,
                                            &scenario->island_seconds, error);
}

bool channels_read(Words words, Scenario* scenario, std::string& error) {
    std::vector<int> channels;
    for (const std::string& word : words) {
        int channel = 0;
        if (!number_read(word, "channel", 1, LAST_CHANNEL, &channel, error)) {
            return false;
        }
        channels.push_back(channel);
    }
    scenario->channels = channels;
    return !channels.empty();
}

bool node_read(Words words, Scenario* scenario, std::string& error) {
    if (words.size() != 2) {
        return false;
    }
    if (words[1] != "root" && words[1] != "extender") {
        error = unknown_word(words[1], "role", std::vector<std::string>{"root", "extender"});
        return false;
    }
    if (!name_is_free(*scenario, words[0], error)) {
        return false;
    }
    const NodeRole role = words[1] == "root" ? NodeRole::root : NodeRole::extender;
    scenario->nodes.push_back(default_node(words[0], role));
    return true;
}

bool line_read(Words words, Scenario* scenario, std::string& error) {
    return shape_read("line", words, scenario, error);
}

bool star_read(Words words, Scenario* scenario, std::string& error) {
    return shape_read("star", words, scenario, error);
}

bool tree_read(Words words, Scenario* scenario, std::string& error) {
    return shape_read("tree", words, scenario, error);
}

bool grid_read(Words words, Scenario* scenario, std::string& error) {
    return shape_read("grid", words, scenario, error);
}

bool group_read(Words words, Scenario* scenario, std::string& error) {
    std::vector<std::string> nodes;
    if (words.size() < 2 || !name_is_free(*scenario, words[0], error) ||
        !scenario_group_nodes(*scenario, words.subspan(1), &nodes, error)) {
        return false;
    }
    scenario->names.groups[words[0]] = nodes;
    return true;
}

bool include_read(Words words, Scenario* /*scenario*/, std::string& error) {
    if (words.size() == 1) {
        error = "only a scenario in a file includes others";
    }
    return false;
}

bool hears_read(Words words, Scenario* scenario, std::string& error) {
    ScenarioHearing hearing;
    if (words.size() < 3 || words.size() > 4 || !signal_read(words[2], &hearing.signal, error)) {
        return false;
    }
    if (!scenario_node_check(*scenario, words[0], error) ||
        !scenario_node_check(*scenario, words[1], error)) {
        return false;
    }
    hearing.a = words[0];
    hearing.b = words[1];
    hearing.band = words.size() == 4 ? words[3] : "";
    if (words.size() == 4 && words[3] != "2" && words[3] != "5h" && words[3] != "5l") {
        error = "`" + words[3] + "` is no band that may differ: say 2, 5h or 5l";
        return false;
    }
    if (hearing.a == hearing.b) {
        error = "`" + hearing.a + "` is on both ends";
        return false;
    }
    scenario->hearings.push_back(hearing);
    return true;
}

bool cable_read(Words words, Scenario* scenario, std::string& error) {
    if (words.size() != 2) {
        return false;
    }
    Verb verb;
    verb.kind = VerbKind::cable_in;
    verb.node = words[0];
    verb.peer = words[1];
    if (!scenario_verb_check(*scenario, verb, error)) {
        return false;
    }
    scenario->cables.emplace_back(words[0], words[1]);
    return true;
}

}  // namespace lab
