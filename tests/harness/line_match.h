// Comparing lists of lines: exact, in order, with a difference that can be read.
#pragma once

#include <string>
#include <vector>

namespace harness {

using Lines = std::vector<std::string>;

// In an expectation this line stands for any number of lines, none included.
inline constexpr char ANY_LINES[] = "...";

// Empty when `actual` is what is `expected`, else a text for people: the two lists side by side,
// "-" before what is missing and "+" before what nobody expected.
std::string lines_differ(const Lines& expected, const Lines& actual);

// The link state of an interface as the last "change NAME state from A to B" line leaves it: B when
// the transition is one that is allowed, else A. -1 when no line is about it.
int state_after(const Lines& log, const std::string& interface);

}  // namespace harness
