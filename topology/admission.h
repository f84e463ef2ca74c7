#pragma once

// Is the node with this address approved? Database (address to AL MAC) and approval list (AL MAC
// to flag). Socket thread.

#include "runtime/mac_text.h"

/// Fields carried from line to line: what does not scan keeps its value.
struct admission_line {
    mac_address mac{};
    unsigned char flag = 0;
};

/// Scans one line of the approval list over `line`.
void admission_line_scan(const char* text, admission_line& line);

/// Whether the device with IPv4 address `ip` is approved.
bool backhaul_db_device_valid_check(const char* ip);
