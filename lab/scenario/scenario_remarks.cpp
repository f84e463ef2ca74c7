#include "lab/scenario/scenario_remarks.h"

#include <algorithm>

namespace lab {

std::vector<std::string> scenario_remarks(const Scenario& scenario) {
    std::vector<std::string> remarks;
    std::string roots;
    int count = 0;
    for (const ScenarioNode& node : scenario.nodes) {
        if (node.role == NodeRole::root) {
            roots += (count++ == 0 ? "" : ", ") + node.name;
        }
    }
    if (count == 0) {
        remarks.emplace_back("the mesh has no root: no node can become ready over the air");
    } else if (count > 1) {
        remarks.emplace_back("the mesh has " + std::to_string(count) + " roots: " + roots);
    }
    const bool expects = std::ranges::any_of(scenario.steps, [](const ScenarioStep& step) {
        return step.kind == StepKind::expect || step.kind == StepKind::wait_until;
    });
    if (!expects) {
        remarks.emplace_back("no step expects anything: only the rules were held against it");
    }
    return remarks;
}

}  // namespace lab
