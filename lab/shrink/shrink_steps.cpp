#include "lab/shrink/shrink_steps.h"

#include <algorithm>
#include <deque>
#include <map>
#include <vector>

#include "lab/scenario/step_values.h"
#include "lab/scenario/words.h"

namespace lab {
namespace {

ScenarioStep wait_of(std::int64_t seconds) {
    ScenarioStep step;
    step.kind = StepKind::wait;
    step.after = static_cast<int>(seconds);
    return step;
}

// Leaves out the steps that `goes` names, and gives their seconds to those behind them.
template <typename Goes>
void steps_leave_out(Scenario* timed, const Goes& goes) {
    std::vector<ScenarioStep> kept;
    int left = 0;
    for (std::size_t at = 0; at < timed->steps.size(); ++at) {
        ScenarioStep step = timed->steps[at];
        step.after += left;
        if (step.kind == StepKind::verb && goes(at, step)) {
            left = step.after;
            continue;
        }
        left = 0;
        // Nobody is of one moment with what is gone.
        step.joined = step.joined && step.after == 0 && !kept.empty();
        kept.push_back(std::move(step));
    }
    timed->steps = std::move(kept);
}

template <typename List>
void range_erase(List* list, std::size_t from, std::size_t count) {
    const auto begin = list->begin() + static_cast<std::ptrdiff_t>(std::min(from, list->size()));
    const auto left = static_cast<std::size_t>(list->end() - begin);
    list->erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, left)));
}

}  // namespace

Scenario scenario_timed(const Scenario& scenario, std::span<const StepMoment> moments,
                        std::int64_t end) {
    Scenario timed = scenario;
    timed.title.clear();
    timed.steps.clear();
    std::int64_t now = 0;
    for (const StepMoment& moment : moments) {
        const ScenarioStep& step = scenario.steps[moment.step];
        if (step.kind != StepKind::verb || moment.time > end) {
            continue;
        }
        timed.steps.push_back(step);
        std::vector<std::string> words;
        std::string nothing_wrong;
        if (!moment.done.empty() && line_words(moment.done, &words, nothing_wrong)) {
            timed.steps.back().words.clear();
            step_parse(words, scenario, &timed.steps.back(), nothing_wrong);
        }
        timed.steps.back().after = static_cast<int>(moment.time - now);
        timed.steps.back().line = 0;
        now = moment.time;
    }
    timed.steps.push_back(wait_of(end - now));
    return timed;
}

std::int64_t scenario_seconds(const Scenario& timed) {
    std::int64_t seconds = 0;
    for (const ScenarioStep& step : timed.steps) {
        seconds += step.after;
    }
    return seconds;
}

Scenario scenario_until(const Scenario& timed, std::int64_t end) {
    Scenario cut = timed;
    cut.steps.clear();
    std::int64_t now = 0;
    for (const ScenarioStep& step : timed.steps) {
        if (step.kind != StepKind::verb || now + step.after > end) {
            break;
        }
        now += step.after;
        cut.steps.push_back(step);
    }
    cut.steps.push_back(wait_of(end - now));
    return cut;
}

Scenario scenario_with_nodes(const Scenario& timed, const std::set<std::string>& names) {
    Scenario fewer = timed;
    const auto is_gone = [&names](const std::string& name) {
        return !name.empty() && !names.contains(name);
    };
    std::erase_if(fewer.nodes, [&](const ScenarioNode& node) { return is_gone(node.name); });
    std::erase_if(fewer.hearings, [&](const ScenarioHearing& hearing) {
        return is_gone(hearing.a) || is_gone(hearing.b);
    });
    std::erase_if(fewer.cables,
                  [&](const auto& cable) { return is_gone(cable.first) || is_gone(cable.second); });
    for (ScenarioStep& step : fewer.steps) {
        std::erase_if(step.verb.hears, [&](const auto& one) { return is_gone(one.first); });
    }
    steps_leave_out(&fewer, [&](std::size_t /*at*/, const ScenarioStep& step) {
        return is_gone(step.verb.node) || is_gone(step.verb.peer) ||
               (step.verb.kind == VerbKind::move && step.verb.hears.empty());
    });
    return fewer;
}

Scenario scenario_without_nodes(const Scenario& timed, std::size_t from, std::size_t count) {
    std::set<std::string> names;
    for (std::size_t at = 0; at < timed.nodes.size(); ++at) {
        if (at < from || at >= from + count) {
            names.insert(timed.nodes[at].name);
        }
    }
    return scenario_with_nodes(timed, names);
}

Scenario scenario_without_verbs(const Scenario& timed, std::size_t from, std::size_t count) {
    Scenario fewer = timed;
    steps_leave_out(&fewer, [&](std::size_t at, const ScenarioStep& /*step*/) {
        return at >= from && at < from + count;
    });
    return fewer;
}

std::size_t scenario_verbs(const Scenario& timed) {
    return static_cast<std::size_t>(
        std::ranges::count(timed.steps, StepKind::verb, &ScenarioStep::kind));
}

Scenario scenario_without_hearings(const Scenario& timed, std::size_t from, std::size_t count) {
    Scenario fewer = timed;
    range_erase(&fewer.hearings, from, count);
    return fewer;
}

Scenario scenario_sooner(const Scenario& timed, std::size_t step, int seconds) {
    Scenario sooner = timed;
    sooner.steps[step].after -= std::min(seconds, sooner.steps[step].after);
    return sooner;
}

std::set<std::string> scenario_way_up(const Scenario& scenario, const std::string& node) {
    std::map<std::string, std::string> from = {{node, ""}};
    std::deque<std::string> next = {node};
    while (!next.empty()) {
        const std::string at = next.front();
        next.pop_front();
        const ScenarioNode* const here = scenario_node_find(scenario, at);
        if (here != nullptr && here->role == NodeRole::root) {
            std::set<std::string> way;
            for (std::string one = at; !one.empty(); one = from[one]) {
                way.insert(one);
            }
            return way;
        }
        for (const ScenarioHearing& hearing : scenario.hearings) {
            const bool touches = hearing.a == at || hearing.b == at;
            const std::string& other = hearing.a == at ? hearing.b : hearing.a;
            if (touches && from.emplace(other, at).second) {
                next.push_back(other);
            }
        }
    }
    return {node};
}

}  // namespace lab
