#pragma once

// One line of the interface profile: text in, fields out. Functions of values.
//
// Columns: name, type keyword, band keyword, priority, follow flag, separated by white space. A
// column that a line lacks keeps the value of the line before, so a blank line repeats the
// previous interface; words that are too long are cut to their column's limit.

#include "intf/intf_record.h"

#include <array>
#include <cstdint>

/// Fields as scanned from the profile so far; starts empty and is carried from line to line.
struct intf_profile_line {
    std::array<char, INTF_NAME_SIZE> name{};
    std::array<char, 24> type{};
    std::array<char, 4> band{};
    uint16_t priority = 0;
    uint8_t follow_primary = 0;
};

/// Scans `text` over `line`; columns that do not scan keep what `line` held.
void intf_profile_line_scan(const char* text, intf_profile_line& line);

/// Type code of a type keyword (exact, case-sensitive), INTF_TYPE_OTHER when unknown.
intf_type intf_type_code(const char* keyword);

/// Band bit of a band keyword: "2" 1, "5" 2, "5h" 4, "5l" 8, else 0.
intf_band intf_band_code(const char* keyword);
