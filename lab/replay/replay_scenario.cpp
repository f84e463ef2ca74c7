#include "lab/replay/replay_scenario.h"

#include <algorithm>
#include <cctype>

#include "lab/scenario/scenario_defaults.h"

namespace lab {
namespace {

constexpr int SIGNAL_TO_ROOT = -55;
constexpr int SIGNAL_BETWEEN = -65;
// A station that is only thrown off is back by then.
constexpr int LONGEST_RETURN = 20;
constexpr std::string_view ROOT_NAME = "root";

// As a scenario may name a node.
std::string plain_name(const std::string& name) {
    std::string plain = name.substr(0, LONGEST_NODE_NAME);
    for (char& letter : plain) {
        letter =
            std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '-' ? letter : '_';
    }
    return plain;
}

struct TimedVerb {
    std::int64_t time = 0;
    Verb verb;
};

class Verbs {
public:
    Verbs(const Scenario& scenario, std::int64_t began) : scenario_(scenario), began_(began) {}

    void log_add(const ReplayLog& log, const ScenarioNode& node) {
        node_ = &node;
        for (std::size_t at = 0; at < log.lines.size(); ++at) {
            const ReplayLine& line = log.lines[at];
            switch (line.input.kind) {
                case InputKind::power:
                    power(log, at);
                    break;
                case InputKind::station_lost:
                    lost(log, at);
                    break;
                case InputKind::channel:
                    add(line.time, VerbKind::radar).number = 1;
                    break;
                case InputKind::command:
                    command(line);
                    break;
                case InputKind::worker_killed:
                    add(line.time, VerbKind::kill_worker).number = line.input.number;
                    break;
                case InputKind::none:
                case InputKind::station_joined:
                case InputKind::client_joined:
                case InputKind::client_left:
                case InputKind::client_reason:
                case InputKind::message:
                    // The other nodes of the mesh bring these about.
                    break;
            }
        }
    }

    std::vector<ScenarioStep> steps(std::int64_t ends) {
        std::ranges::stable_sort(verbs_, {}, &TimedVerb::time);
        std::vector<ScenarioStep> steps;
        std::int64_t now = 0;
        for (const TimedVerb& timed : verbs_) {
            ScenarioStep& step = steps.emplace_back();
            step.verb = timed.verb;
            step.after = static_cast<int>(timed.time - now);
            now = timed.time;
        }
        ScenarioStep& wait = steps.emplace_back();
        wait.kind = StepKind::wait;
        wait.after = static_cast<int>(ends - began_ - now);
        return steps;
    }

private:
    Verb& add(std::int64_t time, VerbKind kind) {
        verbs_.push_back({std::max<std::int64_t>(time - began_, 0), {}});
        Verb& verb = verbs_.back().verb;
        verb.kind = kind;
        verb.node = node_->name;
        return verb;
    }

    // Nodes of a mesh start with it; a boot takes its time.
    void power(const ReplayLog& log, std::size_t at) {
        const std::int64_t on = log.lines[at].time - scenario_.boot_seconds;
        if (at > 0) {
            add(std::max(on, log.lines[at - 1].time), VerbKind::reboot);
        } else if (on > began_) {
            add(began_, VerbKind::power_off);
            add(on, VerbKind::power_on);
        }
    }

    void lost(const ReplayLog& log, std::size_t at) {
        const ReplayLine& line = log.lines[at];
        const ScenarioInterface* const station =
            scenario_interface_find(*node_, line.input.interface);
        if (station == nullptr) {
            return;
        }
        const auto back = std::find_if(log.lines.begin() + static_cast<std::ptrdiff_t>(at),
                                       log.lines.end(), [&](const ReplayLine& later) {
                                           return later.input.kind == InputKind::power ||
                                                  (later.input.kind == InputKind::station_joined &&
                                                   later.input.interface == station->name);
                                       });
        if (back != log.lines.end() && back->time - line.time <= LONGEST_RETURN) {
            add(line.time, VerbKind::deauth).interface = station->name;
            return;
        }
        fade(line.time, *station, true);
        if (back != log.lines.end()) {
            fade(back->time - scenario_.association_seconds, *station, false);
        }
    }

    void fade(std::int64_t time, const ScenarioInterface& station, bool away) {
        for (const ScenarioHearing& hearing : scenario_.hearings) {
            if (hearing.a == node_->name || hearing.b == node_->name) {
                Verb& verb = add(time, VerbKind::fade);
                verb.peer = hearing.a == node_->name ? hearing.b : hearing.a;
                verb.number = away ? SIGNAL_NONE : hearing.signal;
                verb.word = station.band;
            }
        }
    }

    void command(const ReplayLine& line) {
        const std::string& word = line.input.word;
        if (word == "eth_detect" || word == "eth_lost") {
            // A root's own cable leads nowhere.
            if (node_->role == NodeRole::extender) {
                add(line.time, word == "eth_detect" ? VerbKind::cable_in : VerbKind::cable_out);
            }
        } else if (word == "master" || word == "slave") {
            add(line.time, VerbKind::role).word = word == "master" ? "root" : "extender";
        } else {
            add(line.time, VerbKind::command).word = word;
        }
    }

    const Scenario& scenario_;
    const std::int64_t began_;
    const ScenarioNode* node_ = nullptr;
    std::vector<TimedVerb> verbs_;
};

// The usual router, with what its log shows besides.
ScenarioNode node_of(const ReplayLog& log) {
    const ScenarioNode seen = replay_setup(log).node;
    ScenarioNode node = default_node(plain_name(log.node), seen.role);
    node.options = seen.options;
    for (const ScenarioInterface& interface : seen.interfaces) {
        if (scenario_interface_find(node, interface.name) == nullptr) {
            node.interfaces.push_back(interface);
        }
    }
    return node;
}

// Roots first: a file names nodes before it says who hears them.
void nodes_add(std::span<const ReplayLog> logs, Scenario& scenario) {
    for (const ReplayLog& log : logs) {
        scenario.nodes.push_back(node_of(log));
    }
    std::ranges::stable_sort(scenario.nodes, {}, &ScenarioNode::role);
    if (scenario.nodes.empty() || scenario.nodes.front().role != NodeRole::root) {
        const std::string free = scenario_node_find(scenario, ROOT_NAME) == nullptr
                                     ? std::string(ROOT_NAME)
                                     : std::string(ROOT_NAME) + "-above";
        scenario.nodes.insert(scenario.nodes.begin(), default_node(free, NodeRole::root));
    }
    for (std::size_t a = 0; a < scenario.nodes.size(); ++a) {
        for (std::size_t b = a + 1; b < scenario.nodes.size(); ++b) {
            const bool to_root = scenario.nodes[a].role == NodeRole::root;
            scenario.hearings.push_back({scenario.nodes[a].name,
                                         scenario.nodes[b].name,
                                         to_root ? SIGNAL_TO_ROOT : SIGNAL_BETWEEN,
                                         {}});
        }
    }
}

}  // namespace

Scenario replay_scenario(std::span<const ReplayLog> logs) {
    Scenario scenario;
    std::int64_t began = INT64_MAX;
    std::int64_t ends = 0;
    for (const ReplayLog& log : logs) {
        if (!log.lines.empty()) {
            began = std::min(began, log.lines.front().time);
            ends = std::max(ends, log.lines.back().time);
        }
    }
    nodes_add(logs, scenario);
    Verbs verbs(scenario, began);
    for (const ReplayLog& log : logs) {
        verbs.log_add(log, *scenario_node_find(scenario, plain_name(log.node)));
    }
    scenario.steps = verbs.steps(ends);
    return scenario;
}

}  // namespace lab
