#pragma once

// The status file "/tmp/backhaul_status": whether the backhaul is usable, for other programs.
//
// Written whole by the callers at their points in a reaction, not by the state change, so the
// file and a record's state are not tied to each other. Any thread.

#include <cstdint>
#include <string_view>

inline constexpr char BACKHAUL_STATUS_PATH[] = "/tmp/backhaul_status";

/// Content for a link state: 7 "ready\n", 4 "connected\n", anything else "not ready\n".
std::string_view backhaul_status_text(int32_t status);

/// Rewrites the file; logs a line without a function name when it cannot be opened.
void backhaul_status_write(int32_t status);
