#include "device/association.h"

#include "runtime/command.h"
#include "runtime/file_io.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr char IWCONFIG_PATH[] = "/tmp/iwconfig.tmp";
constexpr char IW_RESULT_PATH[] = "/tmp/iw_result";
constexpr size_t IWCONFIG_LINE_SIZE = 128;
constexpr size_t MAC_WORD_SIZE = 32;

}  // namespace

bool intf_associated(const char* name) {
    command_line line{};
    if (!command_line_format(line, COMMAND_SIZE_MEDIUM, "iwconfig %s | grep Not-Associated",
                             name)) {
        return true;
    }
    const CommandPipe pipe(line.data());
    if (pipe.file() == nullptr) {
        return true;
    }
    std::array<char, 65> word{};
    return !file_first_word(pipe.file(), word);
}

bool backhaul_sta_is_associated(const intf_record* record) {
    std::remove(IW_RESULT_PATH);
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s | grep Not-Associated > /tmp/iw_result",
                       record->name.data());
    std::array<char, 64> word{};
    const File result(IW_RESULT_PATH, "r");
    if (result) {
        file_first_word(result.get(), word);
    }
    // A result that cannot be opened counts as associated.
    return word[0] == '\0';
}

void access_point_line_scan(const char* line, mac_address& bssid) {
    std::array<char, MAC_WORD_SIZE> word{};
    if (std::sscanf(line, "%*s %*s %*s %*s %*s %31s", word.data()) == 1) {
        mac_scan(word.data(), bssid);
    }
}

void device_sta_ap_bssid_get(const char* name, mac_address& bssid) {
    std::remove(IWCONFIG_PATH);
    command_format_run(COMMAND_SIZE_MEDIUM, "iwconfig %s > /tmp/iwconfig.tmp", name);
    {
        const File file(IWCONFIG_PATH, "r");
        if (!file) {
            return;
        }
        std::array<char, IWCONFIG_LINE_SIZE> line{};
        while (file_next_piece(file.get(), line)) {
            if (std::strstr(line.data(), "Point") != nullptr) {
                access_point_line_scan(line.data(), bssid);
                break;
            }
        }
    }
    std::remove(IWCONFIG_PATH);
}
