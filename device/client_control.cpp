#include "device/client_control.h"

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>

namespace {

constexpr size_t ASSOC_LINE_SIZE = 128;
constexpr std::array<std::string_view, 2> KICKED_5G = {"ath20", "ath12"};
constexpr std::array<std::string_view, 1> KICKED_24G = {"ath2"};

void station_kick(const assoc_entry& entry) {
    static constexpr char LINE[] = "iwpriv %s kickmac %s";
    std::array<char, COMMAND_SIZE_MEDIUM> text{};
    std::snprintf(text.data(), text.size(), LINE, entry.intf.data(), entry.mac.data());
    flow_log("%s : %s\n", "device_disassoc_all_backhaulap_sta", text.data());
    command_format_run(COMMAND_SIZE_MEDIUM, LINE, entry.intf.data(), entry.mac.data());
}

void assoc_list_kick(const char* path, std::span<const std::string_view> intf_names) {
    const File file(path, "r");
    if (!file) {
        return;
    }
    std::array<char, ASSOC_LINE_SIZE> line{};
    while (file_next_piece(file.get(), line)) {
        const assoc_entry entry = assoc_line_scan(line.data());
        if (std::ranges::find(intf_names, std::string_view(entry.intf.data())) !=
            intf_names.end()) {
            station_kick(entry);
        }
    }
}

}  // namespace

void device_forward_table_flush() {
    flow_log("%s : Enter\n", __func__);
    command_run("echo 1 > /sys/devices/virtual/net/br-lan/bridge/flush");
    command_run("hyctl flushatbl br-lan");
    command_run("hyctl flushdtbl br-lan");
}

void device_kick_wifi_client(const char* device_mac, const char* station_mac) {
    if (station_mac == nullptr) {
        return;
    }
    flow_log("%s : request to clear %s from wifi list\n", __func__, station_mac);
    // No path here, unlike the agent's other requests.
    command_format_run(COMMAND_SIZE_SHORT, "vl1905App 33 %s %s",
                       device_mac != nullptr ? device_mac : "00:00:00:00:00:00", station_mac);
}

assoc_entry assoc_line_scan(const char* line) {
    std::array<char, ASSOC_LINE_SIZE> mac{};
    std::array<char, ASSOC_LINE_SIZE> intf{};
    assoc_entry entry;
    if (std::sscanf(line, "%127s %*s %*s %127s", mac.data(), intf.data()) != 2) {
        return entry;
    }
    // A word that is no address or name at all makes the line no entry, rather than a cut one.
    const size_t mac_length = std::strlen(mac.data());
    const size_t intf_length = std::strlen(intf.data());
    if (mac_length < entry.mac.size() && intf_length < entry.intf.size()) {
        std::memcpy(entry.mac.data(), mac.data(), mac_length);
        std::memcpy(entry.intf.data(), intf.data(), intf_length);
    }
    return entry;
}

void device_disassoc_all_backhaulap_sta() {
    assoc_list_kick("/tmp/assoc_list.5g", KICKED_5G);
    assoc_list_kick("/tmp/assoc_list.24g", KICKED_24G);
}
