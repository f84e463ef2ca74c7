// The texts of the log against the contract's list, and how they are taken apart.
#include "ctl/log_event.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "ctl/log_texts.h"
#include "tests/contract/text_list.h"
#include "tests/ctl/ctl_program.h"

namespace {

std::string words_of(const std::string& text) {
    std::array<char, 300> words{};
    log_event_words(log_event_read(text), text, words);
    return words.data();
}

void replace_all(std::string& text, const std::string& what, const std::string& with) {
    for (size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + with.size())) {
        text.replace(at, what.size(), with);
    }
}

/// The text as the daemon would say it of ath0, with numbers and an address.
std::string said(const contract::Text& one) {
    std::string text = one.raw;
    if (!one.section.empty()) {
        const size_t at = text.find("%s");
        text.replace(at, 2, one.section);
    }
    replace_all(text, "%.2x:%.2x:%.2x:%.2x:%.2x:%.2x", "02:00:00:00:01:04");
    replace_all(text, "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx", "02:00:00:00:01:04");
    const bool is_mac = text.find("request to clear") != std::string::npos;
    replace_all(text, "%s", is_mac ? "02:00:00:00:01:04" : "ath0");
    replace_all(text, "%hhu", "7");
    replace_all(text, "%d", "3");
    replace_all(text, "%f", "0.250000");
    replace_all(text, "\\n", "");
    replace_all(text, "\n", "");
    return text;
}

TEST(LogTexts, know_every_text_of_the_contract) {
    std::vector<std::string> errors;
    const auto texts = contract::texts_read(
        "flow_log", ctl_test::text_of(BACKHAUL_SOURCE_DIR "/tests/contract/flow_log.txt"), &errors);
    ASSERT_TRUE(errors.empty()) << errors[0];
    ASSERT_GT(texts.size(), 100U);
    for (const contract::Text& one : texts) {
        EXPECT_NE(log_event_read(said(one)).row, nullptr) << said(one);
    }
}

TEST(LogTexts, are_all_said_by_the_contract) {
    std::vector<std::string> errors;
    const auto texts = contract::texts_read(
        "flow_log", ctl_test::text_of(BACKHAUL_SOURCE_DIR "/tests/contract/flow_log.txt"), &errors);
    std::set<const log_text*> seen;
    for (const contract::Text& one : texts) {
        seen.insert(log_event_read(said(one)).row);
    }
    for (const log_text& row : LOG_TEXTS) {
        EXPECT_TRUE(seen.contains(&row)) << row.pattern;
    }
}

TEST(LogEvent, takes_a_state_change_apart) {
    const log_event event =
        log_event_read("backhaul_intf_state_change : change ath0 state from 3 to 16");
    EXPECT_EQ(event.kind, log_kind::state_change);
    EXPECT_EQ(event.interface, "ath0");
    EXPECT_EQ(event.numbers[0], 3);
    EXPECT_EQ(event.numbers[1], 16);
    EXPECT_EQ(words_of("backhaul_intf_state_change : change ath0 state from 3 to 16"),
              "ath0 is asked to go from CONNECTING_BACKHAUL_AP (3) to ETH_BACKHAUL_STANDBY (16)");
}

TEST(LogEvent, does_not_take_what_only_looks_alike) {
    for (const char* const text :
         {"backhaul_intf_state_change : change ath0 state from 3 to 16 ",
          "backhaul_intf_state_change : change ath0 state from x to 16",
          "backhaul_intf_state_change : change a_name_of_sixteen state from 3 to 4",
          "Connect with : 02:00:00:00:01:0", "Connect with : 02:00:00:00:01:0g", "restart hyd now",
          "", "INIT", "Connect with : 02-00:00:00:01:04", "Connect with : 02:00:00:00:01:0/",
          "Connect with : 02:00:00:00:01:0`", "Connect with : 02:00:00:00:01:0:",
          "Connect with : 02:00:00:00:01:0@", "Connect with : 02:00:00:00:01:04 ",
          "wifi_slave_event_process : ifname  event 1", "wifi_slave_event_process : ifname ath0",
          "wifi_slave_event_process : ifname ath0\x7f event 1"}) {
        EXPECT_EQ(log_event_read(text).row, nullptr) << text;
    }
}

TEST(LogEvent, says_what_is_dispatched) {
    const std::string text = "wifi_slave_event_process : ifname ath0 event ";
    EXPECT_EQ(words_of(text + "0"), "ath0: it is to start");
    EXPECT_EQ(words_of(text + "1"), "ath0: it has associated");
    EXPECT_EQ(words_of(text + "2"), "ath0: it has lost its AP");
    EXPECT_EQ(words_of(text + "5"), "ath0: its time is up");
    EXPECT_EQ(words_of(text + "6"), "ath0: the agent is done");
    EXPECT_EQ(words_of(text + "7"), "ath0: it is to move to a better AP");
    EXPECT_EQ(words_of(text + "9"), "ath0: an event of no meaning");
    EXPECT_NE(words_of("Connect with : 0A:bC:dE:0f:99:04").find("0A:bC:dE:0f:99:04"),
              std::string::npos);
}

TEST(LogEvent, cuts_words_to_the_room_for_them) {
    const std::string text = "wifi_slave_event_process : ifname ath0 event 0";
    std::array<char, 9> room{};
    log_event_words(log_event_read(text), text, room);
    EXPECT_STREQ(room.data(), "ath0: it");
}

TEST(LogEvent, shows_an_unknown_text_without_its_control_characters) {
    EXPECT_EQ(words_of("new \x1b[31mtext"), "new ?[31mtext");
}

}  // namespace
