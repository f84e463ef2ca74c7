// Commands of the control FIFO: the bytes of one read.

#include "intake/fifo_command.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

constexpr uint8_t EXTENDER = 0;
constexpr uint8_t ROOT = 1;

fifo_command parsed(const std::string& bytes, uint8_t master) {
    std::array<char, FIFO_READ_SIZE> buffer{};
    std::memcpy(buffer.data(), bytes.data(), bytes.size());
    return fifo_command_parse(buffer, static_cast<long>(bytes.size()), master);
}

TEST(FifoCommand, is_known_by_its_whole_word_in_either_role) {
    for (const uint8_t master : {EXTENDER, ROOT}) {
        EXPECT_EQ(parsed("uplink_scan\n", master), fifo_command::uplink_scan);
        EXPECT_EQ(parsed("network_reload\n", master), fifo_command::network_reload);
        EXPECT_EQ(parsed("eth_detect\n", master), fifo_command::eth_detect);
        EXPECT_EQ(parsed("eth_lost\n", master), fifo_command::eth_lost);
    }
}

TEST(FifoCommand, changes_the_role_only_to_the_other_one) {
    EXPECT_EQ(parsed("master\n", EXTENDER), fifo_command::master);
    EXPECT_EQ(parsed("master\n", ROOT), fifo_command::none);
    EXPECT_EQ(parsed("slave\n", ROOT), fifo_command::slave);
    EXPECT_EQ(parsed("slave\n", EXTENDER), fifo_command::none);
}

TEST(FifoCommand, re_evaluates_the_approval_list_on_a_root_only) {
    EXPECT_EQ(parsed("approval_list_changed\n", ROOT), fifo_command::approval_list_changed);
    EXPECT_EQ(parsed("approval_list_changed\n", EXTENDER), fifo_command::none);
}

TEST(FifoCommand, loses_its_last_byte_whatever_it_is) {
    EXPECT_EQ(parsed("master", EXTENDER), fifo_command::none) << "the word read is maste";
    EXPECT_EQ(parsed("masterX", EXTENDER), fifo_command::master);
    EXPECT_EQ(parsed("eth_lost\r\n", EXTENDER), fifo_command::none);
}

TEST(FifoCommand, is_none_for_two_commands_in_one_read) {
    EXPECT_EQ(parsed("eth_detect\neth_lost\n", EXTENDER), fifo_command::none);
}

TEST(FifoCommand, is_none_for_unknown_words_and_other_cases) {
    for (const char* const word : {"\n", "x\n", "Master\n", "MASTER\n", " master\n", "master \n",
                                   "eth\n", "uplink_scan_now\n"}) {
        EXPECT_EQ(parsed(word, EXTENDER), fifo_command::none) << word;
    }
}

TEST(FifoCommand, is_none_for_a_read_that_brought_nothing) {
    std::array<char, FIFO_READ_SIZE> buffer{};
    std::memcpy(buffer.data(), "master", 7);
    const auto before = buffer;
    EXPECT_EQ(fifo_command_parse(buffer, 0, EXTENDER), fifo_command::none);
    EXPECT_EQ(fifo_command_parse(buffer, -1, EXTENDER), fifo_command::none);
    EXPECT_EQ(buffer, before) << "nothing is written before the buffer or in it";
}

TEST(FifoCommand, is_bounded_when_the_read_fills_the_buffer) {
    EXPECT_EQ(parsed(std::string(FIFO_READ_SIZE, 'm'), EXTENDER), fifo_command::none);
    EXPECT_EQ(parsed("eth_lost" + std::string(FIFO_READ_SIZE - 8, '\0'), EXTENDER),
              fifo_command::eth_lost);
}

TEST(FifoCommand, leaves_the_word_alone_in_the_buffer) {
    std::array<char, FIFO_READ_SIZE> buffer{};
    std::memcpy(buffer.data(), "eth_detect\n", 11);
    EXPECT_EQ(fifo_command_parse(buffer, 11, EXTENDER), fifo_command::eth_detect);
    EXPECT_STREQ(buffer.data(), "eth_detect");
}

}  // namespace
