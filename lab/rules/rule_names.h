// Names of the rules that every run of the lab is held against. What each means is in rules.h.
#pragma once

#include <array>
#include <string_view>

namespace lab {

inline constexpr std::string_view RULE_STATUS_TEXT = "status-text";
inline constexpr std::string_view RULE_ONE_UPLINK = "one-uplink";
inline constexpr std::string_view RULE_SERVICE_APS = "service-aps";
inline constexpr std::string_view RULE_NO_LOOP = "no-loop";
inline constexpr std::string_view RULE_WORKER = "worker";
inline constexpr std::string_view RULE_TRANSITIONS = "transitions";
inline constexpr std::string_view RULE_TIME_LIMITS = "time-limits";
inline constexpr std::string_view RULE_STATUS_STATE = "status-state";
inline constexpr std::string_view RULE_PARKED = "parked";
inline constexpr std::string_view RULE_CABLE = "cable";
inline constexpr std::string_view RULE_READY_NEEDS_ROOT = "ready-needs-root";
inline constexpr std::string_view RULE_NO_ISLAND = "no-island";
inline constexpr std::string_view RULE_LIVENESS = "liveness";

inline constexpr std::array RULE_NAMES = {
    RULE_STATUS_TEXT,      RULE_ONE_UPLINK,  RULE_SERVICE_APS,  RULE_NO_LOOP, RULE_WORKER,
    RULE_TRANSITIONS,      RULE_TIME_LIMITS, RULE_STATUS_STATE, RULE_PARKED,  RULE_CABLE,
    RULE_READY_NEEDS_ROOT, RULE_NO_ISLAND,   RULE_LIVENESS,
};

}  // namespace lab
