// Options of the wireless configuration store.

#include "device/uci.h"

#include "lab/tools/answer.h"
#include "tests/device/device_fixture.h"
#include "tests/harness/contract_record.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Uci : public DeviceTest {};

template <size_t N>
std::string get(const char* section, const char* option) {
    std::array<char, N> out{};
    out.fill('x');
    wireless_uci_get(section, option, out);
    return out.data();
}

TEST_F(Uci, reads_a_stored_option) {
    uci_put("ath20.auth", "WPA2PSK");
    EXPECT_EQ(get<65>("ath20", "auth"), "WPA2PSK");
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath20.auth"));
}

TEST_F(Uci, reads_an_empty_text_for_an_unknown_section) {
    EXPECT_EQ(get<65>("ath99", "ssid"), "");
    EXPECT_THAT(journal(), ElementsAre("$ uci get wireless.ath99.ssid"));
}

TEST_F(Uci, reads_only_the_first_word_of_a_value_with_a_blank) {
    uci_put("ath0.ssid", "two words");
    EXPECT_EQ(get<65>("ath0", "ssid"), "two");
}

TEST_F(Uci, cuts_a_value_at_64_characters) {
    const std::string value = "0123456789012345678901234567890123456789012345678901234567890123";
    uci_put("ath0.WPAPSKkey", value + "45");
    EXPECT_EQ(get<65>("ath0", "WPAPSKkey"), value);
    EXPECT_EQ(get<100>("ath0", "WPAPSKkey"), value);
}

TEST_F(Uci, cuts_a_value_at_the_size_of_the_buffer) {
    uci_put("ath0.disabled", "012345678");
    EXPECT_EQ(get<8>("ath0", "disabled"), "0123456");
    EXPECT_EQ(get<1>("ath0", "disabled"), "");
}

TEST_F(Uci, takes_no_value_from_an_empty_line) {
    lab::answer_push("", "uci.get", "\n");
    EXPECT_EQ(get<65>("ath0", "ssid"), "");
}

TEST_F(Uci, prints_a_line_and_reads_nothing_when_there_is_no_pipe) {
    testing::internal::CaptureStdout();
    {
        const harness::DescriptorsRefused refused;
        EXPECT_EQ(get<65>("ath0", "ssid"), "");
    }
    EXPECT_EQ(harness::captured_stdout(), "wireless_uci_get : can't open file\n");
    EXPECT_THAT(journal(), IsEmpty());
}

TEST_F(Uci, reads_nothing_with_a_line_that_does_not_fit) {
    // "uci get wireless." and ".ssid" leave 41 characters for the section.
    EXPECT_EQ(get<65>(std::string(41, 'a').c_str(), "ssid"), "");
    EXPECT_EQ(journal().size(), 1U);
    EXPECT_EQ(get<65>(std::string(42, 'a').c_str(), "ssid"), "");
    EXPECT_EQ(journal().size(), 1U);
}

TEST_F(Uci, commits_each_option_that_it_sets) {
    wireless_uci_set("ath22", "hidden", "1");
    EXPECT_THAT(journal(),
                ElementsAre("$ uci set wireless.ath22.hidden=1", "$ uci commit wireless"));
    EXPECT_EQ(uci_value("ath22.hidden"), "1");
}

TEST_F(Uci, sets_a_value_without_quoting_it) {
    wireless_uci_set("ath0", "ssid", "two words");
    EXPECT_THAT(journal(),
                ElementsAre("$ uci set wireless.ath0.ssid=two words", "$ uci commit wireless"));
}

TEST_F(Uci, sets_nothing_with_a_line_that_does_not_fit) {
    wireless_uci_set("ath0", "ssid", std::string(60, 'a').c_str());
    EXPECT_THAT(journal(), IsEmpty());
}

}  // namespace
