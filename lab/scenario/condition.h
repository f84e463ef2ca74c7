// What can be asked of a mesh: the conditions of `expect` and `wait-until`.
//
// "e1 status ready", "e1 state ath0 CONNECT_PENDING", "e1 log \"...\"", "rule one-uplink clean".
// A condition is a value; whether it holds is for the caller to find out by looking at the node
// (its files, log, and recorded lines) or at the model. Conditions of LOG, NO_LOG, RAN and
// NOT_RAN look at what came since the last verb, those of outages and rules at all since the start;
// "since MARK" behind them lets them look at what came since that mark.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace lab {

enum class ConditionKind {
    status,       // text: "ready", "connected" or "not-ready"
    state,        // number: link state; interface: of which record, empty: of any uplink record
    uplink,       // interface that carries the traffic, or "none"
    parent,       // text: node above, or "none"
    hops,         // number of hops to the root
    parked,       // interface is in CONNECT_PENDING
    service_aps,  // text: "up" (at least one) or "down" (none)
    led,          // text: last pattern
    role,         // text: "root" or "extender"
    file,         // interface: path; text: what the file holds
    no_file,      // it holds no such text, or is missing
    log,          // text: a flow log line holds it
    no_log,       // no flow log line holds it
    ran,          // text: a line given to the shell holds it
    not_ran,      // no line given to the shell holds it
    outage,       // every outage so far was shorter than `number` seconds
    outages,      // at most `number` outages so far
    rule,         // text: "clean" or "known"; node: name of the rule
};

struct Condition {
    ConditionKind kind = ConditionKind::status;
    std::string node;  // "all" for every extender; the rule's name for RULE
    std::string interface;
    std::string text;
    std::int64_t number = 0;
    std::string since;  // a mark; empty: where it looks from otherwise

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

// It asks for what came since some moment, not for what is now.
bool condition_looks_back(ConditionKind kind);

// It can be remembered: one text or number is the answer.
bool condition_has_value(ConditionKind kind);

// Reads what is to be remembered: "e1 parent", "e1 outages since MARK". As condition_parse.
bool condition_value_parse(std::span<const std::string> words, Condition* condition,
                           std::string& error);
std::string condition_value_print(const Condition& condition);

// The words of the condition, as condition_parse reads them.
std::string condition_print(const Condition& condition);

}  // namespace lab
