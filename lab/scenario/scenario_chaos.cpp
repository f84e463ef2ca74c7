#include "lab/scenario/scenario_chaos.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <map>
#include <random>

namespace lab {
namespace {

constexpr int FADED = -95;
constexpr int LAST_WAIT = 1800;

struct TimedVerb {
    int at = 0;
    Verb verb;
};

struct Weight {
    VerbKind kind;
    int weight;
};

// What happens, and how often.
constexpr std::array WEIGHTS = {
    Weight{VerbKind::DEAUTH, 20},   Weight{VerbKind::AP_OFF, 12},
    Weight{VerbKind::FADE, 12},     Weight{VerbKind::CABLE_IN, 8},
    Weight{VerbKind::RADAR, 5},     Weight{VerbKind::REBOOT, 6},
    Weight{VerbKind::POWER_OFF, 4}, Weight{VerbKind::KILL_WORKER, 8},
    Weight{VerbKind::KILL_TOOL, 8}, Weight{VerbKind::DROP_MESSAGES, 5},
    Weight{VerbKind::REVOKE, 4},    Weight{VerbKind::COMMAND, 8},
};

struct Ending {
    VerbKind begin;
    VerbKind end;
};

constexpr std::array ENDINGS = {
    Ending{VerbKind::AP_OFF, VerbKind::AP_ON},
    Ending{VerbKind::CABLE_IN, VerbKind::CABLE_OUT},
    Ending{VerbKind::POWER_OFF, VerbKind::POWER_ON},
    Ending{VerbKind::REVOKE, VerbKind::APPROVE},
    Ending{VerbKind::RADAR, VerbKind::CLEAR_RADAR},
};

class Chaos {
public:
    Chaos(const Scenario& scenario, const ChaosOptions& options)
        : scenario_(scenario), options_(options), random_(options.seed) {}

    std::vector<TimedVerb> verbs() {
        for (int at = below(options_.mean_pause); at < options_.seconds;
             at += 1 + below(2 * options_.mean_pause)) {
            disturb(at);
        }
        std::stable_sort(timed_.begin(), timed_.end(),
                         [](const TimedVerb& a, const TimedVerb& b) { return a.at < b.at; });
        return timed_;
    }

private:
    // 0 .. limit - 1; the standard distributions differ between libraries.
    int below(int limit) {
        return static_cast<int>(random_() % static_cast<std::uint32_t>(std::max(limit, 1)));
    }

    int pick_kind() {
        int total = 0;
        for (const Weight& row : WEIGHTS) {
            total += row.weight;
        }
        int left = below(total);
        std::size_t at = 0;
        while (left >= WEIGHTS[at].weight) {
            left -= WEIGHTS[at++].weight;
        }
        return static_cast<int>(at);
    }

    void disturb(int at) {
        const VerbKind kind = WEIGHTS[static_cast<std::size_t>(pick_kind())].kind;
        const ScenarioNode& node =
            scenario_
                .nodes[static_cast<std::size_t>(below(static_cast<int>(scenario_.nodes.size())))];
        const int length = 1 + below(options_.longest_trouble);
        int& busy = busy_until_[{node.name, kind}];
        int& powerless = busy_until_[{node.name, VerbKind::POWER_OFF}];
        if (at < busy || at < powerless || !fits(kind, node)) {
            return;
        }
        busy = at + length + scenario_.boot_seconds + 1;
        Verb verb;
        verb.kind = kind;
        verb.node = node.name;
        if (kind == VerbKind::REBOOT) {
            powerless = at + scenario_.boot_seconds + 1;
        }
        complete(&verb, at, length);
    }

    static bool fits(VerbKind kind, const ScenarioNode& node) {
        const bool only_extenders =
            kind == VerbKind::DEAUTH || kind == VerbKind::CABLE_IN || kind == VerbKind::REVOKE;
        return !only_extenders || node.role == NodeRole::EXTENDER;
    }

    void add(int at, const Verb& verb) {
        timed_.push_back({at, verb});
    }

    // Adds the verb with its particulars, and its end where it has one.
    void complete(Verb* verb, int at, int length) {
        if (verb->kind == VerbKind::FADE) {
            fade(*verb, at, length);
            return;
        }
        if (verb->kind == VerbKind::RADAR) {
            verb->number = 1 + below(3);
        } else if (verb->kind == VerbKind::KILL_WORKER) {
            verb->number = below(2) == 0 ? SIGKILL : SIGSEGV;
        } else if (verb->kind == VerbKind::KILL_TOOL) {
            kill_tool(verb, length);
        } else if (verb->kind == VerbKind::DROP_MESSAGES) {
            verb->seconds = length;
        } else if (verb->kind == VerbKind::COMMAND) {
            verb->word = below(2) == 0 ? "uplink_scan" : "network_reload";
        }
        add(at, *verb);
        for (const Ending& ending : ENDINGS) {
            if (ending.begin == verb->kind) {
                verb->kind = ending.end;
                verb->number = 0;
                add(at + length, *verb);
                return;
            }
        }
    }

    // Fades one of the node's hearings and sets it back.
    void fade(Verb verb, int at, int length) {
        std::vector<const ScenarioHearing*> hearings;
        for (const ScenarioHearing& hearing : scenario_.hearings) {
            if (hearing.a == verb.node || hearing.b == verb.node) {
                hearings.push_back(&hearing);
            }
        }
        if (hearings.empty()) {
            return;
        }
        const ScenarioHearing& hearing =
            *hearings[static_cast<std::size_t>(below(static_cast<int>(hearings.size())))];
        verb.peer = hearing.a == verb.node ? hearing.b : hearing.a;
        verb.word = hearing.band;
        verb.number = FADED;
        add(at, verb);
        verb.number = hearing.signal;
        add(at + length, verb);
    }

    void kill_tool(Verb* verb, int length) {
        const int which = below(3);
        verb->word = which == 0 ? TOOL_HYD : which == 1 ? TOOL_SUPPLICANT : TOOL_AGENT;
        if (which == 1) {
            verb->times = below(2) == 0 ? 0 : 1 + below(4);
        } else if (which == 2) {
            verb->seconds = length;
        }
    }

    const Scenario& scenario_;
    const ChaosOptions& options_;
    std::mt19937 random_;
    std::map<std::pair<std::string, VerbKind>, int> busy_until_;
    std::vector<TimedVerb> timed_;
};

}  // namespace

Scenario scenario_chaos(Scenario scenario, const ChaosOptions& options) {
    scenario.seed = options.seed;
    scenario.steps.clear();
    int now = -options.settle;
    for (const TimedVerb& timed : Chaos(scenario, options).verbs()) {
        ScenarioStep step;
        step.kind = StepKind::VERB;
        step.after = timed.at - now;
        step.verb = timed.verb;
        scenario.steps.push_back(step);
        now = timed.at;
    }
    ScenarioStep last;
    last.kind = StepKind::EXPECT;
    last.after = std::max(options.seconds - now, 0) + options.settle;
    last.within = LAST_WAIT;
    last.condition.kind = ConditionKind::STATUS;
    last.condition.node = ALL_NODES;
    last.condition.text = "ready";
    scenario.steps.push_back(last);
    return scenario;
}

}  // namespace lab
