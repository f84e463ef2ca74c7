#pragma once

// Options of the wireless configuration store, through the `uci` tool. Any thread, no lock: two
// threads that write at the same time commit each other's changes.

#include <array>
#include <cstddef>
#include <span>

/// Longest value that is read, without terminator.
inline constexpr size_t UCI_VALUE_MAX = 64;
/// Room for any value, with its terminator.
using uci_value = std::array<char, UCI_VALUE_MAX + 1>;

/// Reads "wireless.`section`.`option`" into `out`, which is emptied first and cut at out.size() - 1
/// characters: the first word of the value, empty for an unknown option. Prints a line when no
/// pipe can be made.
void wireless_uci_get(const char* section, const char* option, std::span<char> out);

/// Writes one option (the value is not quoted) and commits the wireless configuration.
void wireless_uci_set(const char* section, const char* option, const char* value);
