#pragma once

// Text of other parties in a shell line: the name of a device, an address, an interface's name.
//
// Functions of values, for any thread. A text is written so that the shell hands it on as it is,
// whatever it holds; one without a character that a shell reads is written as it stands.

#include <cstddef>
#include <span>
#include <string_view>

/// Where a text stands in a line.
enum class shell_place { bare, double_quotes, single_quotes };

/// The place behind `c`, a character of the line's own text, when `place` is the one before it.
shell_place shell_place_after(shell_place place, char c);

/// Whether `value` at `place` holds a character that a shell does not take for itself.
bool shell_reads(std::string_view value, shell_place place);

/// Outcome of writing a text.
struct shell_written {
    size_t length;  ///< bytes written, no terminator
    bool whole;     ///< nothing had to be left out
};

/// Writes `value` for `place` into `out`. What does not fit is left out from the first character
/// on that does not fit whole, so that no quote stays open and no escape is split.
shell_written shell_text(std::string_view value, shell_place place, std::span<char> out);
