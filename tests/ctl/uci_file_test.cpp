#include "ctl/uci_file.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

TEST(UciFile, reads_named_and_anonymous_sections) {
    const auto file = std::make_unique<uci_file>();
    for (const char* const line :
         {"# a comment", "", "config wifi-iface 'ath0'", "\toption ssid 'two words'",
          "\toption disabled \"1\"", "  option disabled 0", "config wifi-iface",
          "\toption ssid plain # and a comment", "\tlist peers 'x'"}) {
        uci_line_read(line, *file);
    }
    ASSERT_EQ(file->section_count, 2U);
    EXPECT_STREQ(file->sections[0].name.data(), "ath0");
    EXPECT_STREQ(file->sections[1].name.data(), "");
    EXPECT_STREQ(uci_option_find(*file, "ath0", "ssid"), "two words");
    EXPECT_STREQ(uci_option_find(*file, "ath0", "disabled"), "0");
    EXPECT_EQ(uci_option_find(*file, "ath0", "key"), nullptr);
    EXPECT_EQ(uci_option_find(*file, "ath1", "ssid"), nullptr);
    EXPECT_EQ(file->strange_lines, 0U);
}

TEST(UciFile, counts_what_it_does_not_understand) {
    const auto file = std::make_unique<uci_file>();
    uci_line_read("nonsense here", *file);
    uci_line_read("option before any-section", *file);
    EXPECT_GE(file->strange_lines, 1U);
    EXPECT_EQ(file->option_count, 0U);
}

TEST(UciFile, drops_what_exceeds_its_bounds) {
    const auto file = std::make_unique<uci_file>();
    for (int i = 0; i < 5000; ++i) {
        uci_line_read("config a b", *file);
        uci_line_read("option c d", *file);
    }
    EXPECT_EQ(file->section_count, UCI_SECTIONS_MAX);
    EXPECT_EQ(file->option_count, UCI_OPTIONS_MAX);
    uci_line_read("config " + std::string(500, 'x'), *file);
}

}  // namespace
