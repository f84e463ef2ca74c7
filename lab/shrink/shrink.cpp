#include "lab/shrink/shrink.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "lab/scenario/scenario_parse.h"
#include "lab/shrink/shrink_steps.h"

namespace lab {
namespace {

constexpr int MOST_ROUNDS = 5;
constexpr int LEAST_SECONDS = 4;  // less is not worth a run
constexpr int LEAST_PART = 32;    // neither is less than this part of the whole time

class Search {
public:
    Search(const Scenario& timed, const ShrinkSeen& seen, const ShrinkCalls& calls)
        : calls_(calls), best_(scenario_until(timed, seen.at)), node_(seen.node) {}

    ShrinkResult run() {
        // A verb less often frees a node; a node less makes every further try a shorter one.
        const std::size_t nodes = best_.nodes.size();
        focus();
        if (best_.nodes.size() == nodes) {
            fewer_nodes();
        }
        std::string before;
        for (int round = 0; round < MOST_ROUNDS && before != scenario_print(best_); ++round) {
            before = scenario_print(best_);
            fewer_verbs();
            fewer_nodes();
            fewer_hearings();
        }
        less_time();
        ShrinkResult result;
        ShrinkSeen seen;
        result.confirmed = !failed_ && calls_.run(best_, seen) && seen.shows;
        result.scenario = best_;
        result.tries = progress_.tries + 1;
        result.cached = progress_.cached;
        result.failed = failed_;
        return result;
    }

private:
    bool is_over() const {
        return failed_ || (calls_.is_enough && calls_.is_enough());
    }

    // Takes the candidate when it shows what is wanted and is shorter; it ends where that was seen.
    bool attempt(const Scenario& candidate) {
        if (is_over() || candidate == best_ || candidate.nodes.empty()) {
            return false;
        }
        Scenario longer = candidate;
        longer.steps.back().after += calls_.slack;
        const auto [place, is_new] = tried_.try_emplace(scenario_print(candidate));
        if (is_new) {
            failed_ = !calls_.run(longer, place->second);
            ++progress_.tries;
        } else {
            ++progress_.cached;
        }
        bool shows = !failed_ && place->second.shows;
        if (shows) {
            Scenario found = scenario_until(longer, place->second.at);
            shows = weight(found) < weight(best_);
            best_ = shows ? std::move(found) : best_;
        }
        progress_.tried = &candidate;
        progress_.shows = shows;
        progress_.best = &best_;
        if (is_new && calls_.tell) {
            calls_.tell(progress_);
        }
        return shows;
    }

    static std::tuple<bool, std::size_t, std::size_t, std::size_t, std::int64_t> weight(
        const Scenario& scenario) {
        return {scenario.seed != Scenario().seed, scenario.nodes.size(), scenario_verbs(scenario),
                scenario.hearings.size(), scenario_seconds(scenario)};
    }

    // Who has nothing to do with it goes at once, where that works.
    void focus() {
        Scenario plain = best_;
        plain.seed = Scenario().seed;
        std::set<std::string> names =
            node_.empty() ? std::set<std::string>() : scenario_way_up(plain, node_);
        if (attempt(scenario_with_nodes(plain, names))) {
            return;
        }
        for (const ScenarioStep& step : plain.steps) {
            if (step.kind == StepKind::verb) {
                names.merge(scenario_way_up(plain, step.verb.node));
            }
        }
        if (!attempt(scenario_with_nodes(plain, names))) {
            attempt(plain);
        }
    }

    // Leaves out runs of things, half of them at first.
    template <typename Count, typename Without>
    void leave_out(const Count& count, const Without& without) {
        for (std::size_t size = std::max<std::size_t>(count() / 2, 1); size > 0; size /= 2) {
            for (std::size_t from = 0; from < count() && !is_over();) {
                if (!attempt(without(best_, from, size))) {
                    from += size;
                }
            }
        }
    }

    void fewer_nodes() {
        leave_out([this] { return best_.nodes.size(); }, scenario_without_nodes);
    }
    void fewer_verbs() {
        leave_out([this] { return scenario_verbs(best_); }, scenario_without_verbs);
    }
    void fewer_hearings() {
        leave_out([this] { return best_.hearings.size(); }, scenario_without_hearings);
    }

    std::int64_t least_seconds() const {
        return std::max<std::int64_t>(LEAST_SECONDS, scenario_seconds(best_) / LEAST_PART);
    }

    void less_time() {
        // Where it is seen at once, the wait at the end is as short as it gets.
        const std::size_t last = calls_.slack > 0 ? 1 : 0;
        for (std::size_t step = 0; step + last < best_.steps.size() && !is_over(); ++step) {
            int less = best_.steps[step].after;
            while (less >= least_seconds() && step + last < best_.steps.size() && !is_over()) {
                if (!attempt(scenario_sooner(best_, step, less))) {
                    less /= 2;
                } else if (step < best_.steps.size()) {
                    less = std::min(less, best_.steps[step].after);
                }
            }
        }
    }

    const ShrinkCalls& calls_;
    Scenario best_;
    std::string node_;
    ShrinkProgress progress_;
    std::map<std::string, ShrinkSeen> tried_;
    bool failed_ = false;
};

}  // namespace

ShrinkResult shrink(const Scenario& timed, const ShrinkSeen& seen, const ShrinkCalls& calls) {
    return Search(timed, seen, calls).run();
}

}  // namespace lab
