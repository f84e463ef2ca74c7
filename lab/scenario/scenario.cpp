#include "lab/scenario/scenario.h"

#include <algorithm>

namespace lab {
namespace {

template <typename Item, typename List>
Item* named_find(List& list, std::string_view name) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [name](const auto& item) { return item.name == name; });
    return found == list.end() ? nullptr : &*found;
}

}  // namespace

bool ScenarioStep::operator==(const ScenarioStep& other) const {
    return kind == other.kind && after == other.after && within == other.within &&
           lasting == other.lasting && verb == other.verb && joined == other.joined &&
           condition == other.condition && text == other.text && until == other.until &&
           words == other.words;
}

const ScenarioNode* scenario_node_find(const Scenario& scenario, std::string_view name) {
    return named_find<const ScenarioNode>(scenario.nodes, name);
}

ScenarioNode* scenario_node_find(Scenario* scenario, std::string_view name) {
    return named_find<ScenarioNode>(scenario->nodes, name);
}

const ScenarioInterface* scenario_interface_find(const ScenarioNode& node, std::string_view name) {
    return named_find<const ScenarioInterface>(node.interfaces, name);
}

ConditionFate condition_fate(const ScenarioStep& step, bool holds, std::int64_t waited) {
    if (step.lasting == 0 && holds) {
        return ConditionFate::held;
    }
    if (step.lasting > 0 && holds) {
        return waited < step.lasting ? ConditionFate::pending : ConditionFate::held;
    }
    return step.lasting == 0 && waited < step.within ? ConditionFate::pending
                                                     : ConditionFate::failed;
}

}  // namespace lab
