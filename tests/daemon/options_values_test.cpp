// The command line: what each letter sets, how numbers are taken, and what is ignored.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "daemon/options.h"

namespace {

/// Parses a command line into `block` as the entry point does, from getopt's start.
void parse(runtime_block& block, std::vector<std::string> words) {
    words.insert(words.begin(), "backhaul_monitor");
    std::vector<char*> argv;
    for (auto& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    optind = 0;
    options_parse(static_cast<int>(words.size()), argv.data(), block);
}

TEST(Options, default_to_3_10_5_and_1) {
    runtime_block block;
    block.max_disconnect = 0;
    block.loop_disconnect = 0;
    block.ready_decay = 0;
    block.intf_init = 0;
    options_default_set(block);
    EXPECT_EQ(block.max_disconnect, 3);
    EXPECT_EQ(block.loop_disconnect, 10);
    EXPECT_EQ(block.ready_decay, 5);
    EXPECT_EQ(block.intf_init, 1);
}

TEST(Options, leave_everything_at_its_default_when_none_is_given) {
    runtime_block block;
    options_default_set(block);
    parse(block, {});
    EXPECT_EQ(block.master, 0);
    EXPECT_EQ(block.backhaul_ap_enable, 0);
    EXPECT_EQ(block.b_arg, nullptr);
    EXPECT_EQ(block.max_disconnect, 3);
    EXPECT_EQ(block.loop_disconnect, 10);
    EXPECT_EQ(block.ready_decay, 5);
}

TEST(Options, set_the_field_of_each_letter) {
    runtime_block block;
    options_default_set(block);
    parse(block, {"-m", "-d", "-p", "7", "-x", "20", "-r", "9", "-b", "eth0 text"});
    EXPECT_EQ(block.master, 1);
    EXPECT_EQ(block.backhaul_ap_enable, 1);
    EXPECT_EQ(block.max_disconnect, 7);
    EXPECT_EQ(block.loop_disconnect, 20);
    EXPECT_EQ(block.ready_decay, 9);
    EXPECT_STREQ(block.b_arg, "eth0 text");
    EXPECT_EQ(block.intf_init, 1);
    std::free(block.b_arg);
}

TEST(Options, take_d_without_an_argument) {
    runtime_block block;
    parse(block, {"-dm"});
    EXPECT_EQ(block.backhaul_ap_enable, 1);
    EXPECT_EQ(block.master, 1);
}

TEST(OptionNumber, is_kept_in_one_byte) {
    EXPECT_EQ(option_number("0"), 0);
    EXPECT_EQ(option_number("255"), 255);
    EXPECT_EQ(option_number("256"), 0);
    EXPECT_EQ(option_number("300"), 44);
    EXPECT_EQ(option_number("-1"), 255);
    EXPECT_EQ(option_number("many"), 0);
    EXPECT_EQ(option_number(""), 0);
    EXPECT_EQ(option_number("12abc"), 12);
}

TEST(Options, store_0_for_p_256_and_44_for_p_300) {
    runtime_block block;
    parse(block, {"-p", "256"});
    EXPECT_EQ(block.max_disconnect, 0);
    parse(block, {"-p300"});
    EXPECT_EQ(block.max_disconnect, 44);
    parse(block, {"-p", "0"});
    EXPECT_EQ(block.max_disconnect, 0);
}

TEST(Options, go_on_after_an_unknown_letter) {
    runtime_block block;
    testing::internal::CaptureStderr();
    parse(block, {"-q", "-m", "-p", "4"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "backhaul_monitor: invalid option -- 'q'\n");
    EXPECT_EQ(block.master, 1);
    EXPECT_EQ(block.max_disconnect, 4);
}

TEST(Options, keep_the_default_when_the_argument_is_missing) {
    runtime_block block;
    options_default_set(block);
    testing::internal::CaptureStderr();
    parse(block, {"-m", "-x"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "backhaul_monitor: option requires an argument -- 'x'\n");
    EXPECT_EQ(block.master, 1);
    EXPECT_EQ(block.loop_disconnect, 10);
}

TEST(Options, keep_the_last_b_and_do_not_free_the_first) {
    runtime_block block;
    parse(block, {"-b", "first"});
    char* const first = block.b_arg;
    parse(block, {"-b", "second"});
    EXPECT_STREQ(block.b_arg, "second");
    EXPECT_STREQ(first, "first");
    std::free(first);
    std::free(block.b_arg);
}

TEST(Options, hand_on_a_copy_of_the_b_text) {
    runtime_block block;
    std::string text = "text";
    char name[] = "backhaul_monitor";
    char letter[] = "-b";
    char* argv[] = {name, letter, text.data(), nullptr};
    optind = 0;
    options_parse(3, argv, block);
    text[0] = 'n';
    EXPECT_STREQ(block.b_arg, "text");
    std::free(block.b_arg);
}

}  // namespace
