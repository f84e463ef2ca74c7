#pragma once

// Which link states have a time limit, and how long it is: the timer thread polices them
// (link/timeout_check), pages and tools tell them. A function of values.

#include "intf/link_codes.h"

#include <cstdint>

/// Result of `timeout_limit_get` for a state without a time limit.
inline constexpr int32_t TIMEOUT_NEVER = -1;

struct timeout_limit {
    bool checked;     ///< false: the checker ignores the state
    int32_t seconds;  ///< acts when elapsed is greater
};

/// Limit of a link state; `disconnect_count` scales that of CONNECT_PENDING.
timeout_limit timeout_limit_get(link_state state, int8_t disconnect_count);
