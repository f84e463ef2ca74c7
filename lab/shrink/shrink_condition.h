// What a run has to show for a shorter scenario to count. Values and a function of values.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/rules/rule_memory.h"

namespace lab {

// All of it has to hold at once.
struct ShrinkCondition {
    std::string rule;                 // is broken, and not in a known way; empty: none has to be
    bool any_rule = false;            // is broken; whichever comes first
    std::string node;                 // where; empty: on any
    std::vector<std::string> seen;    // each is part of a line of the flow log
    std::vector<std::string> unseen;  // none is part of any line

    // Whether it may hold before a run is over: what is not seen yet may still come.
    bool is_known_early() const {
        return unseen.empty();
    }
};

// A line of a node's flow log.
struct ShrinkLine {
    std::string_view node;
    std::string_view text;
};

// The violation that the condition's rule is about, or null: none is broken, or none has to be.
const Violation* shrink_violation_find(const ShrinkCondition& condition,
                                       std::span<const Violation> violations);

bool shrink_condition_holds(const ShrinkCondition& condition, std::span<const Violation> violations,
                            std::span<const ShrinkLine> lines);

// "the rule liveness is broken on e1, "x" is seen", for people.
std::string shrink_condition_text(const ShrinkCondition& condition);

}  // namespace lab
