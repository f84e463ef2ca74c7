// What can be asked of a mesh: the conditions of `expect` and `wait-until`.
//
// "e1 status ready", "e1 state ath0 CONNECT_PENDING", "e1 log \"...\"", "rule one-uplink clean".
// A condition is a value; whether it holds is for the caller to find out by looking at the node
// (its files, log, and recorded lines) or at the model. Conditions of LOG, NO_LOG, RAN and
// NOT_RAN look at what came since the last verb.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace lab {

enum class ConditionKind {
    STATUS,       // text: "ready", "connected" or "not-ready"
    STATE,        // number: link state; interface: of which record, empty: of any uplink record
    UPLINK,       // interface that carries the traffic, or "none"
    PARENT,       // text: node above, or "none"
    HOPS,         // number of hops to the root
    PARKED,       // interface is in CONNECT_PENDING
    SERVICE_APS,  // text: "up" (at least one) or "down" (none)
    LED,          // text: last pattern
    ROLE,         // text: "root" or "extender"
    FILE,         // interface: path; text: what the file holds
    NO_FILE,      // it holds no such text, or is missing
    LOG,          // text: a flow log line holds it
    NO_LOG,       // no flow log line holds it
    RAN,          // text: a line given to the shell holds it
    NOT_RAN,      // no line given to the shell holds it
    OUTAGE,       // every outage so far was shorter than `number` seconds
    OUTAGES,      // at most `number` outages so far
    RULE,         // text: "clean" or "known"; node: name of the rule
};

struct Condition {
    ConditionKind kind = ConditionKind::STATUS;
    std::string node;  // "all" for every extender; the rule's name for RULE
    std::string interface;
    std::string text;
    std::int64_t number = 0;

    bool operator==(const Condition&) const = default;
};

inline constexpr std::string_view ALL_NODES = "all";

struct ConditionRow {
    ConditionKind kind;
    std::string_view name;   // "status"; "rule" stands before the rule's name
    std::string_view usage;  // "NODE status ready|connected|not-ready"
    std::string_view help;
};

// Every condition once, in the order of ConditionKind.
std::span<const ConditionRow> condition_table();

// Reads a condition from its words; "e1 ready" and "e1 BACKHAUL_READY" are short for those with
// "status" and "state". False with one sentence in `error`.
bool condition_parse(std::span<const std::string> words, Condition* condition, std::string& error);

// The words of the condition, as condition_parse reads them.
std::string condition_print(const Condition& condition);

}  // namespace lab
