#pragma once

// One line of a flow log: text in, date and entry out. Functions of values, and a date that is
// remembered because many lines in a row carry the same one.
//
// Dates are those of ctime() in the node's own time zone, which the log does not name. They are
// counted as seconds since 1970 as if they were UTC ("log seconds"): differences are right except
// across a change to or from summer time, and `log_now` gives the present in the same count.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// "Tue Nov 14 22:13:20 2023".
inline constexpr size_t LOG_DATE_SIZE = 24;
/// The date and " : ".
inline constexpr size_t LOG_PREFIX_SIZE = 27;
/// Of a longer line only this much is looked at.
inline constexpr size_t LOG_LINE_MAX = 1024;

inline constexpr int64_t LOG_TIME_NONE = INT64_MIN;

struct log_entry {
    int64_t time = LOG_TIME_NONE;  ///< log seconds
    std::string_view text;         ///< behind the date
    std::string_view line;         ///< with the date
};

/// Reads dates; remembers the one read last.
class log_dates {
public:
    /// Log seconds of the date at the beginning of `text`, or LOG_TIME_NONE.
    int64_t read(std::string_view text);

private:
    std::array<char, LOG_DATE_SIZE> last_{};
    int64_t last_time_ = LOG_TIME_NONE;
};

/// Splits `line` (without its line end) into date and text. False when it is no entry.
bool log_line_read(std::string_view line, log_dates& dates, log_entry& entry);

/// Where a second entry begins in `text`, because the first one brought no line end; npos when
/// none.
size_t log_line_run_on(std::string_view text, log_dates& dates);

/// Log seconds of a civil date; month and day count from 1. The date has to exist.
int64_t log_time_make(int year, int month, int day, int seconds_of_day);

/// The present in log seconds.
int64_t log_now();

/// Log seconds of a moment that the system counts (a file's time, for instance).
int64_t log_time_of(int64_t system_seconds);

using time_text = std::array<char, 24>;

/// "2023-11-14 22:13:20", or "unknown".
time_text log_time_text(int64_t moment);

using length_text = std::array<char, 32>;

/// "17 s", "3 min 5 s", "2 h 10 min", "4 d 3 h".
length_text log_length_text(int64_t seconds);

/// Reads what a person types for a moment: "2023-11-14 22:13:20", the same with 'T', without
/// seconds, a ctime date, or "22:13:20" and "22:13" for the day of `day_of` (any moment of it).
/// False when it is none of these.
bool log_time_parse(std::string_view text, int64_t day_of, int64_t& moment);
