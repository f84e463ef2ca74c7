// Which lines a printf form can have given.

#include "tests/contract/printf_form.h"

#include <gtest/gtest.h>

namespace contract {
namespace {

bool gives(const char* form, const char* text) {
    return form_gives(form_read(form), text);
}

TEST(PrintfForm, gives_its_own_text_and_no_other_when_it_has_no_conversion) {
    EXPECT_TRUE(gives("restart hyd\n", "restart hyd\n"));
    EXPECT_FALSE(gives("restart hyd\n", "restart hyd"));
    EXPECT_FALSE(gives("restart hyd\n", "restart hyd \n"));
    EXPECT_FALSE(gives("restart hyd\n", "now restart hyd\n"));
}

TEST(PrintfForm, gives_any_words_within_the_line_for_a_text) {
    EXPECT_TRUE(gives("%s : enable bcast in %s\n", "hyd_bcast_reset : enable bcast in ath0\n"));
    EXPECT_TRUE(gives("iwconfig %s essid %s", "iwconfig ath0 essid two words"));
    EXPECT_TRUE(gives("sendto error '%s'\n", "sendto error ''\n"));
    EXPECT_FALSE(gives("%s : enable bcast in %s\n", "hyd_bcast_reset : disable bcast in ath0\n"));
    EXPECT_FALSE(gives("%s : Enter\n", "one line\ntwo : Enter\n"));
}

TEST(PrintfForm, tries_further_when_the_text_itself_holds_what_follows) {
    EXPECT_TRUE(gives("%s : Enter\n", "a : Enter : Enter\n"));
    EXPECT_TRUE(gives("iwpriv %s get_whc_dist > %s", "iwpriv a > b get_whc_dist > /tmp/c"));
}

TEST(PrintfForm, gives_only_digits_for_a_number) {
    EXPECT_TRUE(gives("dist %d\n", "dist -1\n"));
    EXPECT_TRUE(gives("dist %d\n", "dist 12\n"));
    EXPECT_FALSE(gives("dist %d\n", "dist \n"));
    EXPECT_FALSE(gives("dist %d\n", "dist -\n"));
    EXPECT_TRUE(gives("scan %hhu\n", "scan 255\n"));
    EXPECT_FALSE(gives("scan %hhu\n", "scan -1\n"));
}

TEST(PrintfForm, gives_two_small_digits_for_each_byte_of_an_address) {
    EXPECT_TRUE(gives("%.2x:%02hhx\n", "0a:ff\n"));
    EXPECT_FALSE(gives("%.2x:%02hhx\n", "0A:ff\n"));
    EXPECT_FALSE(gives("%.2x:%02hhx\n", "a:ff\n"));
}

TEST(PrintfForm, gives_six_decimals_for_seconds) {
    EXPECT_TRUE(gives("Leave %f\n", "Leave 0.000123\n"));
    EXPECT_FALSE(gives("Leave %f\n", "Leave 0.0001\n"));
    EXPECT_FALSE(gives("Leave %f\n", "Leave 1\n"));
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
