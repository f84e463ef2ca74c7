#pragma once

// Which channels the radio could use and which are on the driver's non-occupancy list (NOL).
//
// Timer thread. The channel list is cached for the life of the worker once it is not empty. Both
// lists are bounded by what was really read, never by the count that they claim.

#include "intf/intf_record.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr size_t DFS_CHANNELS_MAX = 1023;
inline constexpr char NOL_PATH[] = "/tmp/nol_list";
/// Private request of the driver for its channel list, and the length that it takes.
inline constexpr unsigned long IOCTL_GETCHANINFO = 0x8BE7;
inline constexpr size_t CHANNEL_ENTRY_SIZE = 20;
inline constexpr size_t CHANNEL_LIST_SIZE = 4 + CHANNEL_ENTRY_SIZE * DFS_CHANNELS_MAX;
inline constexpr size_t NOL_ENTRY_SIZE = 12;
inline constexpr size_t NOL_SIZE = 12280;

/// Frequencies (MHz) of a list; `count` of them are valid.
struct frequency_list {
    uint32_t count = 0;
    std::array<uint16_t, DFS_CHANNELS_MAX> frequency{};
};

/// Reads a count and entries of `entry_size` bytes, of each the 16-bit frequency at its start;
/// the count is bounded by `bytes` and by the room in `out`.
void frequency_list_read(std::span<const uint8_t> bytes, size_t entry_size, frequency_list& out);

/// Whether at least one channel is not on the NOL; false for an empty channel list.
bool dfs_channel_free(const frequency_list& channels, const frequency_list& nol);

/// Asks the driver for the channel list of `intf_name`; prints why when it fails and leaves
/// `channels` as it was.
void device_wifi_get_channel_list(const char* intf_name, frequency_list& channels);

/// Runs radartool and reads the NOL; an empty list when it cannot be read.
void device_wifi_nol_get(frequency_list& nol);

/// Whether `record` has a channel to use.
bool device_dfs_channel_available(const intf_record* record);
