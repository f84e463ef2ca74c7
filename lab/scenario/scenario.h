// A scenario: a mesh of stand-in routers, what happens to it, and what is expected of it.
//
// Plain values. scenario_parse reads them from a small text file, scenario_print writes them as
// one, the generators of scenario_generate.h make them, and the lab plays them: the nodes and who
// hears whom first, then the steps one after the other. Nothing here knows of files or processes.
//
// Seconds are those of the mesh's own (moved or real) clock. Signals are dBm at 5 GHz. What a text
// may say is listed by statement_table, step_table, verb_table and condition_table.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/rules/islands.h"
#include "lab/sandbox/limits.h"
#include "lab/scenario/condition.h"
#include "lab/scenario/verb.h"

namespace lab {

enum class NodeRole {
    root,
    extender,
};

// One line of a node's interface profile.
struct ScenarioInterface {
    std::string name;
    std::string type;  // as the profile has it: "BACKHAUL_STA"
    std::string band;  // "2", "5", "5h", "5l", or "-" for an interface without a radio
    int priority = 0;  // 0..65535
    int follow = 0;    // 0..255

    bool operator==(const ScenarioInterface&) const = default;
};

struct ScenarioNode {
    std::string name;
    NodeRole role = NodeRole::extender;
    std::vector<std::string> options;           // daemon options besides -m
    std::vector<ScenarioInterface> interfaces;  // in the order of the profile
    bool approved = true;                       // on the root's approval list from the start
    std::vector<std::string> unconfigured;      // stations without SSID and key at the start
    std::vector<std::pair<std::string, std::string>> uci;  // further or other store entries

    bool operator==(const ScenarioNode&) const = default;
};

// Both nodes hear each other. `band` is empty for all bands, else "2", "5h" or "5l".
struct ScenarioHearing {
    std::string a;
    std::string b;
    int signal = 0;
    std::string band;

    bool operator==(const ScenarioHearing&) const = default;
};

enum class StepKind {
    verb,        // do it
    wait,        // let `after` seconds pass
    wait_until,  // let time pass until the condition holds; when it never does, the run ends
    expect,      // the same, but a condition that fails is reported and the run goes on
    always,      // the condition holds from here to a mark; where it breaks is reported
    never,       // it holds for no node that it names
    mark,        // `text` is the name of this moment
    remember,    // `text` is the name of what the node has now
    chapter,     // `text` heads what follows, where a run is told
    say,         // `text` is told
};

struct ScenarioStep {
    StepKind kind = StepKind::verb;
    int after = 0;        // seconds to let pass first
    int within = 0;       // how long a condition may take; 0: it holds at once
    int lasting = 0;      // how long it has to hold from the first moment on (EXPECT)
    Verb verb;            // of VERB
    bool joined = false;  // VERB: in the same moment as the verb before it
    Condition condition;  // of WAIT_UNTIL, EXPECT, ALWAYS, NEVER; what REMEMBER asks
    std::string text;     // of CHAPTER and SAY; name of MARK and REMEMBER
    std::string until;    // mark that ends ALWAYS and NEVER; empty: the last step does
    // Of a step that uses remembered values ("$up"): what is read when its turn comes. All above
    // but `after` is then only an example.
    std::vector<std::string> words;
    int line = 0;      // in the file it came from, 0: none
    std::string file;  // that was included; empty: the scenario's own

    // Where it was written makes no difference.
    bool operator==(const ScenarioStep& other) const;
};

inline constexpr int DEFAULT_ASSOCIATION_SECONDS = 2;
inline constexpr int DEFAULT_BOOT_SECONDS = 20;
inline constexpr int DEFAULT_WAIT_SECONDS = 300;  // of a wait-until without "within"
inline constexpr std::size_t LONGEST_NODE_NAME = 32;
inline constexpr std::size_t MOST_STEPS = 300000;

// What the lines above have named, for those below. Two scenarios are the same without it.
struct ScenarioNames {
    std::set<std::string> marks;
    std::map<std::string, ConditionKind> values;  // what was remembered
    std::map<std::string, std::vector<std::string>> groups;

    bool operator==(const ScenarioNames& /*other*/) const {
        return true;
    }
};

struct Scenario {
    std::string title;
    std::string ssid = "lab-backhaul";
    std::string key = "twelve-frogs-sing";
    std::uint32_t seed = 1;
    int association_seconds = DEFAULT_ASSOCIATION_SECONDS;  // from searching to associated
    int boot_seconds = DEFAULT_BOOT_SECONDS;                // from power to the daemon's start
    int island_seconds = DEFAULT_ISLAND_SECONDS;       // ready without a root for longer: an island
    std::vector<int> channels = {100, 116, 132, 140};  // of the upper 5 GHz radio
    std::vector<ScenarioNode> nodes;
    std::vector<ScenarioHearing> hearings;
    std::vector<std::pair<std::string, std::string>> cables;  // plugged in from the start
    std::vector<ScenarioStep> steps;
    ScenarioNames names;

    bool operator==(const Scenario&) const = default;
};

// The node or interface of that name, or null.
const ScenarioNode* scenario_node_find(const Scenario& scenario, std::string_view name);
ScenarioNode* scenario_node_find(Scenario* scenario, std::string_view name);
const ScenarioInterface* scenario_interface_find(const ScenarioNode& node, std::string_view name);

// Where a condition that was looked at stands, `waited` seconds after the step's turn came.
enum class ConditionFate { pending, held, failed };
ConditionFate condition_fate(const ScenarioStep& step, bool holds, std::int64_t waited);

}  // namespace lab
