// Every try is a process of its own, because a program enters a sandbox only once.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <optional>
#include <set>

#include "lab/program/child.h"
#include "lab/program/commands.h"
#include "lab/program/mesh_host.h"
#include "lab/program/replay_logs.h"
#include "lab/program/run.h"
#include "lab/replay/replay_scenario.h"
#include "lab/report/outage.h"
#include "lab/scenario/scenario_parse.h"
#include "lab/shrink/shrink.h"
#include "lab/shrink/shrink_condition.h"
#include "lab/shrink/shrink_steps.h"

namespace lab {
namespace {

constexpr std::string_view CHAOS = "chaos";
constexpr std::string_view REPLAY = "replay";
constexpr int SLACK_SECONDS = 30;

// What a run is looked at for, second by second.
class Watch {
public:
    explicit Watch(const ShrinkCondition& condition) : condition_(condition) {}

    // Keeps the lines that came since the last look; whether the condition holds.
    bool look(const Mesh& mesh) {
        seen_.resize(static_cast<std::size_t>(mesh.node_count()), 0);
        for (int index = 0; index < mesh.node_count(); ++index) {
            const MeshNode& node = mesh.node(index);
            std::uint64_t& next = seen_[static_cast<std::size_t>(index)];
            for (next = std::max(next, node.log_first()); next < node.log_end(); ++next) {
                keep(node.plan().name, node.log()[next - node.log_first()].text);
            }
        }
        std::vector<ShrinkLine> lines;
        for (const auto& [node, text] : kept_) {
            lines.push_back({node, text});
        }
        return shrink_condition_holds(condition_, mesh.violations(), lines);
    }

private:
    // Of all lines only those count that the condition has a part of.
    void keep(const std::string& node, const std::string& text) {
        for (const auto* const parts : {&condition_.seen, &condition_.unseen}) {
            for (const std::string& part : *parts) {
                if (text.find(part) != std::string::npos) {
                    kept_.emplace(node, part);
                }
            }
        }
    }

    const ShrinkCondition& condition_;
    std::vector<std::uint64_t> seen_;
    std::set<std::pair<std::string, std::string>> kept_;
};

// A run as the parent is told of it.
Json run_told(const Run& run, bool shows, const ShrinkCondition& condition) {
    Json told = {{"shows", shows}, {"at", run.mesh->passed()}, {"failure", run.failure}};
    const Violation* const broken = shrink_violation_find(condition, run.mesh->violations());
    told["rule"] = broken == nullptr ? condition.rule : broken->rule;
    told["node"] = broken == nullptr ? condition.node : broken->node;
    told["moments"] = Json::array();
    for (const PlayedStep& played : run.player->played()) {
        told["moments"].push_back({played.step, played.time, played.done});
    }
    return told;
}

Json run_in_child(const Scenario& scenario, const ShrinkCondition& condition) {
    Arguments arguments;
    Watch watch(condition);
    bool shows = false;
    Run run;
    run.title = "shrink";
    run.enough = [&](const Run& now) {
        shows = condition.is_known_early() && watch.look(*now.mesh);
        return shows;
    };
    std::string error;
    if (!run_play(scenario, arguments, false, run, error)) {
        return {{"failure", error}};
    }
    shows = shows || watch.look(*run.mesh);
    return run_told(run, shows && run.failure.empty(), condition);
}

// False with a sentence when the machine failed.
bool run_apart(const Scenario& scenario, const ShrinkCondition& condition, Json& told,
               std::string& error) {
    const std::optional<std::string> said =
        child_says([&] { return run_in_child(scenario, condition).dump(); });
    if (!said) {
        error = "cannot start a try";
        return false;
    }
    told = Json::parse(*said, nullptr, false);
    if (told.is_discarded() || !told["failure"].get<std::string>().empty()) {
        error = told.is_discarded() ? "a try told nothing" : told["failure"].get<std::string>();
        return false;
    }
    return true;
}

std::vector<std::string> words_behind(const Arguments& arguments) {
    return {arguments.words.begin() + 1, arguments.words.end()};
}

bool scenario_begin(const Arguments& arguments, Scenario& scenario, std::string& error) {
    if (arguments.words[0] == CHAOS) {
        return run_chaos_scenario(arguments, words_behind(arguments), scenario, error);
    }
    if (!scenario_load(arguments.words, scenario, error)) {
        return false;
    }
    scenario.seed = arguments.seed.value_or(scenario.seed);
    return true;
}

std::vector<StepMoment> moments_of(const Json& told) {
    std::vector<StepMoment> moments;
    for (const Json& one : told["moments"]) {
        moments.push_back(
            {one[0].get<std::size_t>(), one[1].get<std::int64_t>(), one[2].get<std::string>()});
    }
    return moments;
}

std::string size_text(const Scenario& scenario) {
    return std::to_string(scenario.nodes.size()) + " nodes, " +
           std::to_string(scenario_verbs(scenario)) + " verbs, " +
           duration_text(scenario_seconds(scenario));
}

// The scenario file: what it shows, then the shortest that was found.
std::string file_text(const ShrinkCondition& condition, const Scenario& scenario) {
    return "# Shows: " + shrink_condition_text(condition) + "\n" + scenario_print(scenario);
}

int shrink_finish(const Arguments& arguments, const ShrinkCondition& condition,
                  const Scenario& first, const ShrinkResult& result) {
    const std::string text = file_text(condition, result.scenario);
    if (!arguments.output.empty() && !(std::ofstream(arguments.output) << text).flush()) {
        return complain(arguments, "cannot write to " + arguments.output);
    }
    if (arguments.json) {
        json_print({{"shows", shrink_condition_text(condition)},
                    {"confirmed", result.confirmed},
                    {"tries", result.tries},
                    {"cached", result.cached},
                    {"first_nodes", first.nodes.size()},
                    {"first_verbs", scenario_verbs(first)},
                    {"first_seconds", scenario_seconds(first)},
                    {"nodes", result.scenario.nodes.size()},
                    {"verbs", scenario_verbs(result.scenario)},
                    {"seconds", scenario_seconds(result.scenario)},
                    {"scenario", text}});
    } else if (arguments.output.empty()) {
        printf("%s", text.c_str());
    }
    fflush(stdout);
    fprintf(stderr, "from %s to %s in %d tries\n", size_text(first).c_str(),
            size_text(result.scenario).c_str(), result.tries);
    return result.confirmed ? EXIT_GOOD
                            : complain(arguments, "the shortest scenario did not show it again");
}

int shrink_search(const Arguments& arguments, const Scenario& scenario, ShrinkCondition condition) {
    std::string error;
    fprintf(stderr, "first run: %zu nodes, until %s\n", scenario.nodes.size(),
            shrink_condition_text(condition).c_str());
    Json told;
    if (!run_apart(scenario, condition, told, error)) {
        return complain(arguments, error);
    }
    if (!told["shows"].get<bool>()) {
        return complain(arguments,
                        "the whole run does not show it: " + shrink_condition_text(condition));
    }
    if (condition.any_rule) {
        condition.any_rule = false;
        condition.rule = told["rule"].get<std::string>();
    }
    const ShrinkSeen seen{true, told["at"].get<std::int64_t>(), told["node"].get<std::string>()};
    const Scenario timed = scenario_timed(scenario, moments_of(told), seen.at);
    const auto begun = std::chrono::steady_clock::now();
    ShrinkCalls calls;
    calls.run = [&](const Scenario& candidate, ShrinkSeen& found) {
        if (!run_apart(candidate, condition, told, error)) {
            return false;
        }
        found = {told["shows"].get<bool>(), told["at"].get<std::int64_t>(),
                 told["node"].get<std::string>()};
        return true;
    };
    calls.slack = condition.is_known_early() ? SLACK_SECONDS : 0;
    calls.tell = [](const ShrinkProgress& progress) {
        fprintf(stderr, "try %d: %s: %s\n", progress.tries, size_text(*progress.tried).c_str(),
                progress.shows ? "yes" : "no");
    };
    calls.is_enough = [&] {
        return arguments.minutes > 0 &&
               std::chrono::steady_clock::now() - begun > std::chrono::minutes(arguments.minutes);
    };
    const ShrinkResult result = shrink(timed, seen, calls);
    if (result.failed) {
        return complain(arguments, error);
    }
    return shrink_finish(arguments, condition, timed, result);
}

}  // namespace

int shrink_command(const Arguments& arguments) {
    Scenario scenario;
    std::string error;
    ShrinkCondition condition{arguments.rule, false, arguments.node, arguments.seen,
                              arguments.unseen};
    condition.any_rule =
        condition.rule.empty() && condition.seen.empty() && condition.unseen.empty();
    if (arguments.words[0] == REPLAY) {
        std::vector<ReplayLog> logs;
        if (!command_logs_read(words_behind(arguments), logs, error)) {
            return complain(arguments, error, EXIT_USAGE);
        }
        if (condition.any_rule) {
            return shrink_difference(arguments, logs);
        }
        scenario = replay_scenario(logs);
    } else if (!scenario_begin(arguments, scenario, error)) {
        return complain(arguments, error, EXIT_USAGE);
    }
    return shrink_search(arguments, scenario, condition);
}

}  // namespace lab
