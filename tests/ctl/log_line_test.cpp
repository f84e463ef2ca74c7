#include "ctl/log_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr int64_t MOMENT = 1700000000;  // Tue Nov 14 22:13:20 2023

int64_t parsed(std::string_view text, int64_t day_of = MOMENT) {
    int64_t moment = LOG_TIME_NONE;
    return log_time_parse(text, day_of, moment) ? moment : LOG_TIME_NONE;
}

TEST(LogLine, takes_date_and_text_apart) {
    log_dates dates;
    log_entry entry;
    ASSERT_TRUE(log_line_read("Tue Nov 14 22:13:20 2023 : restart hyd", dates, entry));
    EXPECT_EQ(entry.time, MOMENT);
    EXPECT_EQ(entry.text, "restart hyd");
}

TEST(LogLine, reads_a_day_of_one_figure_and_a_leap_day) {
    log_dates dates;
    log_entry entry;
    ASSERT_TRUE(log_line_read("Thu Feb 29 00:00:00 2024 : x", dates, entry));
    EXPECT_EQ(entry.time, 1709164800);
    ASSERT_TRUE(log_line_read("Fri Mar  1 00:00:00 2024 : x", dates, entry));
    EXPECT_EQ(entry.time, 1709164800 + 86400);
}

TEST(LogLine, takes_nothing_that_is_no_entry) {
    log_dates dates;
    log_entry entry;
    for (const char* const line : {"",
                                   "restart hyd",
                                   "Tue Nov 14 22:13:20 2023 ; x",
                                   "Tue Nov 31 22:13:20 2023 : x",
                                   "Tue Feb 29 22:13:20 2023 : x",
                                   "Tue Nov 14 24:13:20 2023 : x",
                                   "Xue Nov 14 22:13:20 2023 : x",
                                   "Tue Nov 14 22:13:20 2023 :",
                                   "Tue Nov 14 22:13:20 2023: :x",
                                   "Tue Nov 14 22:13:20 2023 :xx",
                                   "Tue-Nov 14 22:13:20 2023 : x",
                                   "Tue Nov-14 22:13:20 2023 : x",
                                   "Tue Nov 14-22:13:20 2023 : x",
                                   "Tue Nov 14 22:13:20-2023 : x",
                                   "Tue Nox 14 22:13:20 2023 : x",
                                   "Tue Nov  0 22:13:20 2023 : x",
                                   "Tue Nov x4 22:13:20 2023 : x",
                                   "Tue Nov 1/ 22:13:20 2023 : x",
                                   "Tue Nov 14 22-13:20 2023 : x",
                                   "Tue Nov 14 22:13-20 2023 : x",
                                   "Tue Nov 14 22:60:20 2023 : x",
                                   "Tue Nov 14 22:13:61 2023 : x",
                                   "Tue Nov 14 2x:13:20 2023 : x",
                                   "Tue Nov 14 22:x3:20 2023 : x",
                                   "Tue Nov 14 22:13:x0 2023 : x",
                                   "Tue Nov 14 22:13:20 x023 : x",
                                   "Tue Nov 14 22:13:20 202x : x",
                                   "Tue Nov 14 22:13:20 1969 : x",
                                   "Wed Feb 29 22:13:20 2100 : x"}) {
        EXPECT_FALSE(log_line_read(line, dates, entry)) << line;
    }
}

TEST(LogLine, finds_the_entry_that_another_one_runs_on_into) {
    log_dates dates;
    EXPECT_EQ(log_line_run_on("no line endTue Nov 14 22:13:21 2023 : restart hyd", dates), 11U);
    EXPECT_EQ(log_line_run_on("backhaul_connected : Unknown status", dates),
              std::string_view::npos);
}

TEST(LogLine, counts_each_day_of_four_centuries_once) {
    int64_t expected = log_time_make(1970, 1, 1, 0);
    EXPECT_EQ(expected, 0);
    for (int year = 1970; year < 2370; ++year) {
        for (int month = 1; month <= 12; ++month) {
            const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
            const int days = month == 2 ? (leap ? 29 : 28)
                             : month == 4 || month == 6 || month == 9 || month == 11 ? 30
                                                                                     : 31;
            for (int day = 1; day <= days; ++day, expected += 86400) {
                ASSERT_EQ(log_time_make(year, month, day, 0), expected) << year << month << day;
            }
        }
    }
}

TEST(LogTime, reads_what_people_type) {
    EXPECT_EQ(parsed("2023-11-14 22:13:20"), MOMENT);
    EXPECT_EQ(parsed("2023-11-14T22:13:20"), MOMENT);
    EXPECT_EQ(parsed("2023-11-14 22:13"), MOMENT - 20);
    EXPECT_EQ(parsed("22:13:21"), MOMENT + 1);
    EXPECT_EQ(parsed("00:00"), MOMENT - MOMENT % 86400);
    EXPECT_EQ(parsed("Tue Nov 14 22:13:20 2023"), MOMENT);
}

TEST(LogTime, refuses_what_is_no_time) {
    for (const char* const text : {"",
                                   "now",
                                   "25:00",
                                   "2023-13-14 22:13:20",
                                   "2023-11-14",
                                   "22:13:20 x",
                                   "2023-11-14 22:13:2x",
                                   "2023x11-14 22:13:20",
                                   "2023-11x14 22:13:20",
                                   "2023-11-14x22:13:20",
                                   "xx23-11-14 22:13:20",
                                   "20xx-11-14 22:13:20",
                                   "2023-xx-14 22:13:20",
                                   "2023-11-xx 22:13:20",
                                   "2023-11-14 22-13:20",
                                   "2023-11-14 22:13-20",
                                   "22x13",
                                   "2x:13",
                                   "22:1x",
                                   "22:13x20",
                                   "22:13:2x",
                                   "Tue Nov 99 22:13:20 2023"}) {
        EXPECT_EQ(parsed(text), LOG_TIME_NONE) << text;
    }
    EXPECT_EQ(parsed("22:13", LOG_TIME_NONE), LOG_TIME_NONE);
}

TEST(LogTime, prints_moments_and_lengths_for_people) {
    EXPECT_STREQ(log_time_text(MOMENT).data(), "2023-11-14 22:13:20");
    EXPECT_STREQ(log_time_text(LOG_TIME_NONE).data(), "unknown");
    EXPECT_STREQ(log_length_text(0).data(), "0 s");
    EXPECT_STREQ(log_length_text(180).data(), "3 min");
    EXPECT_STREQ(log_length_text(185).data(), "3 min 5 s");
    EXPECT_STREQ(log_length_text(7200).data(), "2 h");
    EXPECT_STREQ(log_length_text(7800).data(), "2 h 10 min");
    EXPECT_STREQ(log_length_text(4 * 86400 + 3 * 3600).data(), "4 d 3 h");
}

}  // namespace
