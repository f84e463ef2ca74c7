#pragma once

// What a flow log's text means: every text that the daemon writes, with its kind, plain words and
// the rule behind it. A table and a function of values; called for each line, a million of them a
// second.
//
// A text that no row fits is `unknown`: of a newer daemon, or garbage with a date.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
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

/// A line's text, taken apart. The views point into the text.
struct log_event {
    const log_text* row = nullptr;  ///< null: unknown
    log_kind kind = log_kind::unknown;
    std::string_view interface;
    std::string_view mac;
    std::string_view rest;
    std::array<int32_t, 2> numbers{};
};

/// All texts.
std::span<const log_text> log_texts();

/// Takes `text` apart.
log_event log_event_read(std::string_view text);

/// A sentence about the event in `out`, or its text where nothing is known. Cut to fit.
void log_event_words(const log_event& event, std::string_view text, std::span<char> out);

/// "state", "driver" and so on.
const char* log_group_name(log_group group);
