#include <gmock/gmock.h>

#include "lab/tools/state_layout.h"
#include "tests/lab/tools_fixture.h"

namespace {

using testing::ElementsAre;

class UciTest : public ToolsTest {};

TEST_F(UciTest, prints_a_stored_value_of_several_words_whole) {
    lab::uci_store_set(root, "wireless.ath0.ssid", "two words");
    const lab::ToolCall call = run("uci", {"get", "wireless.ath0.ssid"});
    EXPECT_EQ(call.out, "two words\n");
    EXPECT_EQ(call.err, "");
    EXPECT_EQ(call.exit_code, 0);
}

TEST_F(UciTest, prints_only_to_standard_error_for_an_unknown_option) {
    const lab::ToolCall call = run("uci", {"get", "wireless.ath0.ssid"});
    EXPECT_EQ(call.out, "");
    EXPECT_EQ(call.err, "uci: Entry not found\n");
    EXPECT_EQ(call.exit_code, 1);
}

TEST_F(UciTest, shows_a_set_value_at_once_and_keeps_it_only_after_a_commit) {
    lab::uci_store_set(root, "wireless.ath0.disabled", "0");
    EXPECT_EQ(out("uci", {"set", "wireless.ath0.disabled=1"}), "");
    EXPECT_EQ(out("uci", {"get", "wireless.ath0.disabled"}), "1\n");
    EXPECT_EQ(lab::uci_committed_get(root, "wireless.ath0.disabled"), "0");
    run("uci", {"commit", "wireless"});
    EXPECT_EQ(lab::uci_committed_get(root, "wireless.ath0.disabled"), "1");
    EXPECT_EQ(lab::uci_store_get(root, "wireless.ath0.disabled"), "1");
}

TEST_F(UciTest, commits_only_the_named_package) {
    run("uci", {"set", "hyd.config.Enable=0"});
    run("uci", {"set", "wireless.ath0.hidden=1"});
    run("uci", {"commit", "wireless"});
    EXPECT_EQ(lab::uci_committed_get(root, "hyd.config.Enable"), "");
    EXPECT_EQ(lab::uci_store_get(root, "hyd.config.Enable"), "0");
    EXPECT_EQ(lab::uci_committed_get(root, "wireless.ath0.hidden"), "1");
}

TEST_F(UciTest, takes_staged_values_back_with_revert) {
    lab::uci_store_set(root, "wireless.ath0.ssid", "mesh");
    run("uci", {"set", "wireless.ath0.ssid=other"});
    run("uci", {"revert", "wireless"});
    EXPECT_EQ(lab::uci_store_get(root, "wireless.ath0.ssid"), "mesh");
}

TEST_F(UciTest, removes_an_option_that_is_set_to_nothing_or_deleted) {
    lab::uci_store_set(root, "wireless.ath0.disabled", "1");
    lab::uci_store_set(root, "wireless.ath1.disabled", "1");
    run("uci", {"set", "wireless.ath0.disabled="});
    run("uci", {"delete", "wireless.ath1.disabled"});
    EXPECT_EQ(out("uci", {"get", "wireless.ath0.disabled"}), "");
    run("uci", {"commit", "wireless"});
    EXPECT_EQ(lab::uci_committed_get(root, "wireless.ath0.disabled"), "");
    EXPECT_EQ(lab::uci_committed_get(root, "wireless.ath1.disabled"), "");
}

TEST_F(UciTest, refuses_a_value_that_came_as_two_words) {
    const lab::ToolCall call = run("uci", {"set", "wireless.ath0.ssid=two", "words"});
    EXPECT_EQ(call.exit_code, 1);
    EXPECT_EQ(call.err, "uci: Invalid argument\n");
    EXPECT_EQ(lab::uci_store_get(root, "wireless.ath0.ssid"), "");
}

TEST_F(UciTest, stores_a_value_with_equals_signs_slashes_and_percents) {
    run("uci", {"set", "wireless.ath0.WPAPSKkey=a=b/%2f"});
    EXPECT_EQ(out("uci", {"get", "wireless.ath0.WPAPSKkey"}), "a=b/%2f\n");
}

TEST_F(UciTest, keeps_a_key_with_slashes_within_the_store) {
    run("uci", {"set", "../../../escape=1"});
    EXPECT_EQ(out("uci", {"get", "../../../escape"}), "1\n");
    EXPECT_THAT(lab::folder_list(root + "/run/lab/state/uci_staged"),
                ElementsAre("%2e.%2f..%2f..%2fescape"));
}

TEST_F(UciTest, lists_what_is_stored_under_a_prefix) {
    lab::uci_store_set(root, "wireless.ath1.ssid", "b");
    lab::uci_store_set(root, "wireless.ath0.ssid", "a");
    lab::uci_store_set(root, "hyd.config.Enable", "1");
    EXPECT_EQ(out("uci", {"show", "wireless"}), "wireless.ath0.ssid='a'\nwireless.ath1.ssid='b'\n");
    EXPECT_THAT(lab::uci_store_keys(root),
                ElementsAre("hyd.config.Enable", "wireless.ath0.ssid", "wireless.ath1.ssid"));
}

TEST_F(UciTest, drops_a_staged_value_when_a_test_stores_one) {
    run("uci", {"set", "wireless.ath0.ssid=staged"});
    lab::uci_store_set(root, "wireless.ath0.ssid", "stored");
    EXPECT_EQ(out("uci", {"get", "wireless.ath0.ssid"}), "stored\n");
    lab::uci_store_unset(root, "wireless.ath0.ssid");
    EXPECT_EQ(out("uci", {"get", "wireless.ath0.ssid"}), "");
}

}  // namespace
