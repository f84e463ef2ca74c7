#pragma once

// The event log, "/var/log/backhaul_log": which extenders joined and left, for people.
//
// Used on the root by the extender list, on the root loop thread only. It holds at most the five
// newest messages of this worker, oldest first, and mirrors each one to the system log through
// the `vlog` tool before the list and the file change.

#include <array>
#include <cstddef>
#include <string_view>

inline constexpr char EVENT_LOG_PATH[] = "/var/log/backhaul_log";
inline constexpr size_t EVENT_LOG_TEXT_SIZE = 96;
inline constexpr int EVENT_LOG_ENTRIES_MAX = 5;

enum event_log_kind : int {
    EVENT_LOG_JOIN = 1,
    EVENT_LOG_LEAVE = 2,
};

struct event_log_entry {
    std::array<char, EVENT_LOG_TEXT_SIZE> text;
    event_log_entry* next;
};

/// Message of one event: "name(almac) join" or "name(almac) leave", cut at 95 characters.
std::array<char, EVENT_LOG_TEXT_SIZE> event_log_message(const char* device_name, const char* almac,
                                                        event_log_kind kind);

/// Records that the node with AL MAC `almac` joined or left: looks
/// its name up, runs `vlog`, appends to the list and rewrites the file. A file that cannot be
/// opened leaves the list changed and the file as it was.
void event_log(const char* almac, event_log_kind kind);
