#include "lab/scenario/scenario_chaos.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <iterator>
#include <map>
#include <random>

#include "lab/scenario/scenario_generate.h"

namespace lab {
namespace {

constexpr int UNHEARD = -120;  // on every band less than any station joins with
constexpr int LAST_WAIT = 1800;
// A station gives up after 180 s; its backup and a loop below it take as long again.
constexpr int LONG_ENOUGH = 360;
constexpr std::string_view PREFERRED_BAND = "5h";

struct TimedVerb {
    int at = 0;
    Verb verb;
};

// What happens: a verb with its end, or more than one at once.
enum class Trouble {
    deauth,
    ap_off,
    cut,     // a node and one that it hears, on all bands
    deafen,  // a node hears nobody on the band of its preferred station
    strand,  // a node deafened so hears only one that hears nobody else, and hangs above it
    cable_in,
    radar,
    reboot,
    power_off,
    kill_worker,
    kill_tool,
    drop_messages,
    revoke,
    command,
};

struct Weight {
    Trouble trouble;
    std::string_view name;
    int weight;  // unless others were asked for
    VerbKind kind;
};

constexpr std::array WEIGHTS = {
    Weight{Trouble::deauth, "deauth", 20, VerbKind::deauth},
    Weight{Trouble::ap_off, "ap-off", 12, VerbKind::ap_off},
    Weight{Trouble::cut, "cut", 10, VerbKind::fade},
    Weight{Trouble::deafen, "deafen", 10, VerbKind::fade},
    Weight{Trouble::strand, "strand", 10, VerbKind::fade},
    Weight{Trouble::cable_in, "cable-in", 8, VerbKind::cable_in},
    Weight{Trouble::radar, "radar", 5, VerbKind::radar},
    Weight{Trouble::reboot, "reboot", 6, VerbKind::reboot},
    Weight{Trouble::power_off, "power-off", 4, VerbKind::power_off},
    Weight{Trouble::kill_worker, "kill-worker", 8, VerbKind::kill_worker},
    Weight{Trouble::kill_tool, "kill-tool", 8, VerbKind::kill_tool},
    Weight{Trouble::drop_messages, "drop-messages", 5, VerbKind::drop_messages},
    Weight{Trouble::revoke, "revoke", 4, VerbKind::revoke},
    Weight{Trouble::command, "command", 8, VerbKind::command},
};

// What makes a daemon show most of what it can: these come first, and soon.
constexpr std::array FIRST = {Trouble::deauth, Trouble::deafen, Trouble::strand};

struct Ending {
    VerbKind begin;
    VerbKind end;
};

constexpr std::array ENDINGS = {
    Ending{VerbKind::ap_off, VerbKind::ap_on},
    Ending{VerbKind::cable_in, VerbKind::cable_out},
    Ending{VerbKind::power_off, VerbKind::power_on},
    Ending{VerbKind::revoke, VerbKind::approve},
    Ending{VerbKind::radar, VerbKind::clear_radar},
};

class Chaos {
public:
    Chaos(const Scenario& scenario, const ChaosOptions& options)
        : scenario_(scenario), options_(options), random_(options.seed) {
        std::ranges::copy_if(FIRST, std::back_inserter(first_), [this](Trouble trouble) {
            return weight_in_use(weight_of(trouble)) > 0;
        });
    }

    std::vector<TimedVerb> verbs() {
        std::size_t count = 0;
        for (int at = below(options_.mean_pause); at < options_.seconds;
             at += 1 + below(2 * options_.mean_pause)) {
            disturb(at, weight_of(count < first_.size() ? first_[count] : pick()));
            ++count;
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

    static const Weight& weight_of(Trouble trouble) {
        return *std::ranges::find(WEIGHTS, trouble, &Weight::trouble);
    }

    int weight_in_use(const Weight& row) const {
        if (options_.weights.empty()) {
            return row.weight;
        }
        const auto found = options_.weights.find(row.name);
        return found == options_.weights.end() ? 0 : found->second;
    }

    Trouble pick() {
        int total = 0;
        for (const Weight& row : WEIGHTS) {
            total += weight_in_use(row);
        }
        int left = below(total);
        for (const Weight& row : WEIGHTS) {
            left -= weight_in_use(row);
            if (left < 0) {
                return row.trouble;
            }
        }
        // Nothing has any weight.
        return Trouble::deauth;
    }

    const ScenarioNode& any_node() {
        const int count = static_cast<int>(scenario_.nodes.size());
        return scenario_.nodes[static_cast<std::size_t>(below(count))];
    }

    void disturb(int at, const Weight& weight) {
        constexpr int TRIES = 8;  // for a node that is not busy with the like
        for (int tried = 0; tried < TRIES; ++tried) {
            const ScenarioNode& node = any_node();
            int& busy = busy_until_[{node.name, weight.kind}];
            int& powerless = busy_until_[{node.name, VerbKind::power_off}];
            if (at < busy || at < powerless || !fits(weight.kind, node)) {
                continue;
            }
            const int random_length = 1 + below(options_.longest_trouble);
            const bool is_deaf =
                weight.trouble == Trouble::deafen || weight.trouble == Trouble::strand;
            const int length = is_deaf ? LONG_ENOUGH + random_length / 2 : random_length;
            busy = at + length + scenario_.boot_seconds + 1;
            if (weight.kind == VerbKind::reboot) {
                powerless = at + scenario_.boot_seconds + 1;
            }
            begin(weight, node.name, at, length);
            return;
        }
    }

    static bool fits(VerbKind kind, const ScenarioNode& node) {
        const bool only_extenders = kind == VerbKind::deauth || kind == VerbKind::cable_in ||
                                    kind == VerbKind::revoke || kind == VerbKind::fade;
        return !only_extenders || node.role == NodeRole::extender;
    }

    void add(int at, const Verb& verb) {
        timed_.push_back({at, verb});
    }

    void begin(const Weight& weight, const std::string& node, int at, int length) {
        Verb verb;
        verb.kind = weight.kind;
        verb.node = node;
        if (weight.kind == VerbKind::fade) {
            fades(weight.trouble, node, at, length);
        } else {
            complete(&verb, at, length);
        }
    }

    // Adds the verb with its particulars, and its end where it has one.
    void complete(Verb* verb, int at, int length) {
        if (verb->kind == VerbKind::radar) {
            verb->number = 1 + below(3);
        } else if (verb->kind == VerbKind::kill_worker) {
            verb->number = below(2) == 0 ? SIGKILL : SIGSEGV;
        } else if (verb->kind == VerbKind::kill_tool) {
            kill_tool(verb, length);
        } else if (verb->kind == VerbKind::drop_messages) {
            verb->seconds = length;
        } else if (verb->kind == VerbKind::command) {
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

    std::vector<const ScenarioHearing*> hearings_of(const std::string& node) const {
        std::vector<const ScenarioHearing*> hearings;
        for (const ScenarioHearing& hearing : scenario_.hearings) {
            if (hearing.a == node || hearing.b == node) {
                hearings.push_back(&hearing);
            }
        }
        return hearings;
    }

    static const std::string& peer_of(const ScenarioHearing& hearing, const std::string& node) {
        return hearing.a == node ? hearing.b : hearing.a;
    }

    // Cuts the link of the two on the band (all when it is empty) and sets it back.
    void cut(const ScenarioHearing& hearing, const std::string& node, std::string_view band, int at,
             int length) {
        Verb verb;
        verb.kind = VerbKind::fade;
        verb.node = node;
        verb.peer = peer_of(hearing, node);
        verb.word = hearing.band.empty() ? band : hearing.band;
        verb.number = UNHEARD;
        add(at, verb);
        verb.word = hearing.band;
        verb.number = hearing.signal;
        add(at + length, verb);
    }

    // The node that hears only `node` from now on; null where there is none.
    const ScenarioHearing* stranded_pick(const std::string& node) {
        std::vector<const ScenarioHearing*> hearings = hearings_of(node);
        std::erase_if(hearings, [this, &node](const ScenarioHearing* hearing) {
            return scenario_node_find(scenario_, peer_of(*hearing, node))->role == NodeRole::root;
        });
        return hearings.empty() ? nullptr : one_of(hearings);
    }

    const ScenarioHearing* one_of(const std::vector<const ScenarioHearing*>& hearings) {
        return hearings[static_cast<std::size_t>(below(static_cast<int>(hearings.size())))];
    }

    void fades(Trouble trouble, const std::string& node, int at, int length) {
        const std::vector<const ScenarioHearing*> hearings = hearings_of(node);
        if (hearings.empty()) {
            return;
        }
        if (trouble == Trouble::cut) {
            cut(*one_of(hearings), node, "", at, length);
            return;
        }
        const ScenarioHearing* const kept =
            trouble == Trouble::strand ? stranded_pick(node) : nullptr;
        for (const ScenarioHearing* hearing : hearings) {
            if (hearing != kept) {
                cut(*hearing, node, PREFERRED_BAND, at, length);
            }
        }
        const std::string below_it = kept == nullptr ? "" : peer_of(*kept, node);
        for (const ScenarioHearing* hearing : hearings_of(below_it)) {
            if (hearing != kept) {
                cut(*hearing, below_it, "", at, length);
            }
        }
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
    std::vector<Trouble> first_;  // of FIRST those that may come
    std::map<std::pair<std::string, VerbKind>, int> busy_until_;
    std::vector<TimedVerb> timed_;
};

}  // namespace

std::vector<std::pair<std::string_view, int>> chaos_weights_usual() {
    std::vector<std::pair<std::string_view, int>> weights;
    for (const Weight& row : WEIGHTS) {
        weights.emplace_back(row.name, row.weight);
    }
    return weights;
}

Scenario scenario_chaos_mesh(int nodes) {
    int columns = 1;
    while (columns * columns < nodes) {
        ++columns;
    }
    Scenario scenario = scenario_grid((nodes + columns - 1) / columns, columns);
    scenario.nodes.resize(static_cast<std::size_t>(nodes));
    std::erase_if(scenario.hearings, [&scenario](const ScenarioHearing& hearing) {
        return scenario_node_find(scenario, hearing.a) == nullptr ||
               scenario_node_find(scenario, hearing.b) == nullptr;
    });
    return scenario;
}

Scenario scenario_chaos(Scenario scenario, const ChaosOptions& options) {
    scenario.seed = options.seed;
    scenario.steps.clear();
    int now = -options.settle;
    for (const TimedVerb& timed : Chaos(scenario, options).verbs()) {
        ScenarioStep step;
        step.kind = StepKind::verb;
        step.after = timed.at - now;
        step.verb = timed.verb;
        scenario.steps.push_back(step);
        now = timed.at;
    }
    ScenarioStep last;
    last.kind = StepKind::expect;
    last.after = std::max(options.seconds - now, 0) + options.settle;
    last.within = LAST_WAIT;
    last.condition.kind = ConditionKind::status;
    last.condition.node = ALL_NODES;
    last.condition.text = "ready";
    scenario.steps.push_back(last);
    return scenario;
}

}  // namespace lab
