#pragma once

// The one way out to the system: every shell line of the daemon goes through here.
//
// Called on every thread; blocks until the shell has returned. A line is formatted into a zeroed
// buffer of a stated size and refused (nothing is run) when it does not fit: a command is never
// cut, except where the caller asks for the cut. Exit statuses are never looked at: a failing
// tool is not an error of the daemon. Standard output is flushed before every fork.
//
// A text in a line is data: whatever it holds reaches the tool as it is (runtime/shell_text.h).
// The node's own configuration alone stands as it is written (`own_value`); one that the shell
// reads as more than text is named on standard error before its line runs, once for each value.

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdio>
#include <span>
#include <string_view>
#include <type_traits>

/// Sizes of the line buffers, terminator included.
inline constexpr size_t COMMAND_SIZE_SHORT = 64;
inline constexpr size_t COMMAND_SIZE_MEDIUM = 128;
inline constexpr size_t COMMAND_SIZE_LONG = 256;

using command_line = std::array<char, COMMAND_SIZE_LONG>;

/// The value of "wireless.`section`.`option`", which its line takes in without any change.
struct own_value {
    const char* text;
    const char* section;
    const char* option;
};

/// What stands for one conversion: a text ("%s"), a value of the own configuration ("%s") or a
/// number ("%d").
class command_value {
public:
    explicit command_value(const char* text) : text_(text) {}
    explicit command_value(const own_value& own)
        : text_(own.text), section_(own.section), option_(own.option) {}
    explicit command_value(int number) {
        std::snprintf(digits_.data(), digits_.size(), "%d", number);
    }
    std::string_view text() const {
        return text_ != nullptr ? text_ : digits_.data();
    }
    /// Null unless it is the own configuration's.
    const char* section() const {
        return section_;
    }
    const char* option() const {
        return option_;
    }

private:
    const char* text_ = nullptr;
    const char* section_ = nullptr;
    const char* option_ = nullptr;
    std::array<char, 12> digits_{};
};

/// The format of a line with values of the types `V`; one that does not fit them does not compile.
template <typename... V>
class command_format {
public:
    consteval command_format(const char* text) : text_(text) {
        const std::array<char, sizeof...(V) + 1> wanted{(std::same_as<V, int> ? 'd' : 's')..., 0};
        size_t found = 0;
        for (; *text != '\0'; ++text) {
            if (*text == '%' && *++text != wanted[found++]) {
                does_not_fit();
            }
        }
        if (found != sizeof...(V)) {
            does_not_fit();
        }
    }
    const char* text() const {
        return text_;
    }

private:
    static void does_not_fit() {}
    const char* text_;
};

/// What becomes of a line that does not fit.
enum class command_excess {
    refused,
    cut,  ///< its texts are cut where they end whole, quotes around them stay closed
};

/// Writes a line; false when it does not fit `size` bytes. Not for use as such.
bool command_build(command_line& line, size_t size, command_excess excess, const char* format,
                   std::span<const command_value> values);

/// Formats a line for `size` bytes (at most COMMAND_SIZE_LONG). False when it does not fit.
template <typename... V>
bool command_line_format(command_line& line, size_t size,
                         command_format<std::type_identity_t<std::decay_t<const V&>>...> format,
                         const V&... values) {
    const std::array<command_value, sizeof...(V)> list{command_value(values)...};
    return command_build(line, size, command_excess::refused, format.text(), list);
}

/// Runs `line` through the shell and waits for it.
void command_run(const char* line);

/// Formats a line into a buffer of `size` bytes (at most COMMAND_SIZE_LONG) and runs it.
/// Returns 0 when it was run, -1 when it did not fit and was refused.
template <typename... V>
int command_format_run(size_t size,
                       command_format<std::type_identity_t<std::decay_t<const V&>>...> format,
                       const V&... values) {
    command_line line{};
    if (!command_line_format(line, size, format, values...)) {
        return -1;
    }
    command_run(line.data());
    return 0;
}

/// As `command_format_run`, but a line that is too long is cut to `size` - 1 characters and run.
/// Only for the two lines whose contract is to be cut.
template <typename... V>
void command_format_cut_run(size_t size,
                            command_format<std::type_identity_t<std::decay_t<const V&>>...> format,
                            const V&... values) {
    command_line line{};
    const std::array<command_value, sizeof...(V)> list{command_value(values)...};
    command_build(line, size, command_excess::cut, format.text(), list);
    command_run(line.data());
}

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
