#pragma once

// Asks a tool of this node: a line for the shell in, what it prints back. Bounded in time and size;
// nothing that it started is left running, but for what made itself a group of its own.

#include <array>
#include <cstddef>
#include <cstdint>

enum class ask_result : uint8_t {
    answered,
    hangs,  ///< it had not ended in time, and was killed
    failed  ///< it could not be started
};

struct tool_answer {
    std::array<char, size_t{64} * 1024> text{};
    size_t size = 0;  ///< what did not fit is dropped
};

/// Runs the line with /bin/sh, without input and with its errors nowhere. Its exit status is not
/// told, as nobody looks at it in the daemon either.
ask_result tool_ask(const char* line, int limit_ms, tool_answer& answer);
