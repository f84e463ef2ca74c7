#pragma once

// The words of the link state machine: states of an interface, events for the dispatcher, and what
// may be asked of a timeout or of an interface. Every room speaks them; what they mean for a link
// is told by link/link_state.h. The numbers appear in the log and in other tools: fixed.

#include <cstdint>

enum link_state : int32_t {
    INIT = 0,
    CONNECTING_BACKHAUL_AP = 3,
    CONNECT_WITH_BACKHAUL_AP = 4,
    CONNECTING_TARGET_BACKHAUL_AP = 5,
    CONNECT_PENDING = 6,
    BACKHAUL_READY = 7,
    /// Never entered; the timeout checker and the agent start treat it as 4.
    LINK_STATE_8 = 8,
    /// Never entered; the timeout checker posts a timeout.
    LINK_STATE_9 = 9,
    DFS_MONITORING = 10,
    DFS_BLOCKING = 11,
    AP_TIMER_WAIT = 12,
    ETH_BACKHAUL_DOWN = 13,
    ETH_BACKHAUL_CONNECTED = 14,
    ETH_BACKHAUL_READY = 15,
    ETH_BACKHAUL_STANDBY = 16,
};
inline constexpr int32_t LINK_STATE_COUNT = 17;

enum slave_event : uint32_t {
    START = 0,
    ASSOC = 1,
    AP_DISASSOC = 2,
    TIMEOUT = 5,
    AUTO_CONFIG_SUCCESS = 6,
    CONFIG_BEST_AP = 7,
};

/// What is to become of a record's timeout.
enum timer_switch : uint8_t { TIMER_OFF = 0, TIMER_ON = 1 };

/// What is to become of an interface, or of hyd's broadcasts on it.
enum intf_switch : uint8_t { INTF_DISABLE = 0, INTF_ENABLE = 1 };
