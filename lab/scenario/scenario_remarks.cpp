#include "lab/scenario/scenario_remarks.h"

#include <algorithm>

namespace lab {

std::vector<Remark> mesh_remarks(const Scenario& scenario) {
    std::string roots;
    int count = 0;
    for (const ScenarioNode& node : scenario.nodes) {
        if (node.role == NodeRole::root) {
            roots += (count++ == 0 ? "" : ", ") + node.name;
        }
    }
    if (count == 0) {
        return {{0, "the mesh has no root: no node can become ready over the air"}};
    }
    if (count > 1) {
        return {{0, "the mesh has " + std::to_string(count) + " roots: " + roots}};
    }
    return {};
}

std::vector<Remark> scenario_remarks(const Scenario& scenario) {
    std::vector<Remark> remarks = mesh_remarks(scenario);
    const bool expects = std::ranges::any_of(scenario.steps, [](const ScenarioStep& step) {
        return step.kind == StepKind::expect || step.kind == StepKind::wait_until ||
               step.kind == StepKind::always || step.kind == StepKind::never;
    });
    if (!expects) {
        remarks.push_back({0, "no step expects anything: only the rules are held against it"});
    }
    return remarks;
}

std::string remarks_text(const std::string& file, const std::vector<Remark>& remarks) {
    std::string text;
    for (const Remark& remark : remarks) {
        const std::string line = remark.line == 0 ? "" : ":" + std::to_string(remark.line);
        text += file + line + ": " + remark.text + "\n";
    }
    return text;
}

}  // namespace lab
