// The command line: what each letter sets, how numbers are taken, and what is ignored.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>
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

/// -m, -d, -p, -x, -r and -b as they stand in a block.
using fields = std::tuple<int, int, int, int, int, std::string>;

fields parsed(std::vector<std::string> words) {
    runtime_block block;
    options_default_set(block);
    parse(block, std::move(words));
    const std::string text = block.b_arg == nullptr ? "none" : block.b_arg;
    std::free(block.b_arg);
    EXPECT_EQ(block.intf_init, 1);
    return {block.master,          block.backhaul_ap_enable, block.max_disconnect,
            block.loop_disconnect, block.ready_decay,        text};
}

TEST(Options, set_the_field_of_each_letter_and_leave_the_others_at_their_defaults) {
    EXPECT_EQ(parsed({}), (fields{0, 0, 3, 10, 5, "none"}));
    EXPECT_EQ(parsed({"-m", "-d", "-p", "7", "-x", "20", "-r", "9", "-b", "eth0 text"}),
              (fields{1, 1, 7, 20, 9, "eth0 text"}));
    EXPECT_EQ(parsed({"-dm"}), (fields{1, 1, 3, 10, 5, "none"})) << "-d takes no argument";
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
    EXPECT_EQ(parsed({"-p", "256"}), (fields{0, 0, 0, 10, 5, "none"}));
    EXPECT_EQ(parsed({"-p300"}), (fields{0, 0, 44, 10, 5, "none"}));
    EXPECT_EQ(parsed({"-p", "0"}), (fields{0, 0, 0, 10, 5, "none"}));
}

TEST(Options, go_on_after_an_unknown_letter_and_a_missing_argument) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(parsed({"-q", "-m", "-p", "4"}), (fields{1, 0, 4, 10, 5, "none"}));
    EXPECT_EQ(parsed({"-m", "-x"}), (fields{1, 0, 3, 10, 5, "none"}));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "backhaul_monitor: invalid option -- 'q'\n"
              "backhaul_monitor: option requires an argument -- 'x'\n");
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
