// Outages and tables.
#include <gtest/gtest.h>

#include "lab/report/outage.h"
#include "lab/report/table.h"

namespace lab {
namespace {

TEST(Outages, begin_with_the_first_loss_not_with_the_forming) {
    OutageBook book;
    outage_note(&book, "e1", 0, false);
    outage_note(&book, "e1", 40, true);
    outage_note(&book, "e1", 41, true);
    outage_note(&book, "e1", 100, false);
    outage_note(&book, "e1", 101, false);
    outage_note(&book, "e1", 130, true);
    EXPECT_EQ(book.nodes["e1"].first_ready, 40);
    EXPECT_EQ(book.nodes["e1"].outages, (std::vector<Outage>{{100, 130}}));
}

TEST(Outages, that_are_not_over_last_until_now) {
    OutageBook book;
    outage_note(&book, "e1", 10, true);
    outage_note(&book, "e1", 20, false);
    const OutageSummary summary = outage_summary(book, "e1", 50);
    EXPECT_EQ(summary.count, 1);
    EXPECT_EQ(summary.total, 30);
    EXPECT_TRUE(summary.is_out);
}

TEST(Outages, count_since_a_moment_with_the_part_that_lies_behind_it) {
    OutageBook book;
    outage_note(&book, "e1", 10, true);
    for (const std::int64_t from : {20, 50, 80}) {
        outage_note(&book, "e1", from, false);
        outage_note(&book, "e1", from + 10, true);
    }
    EXPECT_EQ(outage_summary(book, "e1", 100, 30).count, 2);
    const OutageSummary summary = outage_summary(book, "e1", 100, 57);
    EXPECT_EQ(summary.count, 2);
    EXPECT_EQ(summary.total, 3 + 10);
    EXPECT_EQ(summary.worst, 10);
    EXPECT_EQ(outage_summary(book, "e1", 100, 90).count, 0);
}

TEST(Outages, are_summed_up_for_a_node_and_for_all) {
    OutageBook book;
    for (const int length : {5, 100, 20, 7}) {
        const std::string node = length == 7 ? "e2" : "e1";
        const std::int64_t from = std::int64_t{length} * 1000;
        outage_note(&book, node, from - 1, true);
        outage_note(&book, node, from, false);
        outage_note(&book, node, from + length, true);
    }
    const OutageSummary one = outage_summary(book, "e1", 1000000);
    EXPECT_EQ(one.count, 3);
    EXPECT_EQ(one.total, 125);
    EXPECT_EQ(one.worst, 100);
    EXPECT_EQ(one.median, 20);
    EXPECT_FALSE(one.is_out);
    const OutageSummary all = outage_summary_of_all(book, 1000000);
    EXPECT_EQ(all.count, 4);
    EXPECT_EQ(all.median, 7);
    EXPECT_EQ(outage_summary(book, "e9", 5).count, 0);
}

TEST(Durations, are_told_in_minutes_or_hours) {
    EXPECT_EQ(duration_text(0), "0:00");
    EXPECT_EQ(duration_text(123), "2:03");
    EXPECT_EQ(duration_text(3599), "59:59");
    EXPECT_EQ(duration_text(3723), "1:02:03");
}

Table two_nodes() {
    Table table;
    table.columns = {{"NODE"}, {"TIME", Align::right}, {"STATE"}};
    table.rows = {{"root", "7", ""}, {"extender", "1234", TableCell("ready", Colour::green)}};
    return table;
}

TEST(Tables, have_columns_as_wide_as_their_widest_cell) {
    EXPECT_EQ(table_text(two_nodes(), false),
              "NODE      TIME  STATE\n"
              "root         7\n"
              "extender  1234  ready\n");
}

TEST(Tables, colour_cells_without_moving_them) {
    EXPECT_EQ(table_text(two_nodes(), true),
              "\033[1mNODE\033[0m      \033[1mTIME\033[0m  \033[1mSTATE\033[0m\n"
              "root         7\n"
              "extender  1234  \033[32mready\033[0m\n");
}

TEST(Tables, count_characters_not_bytes_and_let_no_control_character_through) {
    Table table;
    table.columns = {{"A"}, {"B"}};
    table.rows = {{"\xC3\xA9\xC3\xA9", "1"}, {"x\033[2J", "2"}, {"short"}, {"a", "b", "surplus"}};
    EXPECT_EQ(table_text(table, false),
              "A      B\n"
              "\xC3\xA9\xC3\xA9     1\n"
              "x?[2J  2\n"
              "short\n"
              "a      b\n");
}

}  // namespace
}  // namespace lab
