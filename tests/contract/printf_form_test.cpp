// Which lines a printf form can have given.

#include "tests/contract/printf_form.h"

#include <gtest/gtest.h>

namespace contract {
namespace {

struct Row {
    const char* form;
    std::vector<const char*> gives;
    std::vector<const char*> does_not;
};

void expect_rows(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        for (const char* text : row.gives) {
            EXPECT_TRUE(form_gives(form_read(row.form), text)) << row.form << " and " << text;
        }
        for (const char* text : row.does_not) {
            EXPECT_FALSE(form_gives(form_read(row.form), text)) << row.form << " and " << text;
        }
    }
}

TEST(PrintfForm, gives_its_own_text_and_no_other_when_it_has_no_conversion) {
    expect_rows({{"restart hyd\n",
                  {"restart hyd\n"},
                  {"restart hyd", "restart hyd \n", "now restart hyd\n"}}});
}

TEST(PrintfForm, gives_any_words_within_the_line_for_a_text) {
    expect_rows({{"%s : enable bcast in %s\n",
                  {"hyd_bcast_reset : enable bcast in ath0\n"},
                  {"hyd_bcast_reset : disable bcast in ath0\n"}},
                 {"iwconfig %s essid %s", {"iwconfig ath0 essid two words"}, {}},
                 {"sendto error '%s'\n", {"sendto error ''\n"}, {}},
                 // Further on when the text itself holds what follows.
                 {"%s : Enter\n", {"a : Enter : Enter\n"}, {"one line\ntwo : Enter\n"}},
                 {"iwpriv %s get_whc_dist > %s", {"iwpriv a > b get_whc_dist > /tmp/c"}, {}}});
}

TEST(PrintfForm, gives_only_what_each_conversion_of_a_number_prints) {
    expect_rows({{"dist %d\n", {"dist -1\n", "dist 12\n"}, {"dist \n", "dist -\n"}},
                 {"scan %hhu\n", {"scan 255\n"}, {"scan -1\n"}},
                 {"%.2x:%02hhx\n", {"0a:ff\n"}, {"0A:ff\n", "a:ff\n"}},
                 {"Leave %f\n", {"Leave 0.000123\n"}, {"Leave 0.0001\n", "Leave 1\n"}}});
}

TEST(PrintfForm, gives_only_the_named_function_once_its_name_is_filled_in) {
    const Form form = form_named(form_read("%s : reload %s\n"), "ap_alive_chk");
    EXPECT_TRUE(form_gives(form, "ap_alive_chk : reload ath10\n"));
    EXPECT_FALSE(form_gives(form, "other : reload ath10\n"));
}

TEST(PrintfForm, begins_a_longer_line_when_it_has_no_end_of_its_own) {
    const Form form = form_read("lookaside configuration filed: %d");
    EXPECT_TRUE(form_begins(form, "lookaside configuration filed: 5Slave\n"));
    EXPECT_FALSE(form_begins(form, "a lookaside configuration filed: 5"));
    EXPECT_FALSE(form_gives(form, "lookaside configuration filed: 5Slave\n"));
}

TEST(PrintfForm, is_refused_when_it_has_an_unknown_conversion) {
    EXPECT_TRUE(form_read("%.24s : ").empty());
    EXPECT_TRUE(form_read("100%").empty());
}

}  // namespace
}  // namespace contract
