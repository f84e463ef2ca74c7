#pragma once

// The one way out to the system: every shell line of the daemon goes through here.
//
// Called on every thread; blocks until the shell has returned. A line is formatted into a zeroed
// buffer of a stated size and refused (nothing is run) when it does not fit: a command is never
// cut, except where the caller asks for the cut. Exit statuses are never looked at: a failing
// tool is not an error of the daemon. Standard output is flushed before every fork.

#include <cstddef>
#include <cstdio>

/// Sizes of the line buffers, terminator included.
inline constexpr size_t COMMAND_SIZE_SHORT = 64;
inline constexpr size_t COMMAND_SIZE_MEDIUM = 128;
inline constexpr size_t COMMAND_SIZE_LONG = 256;

/// Runs `line` through the shell and waits for it.
void command_run(const char* line);

/// Formats a line into a buffer of `size` bytes (at most COMMAND_SIZE_LONG) and runs it.
/// Returns 0 when it was run, -1 when it did not fit and was refused.
int command_format_run(size_t size, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// As `command_format_run`, but a line that is too long is cut to `size` - 1 characters and run.
/// Only for the two lines whose contract is to be cut.
void command_format_cut_run(size_t size, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// A shell command whose output is being read; closes (and waits for the command) when it goes.
class CommandPipe {
public:
    /// Starts `line` with its output readable; `file()` is null when no pipe could be made.
    explicit CommandPipe(const char* line);
    ~CommandPipe();
    CommandPipe(const CommandPipe&) = delete;
    CommandPipe& operator=(const CommandPipe&) = delete;
    FILE* file() const {
        return file_;
    }

private:
    FILE* file_;
};
