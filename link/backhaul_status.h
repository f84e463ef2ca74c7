#pragma once

// The status file "/tmp/backhaul_status": whether the backhaul is usable, for other programs.
//
// Written whole by the callers at their points in a reaction, not by the state change, so the
// file and a record's state are not tied to each other. Any thread.

#include <string_view>

inline constexpr char BACKHAUL_STATUS_PATH[] = "/tmp/backhaul_status";

enum class backhaul_status {
    not_ready,
    connected,  ///< associated; the service APs are not configured yet
    ready,
};

/// What the file then holds: the words with a blank, and a line end.
std::string_view backhaul_status_text(backhaul_status status);

/// Rewrites the file; logs a line without a function name when it cannot be opened.
void backhaul_status_write(backhaul_status status);
