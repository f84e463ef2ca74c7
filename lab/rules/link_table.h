// What the link states are, which changes between them a daemon has to accept, and how long it may
// stay in each: written out by hand, so that the daemon under test is never its own judge. Nothing
// of the daemon is included here or in any other file of the rules. Functions of values.
//
// States are the numbers of the flow log. Stations use 0 to 7 and 16, the wired record 13 to 15, AP
// records 10 and 11, the periodic record 12.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace lab {

inline constexpr std::int32_t STATE_INIT = 0;
inline constexpr std::int32_t STATE_CONNECTING = 3;
inline constexpr std::int32_t STATE_CONFIGURING = 4;
inline constexpr std::int32_t STATE_SWITCHING = 5;
inline constexpr std::int32_t STATE_PARKED = 6;
inline constexpr std::int32_t STATE_READY = 7;
inline constexpr std::int32_t STATE_DFS_MONITORING = 10;
inline constexpr std::int32_t STATE_DFS_BLOCKING = 11;
inline constexpr std::int32_t STATE_TIMER_WAIT = 12;
inline constexpr std::int32_t STATE_ETH_DOWN = 13;
inline constexpr std::int32_t STATE_ETH_CONFIGURING = 14;
inline constexpr std::int32_t STATE_ETH_READY = 15;
inline constexpr std::int32_t STATE_STANDBY = 16;

// Events of the dispatcher's lines.
inline constexpr std::int32_t EVENT_START = 0;
inline constexpr std::int32_t EVENT_ASSOC = 1;
inline constexpr std::int32_t EVENT_DISASSOC = 2;
inline constexpr std::int32_t EVENT_TIMEOUT = 5;
inline constexpr std::int32_t EVENT_CONFIGURED = 6;
inline constexpr std::int32_t EVENT_BEST_AP = 7;

// What an accepted request does to the record's timeout.
enum class LinkTimer { arm, clear };

// The accepted request, or nothing: it is dropped, and state and timeout stay.
std::optional<LinkTimer> link_change(std::int32_t from, std::int32_t requested);

// Seconds that a record may be in the state before the daemon has to act; nothing: for ever. The
// wait of a parked station, which ends in nothing, is not among them.
std::optional<int> link_limit(std::int32_t state);

// The reaction to the event clears the record's timeout before it does anything else.
bool link_event_clears(std::int32_t state, std::int32_t event);

// A state that the daemon stores without a request, known by a line of its log.
struct DirectStore {
    const char* line;    // begins so
    std::int32_t state;  // that it stores
};
inline constexpr DirectStore STORE_SEARCHING = {
    "find_backup_backhaul_link : finding backup backhaul link", STATE_STANDBY};
inline constexpr DirectStore STORE_FOUND = {
    "find_backup_backhaul_link : found backup backhaul sta ", STATE_INIT};
inline constexpr DirectStore STORE_RESTORED = {"backhaul_slave_backhaul_restore : Enter",
                                               STATE_INIT};
inline constexpr DirectStore STORE_RECOVERED = {"wifi_backhaul_recover : Enter", STATE_INIT};
inline constexpr DirectStore STORE_BLOCKED = {"device_dfs_monitoring : Disable ",
                                              STATE_DFS_BLOCKING};
inline constexpr DirectStore STORE_UNBLOCKED = {"device_dfs_blocking : Enable ",
                                                STATE_DFS_MONITORING};

// Name of a state, or its number.
std::string link_state_text(std::int32_t state);

}  // namespace lab
