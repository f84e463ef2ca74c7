// Frequency lists of the driver and of radartool: bytes in, at most what was really read out.

#include "radar/dfs_channels.h"

#include <gtest/gtest.h>
#include <cstring>
#include <vector>

namespace {

/// A list as both sources write it: a 32-bit count, then entries that begin with the frequency.
std::vector<uint8_t> list_bytes(uint32_t count, const std::vector<uint16_t>& frequencies,
                                size_t entry_size) {
    std::vector<uint8_t> bytes(4 + frequencies.size() * entry_size, 0xee);
    std::memcpy(bytes.data(), &count, sizeof(count));
    for (size_t i = 0; i < frequencies.size(); ++i) {
        std::memcpy(bytes.data() + 4 + i * entry_size, &frequencies[i], sizeof(uint16_t));
    }
    return bytes;
}

frequency_list list_of(const std::vector<uint16_t>& frequencies) {
    frequency_list list;
    for (const uint16_t frequency : frequencies) {
        list.frequency[list.count++] = frequency;
    }
    return list;
}

std::vector<uint16_t> read_list(const std::vector<uint8_t>& bytes, size_t entry_size) {
    frequency_list list = list_of({1, 2, 3});
    frequency_list_read(bytes, entry_size, list);
    return {list.frequency.begin(), list.frequency.begin() + list.count};
}

TEST(FrequencyList, takes_the_first_field_of_each_channel_entry) {
    EXPECT_EQ(read_list(list_bytes(3, {5180, 5260, 5500}, 20), 20),
              (std::vector<uint16_t>{5180, 5260, 5500}));
}

TEST(FrequencyList, takes_the_first_field_of_each_nol_entry) {
    EXPECT_EQ(read_list(list_bytes(2, {5260, 5500}, 12), 12), (std::vector<uint16_t>{5260, 5500}));
}

TEST(FrequencyList, ends_at_its_count_when_more_was_read) {
    EXPECT_EQ(read_list(list_bytes(1, {5180, 5260}, 12), 12), (std::vector<uint16_t>{5180}));
}

TEST(FrequencyList, ends_with_the_bytes_when_its_count_claims_more) {
    for (const uint32_t claimed : {3u, 1023u, 1024u, 0xffffffffu}) {
        EXPECT_EQ(read_list(list_bytes(claimed, {5180, 5260}, 12), 12),
                  (std::vector<uint16_t>{5180, 5260}))
            << claimed;
    }
}

TEST(FrequencyList, leaves_out_an_entry_that_is_cut) {
    std::vector<uint8_t> bytes = list_bytes(2, {5180, 5260}, 12);
    bytes.pop_back();
    EXPECT_EQ(read_list(bytes, 12), (std::vector<uint16_t>{5180}));
}

TEST(FrequencyList, is_empty_when_not_even_a_count_was_read) {
    for (size_t size = 0; size < 4; ++size) {
        EXPECT_TRUE(read_list(std::vector<uint8_t>(size, 0xff), 12).empty()) << size;
    }
    EXPECT_TRUE(read_list(list_bytes(5, {}, 12), 12).empty());
}

TEST(FrequencyList, never_holds_more_than_1023) {
    const std::vector<uint16_t> many(1100, 5180);
    EXPECT_EQ(read_list(list_bytes(1100, many, 12), 12).size(), 1023u);
    const std::vector<uint16_t> full(1023, 5500);
    EXPECT_EQ(read_list(list_bytes(0xffffffff, full, 20), 20).size(), 1023u);
}

TEST(ChannelFree, is_one_when_a_channel_is_missing_from_the_nol) {
    EXPECT_EQ(dfs_channel_free(list_of({5180, 5260}), list_of({5260})), 1);
    EXPECT_EQ(dfs_channel_free(list_of({5260, 5180}), list_of({5260})), 1);
    EXPECT_EQ(dfs_channel_free(list_of({5180}), list_of({})), 1);
}

TEST(ChannelFree, is_zero_when_every_channel_is_on_the_nol) {
    EXPECT_EQ(dfs_channel_free(list_of({5180, 5260}), list_of({5500, 5260, 5180})), 0);
    EXPECT_EQ(dfs_channel_free(list_of({5260}), list_of({5260})), 0);
}

TEST(ChannelFree, is_zero_when_there_is_no_channel_at_all) {
    EXPECT_EQ(dfs_channel_free(list_of({}), list_of({})), 0);
    EXPECT_EQ(dfs_channel_free(list_of({}), list_of({5180})), 0);
}

TEST(ChannelFree, ignores_what_lies_behind_the_count) {
    frequency_list nol = list_of({5500, 5180});
    nol.count = 1;
    EXPECT_EQ(dfs_channel_free(list_of({5180}), nol), 1);
}

}  // namespace
