#include "radar/dfs_channels.h"

#include "runtime/command.h"
#include "runtime/descriptor.h"
#include "runtime/file_io.h"
#include "runtime/runtime_block.h"

#include <linux/wireless.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

static_assert(CHANNEL_LIST_SIZE == 20464);
static_assert(NOL_SIZE == 4 + NOL_ENTRY_SIZE * DFS_CHANNELS_MAX);
static_assert(IOCTL_GETCHANINFO == SIOCIWFIRSTPRIV + 7);

bool frequency_listed(const frequency_list& list, uint16_t frequency) {
    const auto* end = list.frequency.begin() + list.count;
    return std::find(list.frequency.begin(), end, frequency) != end;
}

}  // namespace

void frequency_list_read(std::span<const uint8_t> bytes, size_t entry_size, frequency_list& out) {
    out = frequency_list{};
    uint32_t claimed = 0;
    if (bytes.size() < sizeof(claimed)) {
        return;
    }
    std::memcpy(&claimed, bytes.data(), sizeof(claimed));
    const auto entries = bytes.subspan(sizeof(claimed));
    const size_t count =
        std::min({size_t{claimed}, entries.size() / entry_size, out.frequency.size()});
    for (size_t i = 0; i < count; ++i) {
        std::memcpy(&out.frequency[i], entries.data() + i * entry_size, sizeof(uint16_t));
    }
    out.count = static_cast<uint32_t>(count);
}

bool dfs_channel_free(const frequency_list& channels, const frequency_list& nol) {
    for (uint32_t i = 0; i < channels.count; ++i) {
        if (!frequency_listed(nol, channels.frequency[i])) {
            return true;
        }
    }
    return false;
}

void device_wifi_get_channel_list(const char* intf_name, frequency_list& channels) {
    // Too large for the stack; the timer thread is the only one here.
    static std::array<uint8_t, CHANNEL_LIST_SIZE> list;
    const Descriptor sock(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!sock) {
        std::printf("%s : Socket error\n", __func__);
        return;
    }
    list.fill(0);
    iwreq request{};
    std::snprintf(request.ifr_name, sizeof(request.ifr_name), "%s", intf_name);
    request.u.data.pointer = list.data();
    request.u.data.length = static_cast<uint16_t>(list.size());
    request.u.data.flags = 0;
    if (ioctl(sock.get(), IOCTL_GETCHANINFO, &request) < 0) {
        std::printf("%s : IEEE80211_IOCTL_GETCHANINFO failed\n", __func__);
        return;
    }
    frequency_list_read(list, CHANNEL_ENTRY_SIZE, channels);
}

void device_wifi_nol_get(frequency_list& nol) {
    static std::array<uint8_t, NOL_SIZE> bytes;
    nol = frequency_list{};
    // A run that fails must leave no list, not an older one.
    std::remove(NOL_PATH);
    // Whatever the interface, the list of this radio is asked for.
    command_run("radartool -i wifi2 getnol /tmp/nol_list");
    const File file(NOL_PATH, "rb");
    if (!file) {
        return;
    }
    const size_t length = std::fread(bytes.data(), 1, bytes.size(), file.get());
    frequency_list_read(std::span(bytes).first(length), NOL_ENTRY_SIZE, nol);
}

bool device_dfs_channel_available(const intf_record* record) {
    static frequency_list channels;
    static frequency_list nol;
    // The channels of the first interface that was asked, kept once there are any.
    if (runtime.dfs_channel_cache == nullptr) {
        channels = frequency_list{};
        device_wifi_get_channel_list(record->name.data(), channels);
        runtime.dfs_channel_cache = channels.count != 0 ? &channels : nullptr;
    }
    device_wifi_nol_get(nol);
    return dfs_channel_free(channels, nol);
}
