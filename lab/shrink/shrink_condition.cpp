#include "lab/shrink/shrink_condition.h"

#include <algorithm>

namespace lab {
namespace {

bool is_seen(const std::string& part, const std::string& node, std::span<const ShrinkLine> lines) {
    return std::ranges::any_of(lines, [&](const ShrinkLine& line) {
        return (node.empty() || line.node == node) &&
               line.text.find(part) != std::string_view::npos;
    });
}

}  // namespace

const Violation* shrink_violation_find(const ShrinkCondition& condition,
                                       std::span<const Violation> violations) {
    const auto found = std::ranges::find_if(violations, [&](const Violation& violation) {
        return violation.known.empty() &&
               (condition.any_rule || violation.rule == condition.rule) &&
               (condition.node.empty() || violation.node == condition.node);
    });
    return found == violations.end() ? nullptr : &*found;
}

bool shrink_condition_holds(const ShrinkCondition& condition, std::span<const Violation> violations,
                            std::span<const ShrinkLine> lines) {
    const auto seen = [&](const std::string& part) {
        return is_seen(part, condition.node, lines);
    };
    return ((condition.rule.empty() && !condition.any_rule) ||
            shrink_violation_find(condition, violations) != nullptr) &&
           std::ranges::all_of(condition.seen, seen) &&
           std::ranges::none_of(condition.unseen, seen);
}

std::string shrink_condition_text(const ShrinkCondition& condition) {
    std::string text;
    const auto add = [&text](const std::string& more) {
        text += (text.empty() ? "" : ", ") + more;
    };
    if (condition.any_rule || !condition.rule.empty()) {
        add(condition.any_rule ? "a rule is broken" : "the rule " + condition.rule + " is broken");
    }
    for (const std::string& part : condition.seen) {
        add("\"" + part + "\" is seen");
    }
    for (const std::string& part : condition.unseen) {
        add("\"" + part + "\" is not seen");
    }
    return condition.node.empty() ? text : text + ", on " + condition.node;
}

}  // namespace lab
