#include "lab/rules/rule_memory.h"

namespace lab {

const LinkTracker* rules_tracker(const RulesMemory& memory, const std::string& node) {
    const auto found = memory.nodes.find(node);
    return found == memory.nodes.end() ? nullptr : &found->second.tracker;
}

}  // namespace lab
