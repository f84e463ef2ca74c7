#pragma once

// One text of the flow log: its form, what it is a sign of, and what it means to people. The table
// of all of them is ctl/log_texts, the reading is ctl/log_event.

#include <cstddef>
#include <cstdint>
#include <string_view>

/// What a line is a sign of.
enum class log_kind : uint8_t {
    unknown,
    detail,  ///< of no meaning to the story
    // The worker's life.
    worker_start,
    worker_end,
    worker_crash,
    extender_start,
    // State machine.
    state_change,
    dispatched,
    timeout,
    configured_late,
    associated_late,
    not_configured,
    agent_done,
    switch_begin,
    switch_done,
    switch_failed,
    // The driver.
    link_up,
    link_up_mac,
    link_down,
    link_down_mac,
    link_gone_unseen,
    client_joined,
    client_left,
    channel_change,
    // Losses and backups.
    losses,
    losses_left,
    backup_search,
    backup_found,
    backup_kept,
    backup_dropped,
    backup_dropped_connected,
    loop_found,
    loop_parked,
    restore,
    no_uplink,
    // Scans.
    scan,
    scan_found,
    // Cable.
    wire_found,
    wire_lost,
    // Radar.
    radar_count,
    radar_off,
    radar_on,
    // What came in and went out.
    command,
    message,
    reload_message,
    led,
    hops,
    // What repeats when something is wrong.
    error,
};

/// Lanes and filters of a picture.
enum class log_group : uint8_t { state, driver, timeout, command, message, action, error, life };
inline constexpr size_t LOG_GROUP_COUNT = 8;

struct log_text {
    /// The text; %i an interface, %d a number, %m a MAC address, %r all the rest.
    std::string_view pattern;
    log_kind kind;
    log_group group;
    /// For people; {i}, {a}, {b} (numbers), {A}, {B} (states), {E} (an event), {m}, {r} are filled
    /// in.
    std::string_view words;
    /// The rule, or the likely cause of an error; may be empty.
    std::string_view rule;
};
