// The driver's channel list and radartool's non-occupancy list, both binary: no more is read than
// is there, and a channel is free when it is in the one and not in the other.

#include <algorithm>
#include <cstring>
#include <vector>

#include "radar/dfs_channels.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::require;

/// The list by its layout: 32-bit count, then entries that begin with a 16-bit frequency.
std::vector<uint16_t> wanted_list(const std::string& bytes, size_t entry_size) {
    std::vector<uint16_t> list;
    uint32_t count = 0;
    if (bytes.size() >= sizeof count) {
        std::memcpy(&count, bytes.data(), sizeof count);
    }
    for (size_t at = sizeof count; at + entry_size <= bytes.size(); at += entry_size) {
        if (list.size() == count || list.size() == DFS_CHANNELS_MAX) {
            break;
        }
        list.push_back(0);
        std::memcpy(&list.back(), bytes.data() + at, sizeof(uint16_t));
    }
    return list;
}

void same(const frequency_list& found, const std::vector<uint16_t>& wanted) {
    require(found.count == wanted.size() &&
                std::equal(wanted.begin(), wanted.end(), found.frequency.begin()),
            "a list holds what its bytes and its count both hold");
}

}  // namespace

// The name is the fuzzer engine's. Two bytes tell how much of the input is the channel list.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static frequency_list channels;
    static frequency_list nol;
    fuzz::Input input(data, size);
    const size_t length = input.byte() * size_t{256} + input.byte();
    const std::string channel_bytes = input.text(length);
    const std::string nol_bytes = input.rest();
    frequency_list_read(
        {reinterpret_cast<const uint8_t*>(channel_bytes.data()), channel_bytes.size()},
        CHANNEL_ENTRY_SIZE, channels);
    const auto wanted_channels = wanted_list(channel_bytes, CHANNEL_ENTRY_SIZE);
    same(channels, wanted_channels);

    fuzz::shell_reset();
    fuzz::shell().answer = [&nol_bytes](const std::string& /*line*/) {
        fuzz::file_put(NOL_PATH, nol_bytes);
        return std::string();
    };
    device_wifi_nol_get(nol);
    fuzz::shell_reset();
    const auto wanted_nol = wanted_list(nol_bytes.substr(0, NOL_SIZE), NOL_ENTRY_SIZE);
    same(nol, wanted_nol);

    const bool is_free = std::any_of(wanted_channels.begin(), wanted_channels.end(), [&](auto one) {
        return std::find(wanted_nol.begin(), wanted_nol.end(), one) == wanted_nol.end();
    });
    require(dfs_channel_free(channels, nol) == is_free, "a channel off the list is free");
    return 0;
}
