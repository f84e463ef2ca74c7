#include "ctl/log_line.h"

#include "ctl/text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr int64_t DAY_SECONDS = 86400;

constexpr std::array<std::string_view, 12> MONTHS = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<std::string_view, 7> DAYS = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

/// Two characters as a number, the first of which may be blank; -1 when they are none.
int two_digits(std::string_view text, size_t at) {
    const char high = text[at] == ' ' ? '0' : text[at];
    const char low = text[at + 1];
    if (high < '0' || high > '9' || low < '0' || low > '9') {
        return -1;
    }
    return (high - '0') * 10 + (low - '0');
}

/// Four figures as a year; 0, which is none, when they are no figures.
int year_read(std::string_view text, size_t at) {
    int year = 0;
    for (const char c : std::string_view(text.data() + at, 4)) {
        if (c < '0' || c > '9') {
            return 0;
        }
        year = year * 10 + (c - '0');
    }
    return year;
}

int month_find(std::string_view text) {
    const auto* const found = std::ranges::find(MONTHS, text);
    return found == MONTHS.end() ? 0 : static_cast<int>(found - MONTHS.begin()) + 1;
}

bool date_exists(int year, int month, int day) {
    constexpr std::array<int, 12> LENGTHS = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (year < 1970 || year > 9999 || month < 1 || month > 12 || day < 1) {
        return false;
    }
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= LENGTHS[static_cast<size_t>(month) - 1] + (month == 2 && leap ? 1 : 0);
}

/// "22:13:20" or "22:13" at the beginning; -1 when it is no time of day, and whatever follows.
int day_seconds_read(std::string_view text) {
    if ((text.size() != 8 && text.size() != 5) || text[2] != ':') {
        return -1;
    }
    const int hours = two_digits(text, 0);
    const int minutes = two_digits(text, 3);
    const int seconds = text.size() == 8 && text[5] == ':' ? two_digits(text, 6) : 0;
    const bool good = hours >= 0 && hours < 24 && minutes >= 0 && minutes < 60 && seconds >= 0 &&
                      seconds <= 60 && (text.size() == 5 || text[5] == ':');
    return good ? hours * 3600 + minutes * 60 + seconds : -1;
}

int64_t ctime_read(std::string_view text) {
    if (text.size() < LOG_DATE_SIZE || text[3] != ' ' || text[7] != ' ' || text[10] != ' ' ||
        text[19] != ' ' || std::ranges::find(DAYS, text_first(text, 3)) == DAYS.end()) {
        return LOG_TIME_NONE;
    }
    const int month = month_find({text.data() + 4, 3});
    const int day = two_digits(text, 8);
    const int of_day = day_seconds_read({text.data() + 11, 8});
    const int year = year_read(text, 20);
    if (of_day < 0 || !date_exists(year, month, day)) {
        return LOG_TIME_NONE;
    }
    return log_time_make(year, month, day, of_day);
}

}  // namespace

int64_t log_time_make(int year, int month, int day, int seconds_of_day) {
    // Years that begin in March have their leap day at the end.
    const int64_t y = month <= 2 ? year - 1 : year;
    const int64_t m = month <= 2 ? month + 9 : month - 3;
    const int64_t days = y * 365 + y / 4 - y / 100 + y / 400 + (m * 306 + 5) / 10 + day - 1;
    constexpr int64_t DAYS_TO_1970 = 719468;
    return (days - DAYS_TO_1970) * DAY_SECONDS + seconds_of_day;
}

int64_t log_dates::read(std::string_view text) {
    if (text.size() < LOG_DATE_SIZE) {
        return LOG_TIME_NONE;
    }
    if (last_time_ != LOG_TIME_NONE && std::memcmp(text.data(), last_.data(), LOG_DATE_SIZE) == 0) {
        return last_time_;
    }
    const int64_t time = ctime_read(text);
    if (time != LOG_TIME_NONE) {
        std::memcpy(last_.data(), text.data(), LOG_DATE_SIZE);
        last_time_ = time;
    }
    return time;
}

bool log_line_read(std::string_view line, log_dates& dates, log_entry& entry) {
    if (line.size() < LOG_PREFIX_SIZE || line[24] != ' ' || line[25] != ':' || line[26] != ' ') {
        return false;
    }
    const int64_t time = dates.read(line);
    if (time == LOG_TIME_NONE) {
        return false;
    }
    entry = {time, text_from(line, LOG_PREFIX_SIZE), line};
    return true;
}

size_t log_line_run_on(std::string_view text, log_dates& dates) {
    log_entry entry;
    for (size_t at = text.find(" : "); at != std::string_view::npos;
         at = text.find(" : ", at + 1)) {
        if (at >= LOG_DATE_SIZE &&
            log_line_read(text_from(text, at - LOG_DATE_SIZE), dates, entry)) {
            return at - LOG_DATE_SIZE;
        }
    }
    return std::string_view::npos;
}

int64_t log_time_of(int64_t system_seconds) {
    const auto moment = static_cast<time_t>(system_seconds);
    tm parts{};
    if (localtime_r(&moment, &parts) == nullptr) {
        return LOG_TIME_NONE;
    }
    return log_time_make(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                         parts.tm_hour * 3600 + parts.tm_min * 60 + parts.tm_sec);
}

int64_t log_now() {
    return log_time_of(time(nullptr));
}

time_text log_time_text(int64_t moment) {
    time_text text{};
    const auto seconds = static_cast<time_t>(moment);
    tm parts{};
    if (moment == LOG_TIME_NONE || gmtime_r(&seconds, &parts) == nullptr) {
        text_copy(text, "unknown");
        return text;
    }
    strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

length_text log_length_text(int64_t seconds) {
    length_text text{};
    const auto print = [&](const char* format, int64_t high, int64_t low) {
        std::snprintf(text.data(), text.size(), format, static_cast<long long>(high),
                      static_cast<long long>(low));
    };
    if (seconds < 60) {
        print("%lld s", seconds, 0);
    } else if (seconds < 3600) {
        print(seconds % 60 == 0 ? "%lld min" : "%lld min %lld s", seconds / 60, seconds % 60);
    } else if (seconds < DAY_SECONDS) {
        print(seconds % 3600 < 60 ? "%lld h" : "%lld h %lld min", seconds / 3600,
              seconds % 3600 / 60);
    } else {
        print("%lld d %lld h", seconds / DAY_SECONDS, seconds % DAY_SECONDS / 3600);
    }
    return text;
}

bool log_time_parse(std::string_view text, int64_t day_of, int64_t& moment) {
    if (text.size() == LOG_DATE_SIZE) {
        moment = ctime_read(text);
        return moment != LOG_TIME_NONE;
    }
    const int of_day_only = day_seconds_read(text);
    if (of_day_only >= 0) {
        if (day_of == LOG_TIME_NONE) {
            return false;
        }
        moment = day_of - day_of % DAY_SECONDS + of_day_only;
        return true;
    }
    if (text.size() < 16 || text[4] != '-' || text[7] != '-' ||
        (text[10] != ' ' && text[10] != 'T')) {
        return false;
    }
    const int year = year_read(text, 0);
    const int month = two_digits(text, 5);
    const int day = two_digits(text, 8);
    const int of_day = day_seconds_read(text_from(text, 11));
    if (of_day < 0 || !date_exists(year, month, day)) {
        return false;
    }
    moment = log_time_make(year, month, day, of_day);
    return true;
}
