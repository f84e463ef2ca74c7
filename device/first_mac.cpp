#include "device/first_mac.h"

#include "runtime/file_io.h"

namespace {

constexpr char FIRST_MAC_PATH[] = "/tmp/FirstMAC";
constexpr size_t MAC_WORD_SIZE = 32;

}  // namespace

mac_text device_first_mac_get() {
    const File file(FIRST_MAC_PATH, "r");
    if (!file) {
        return {};
    }
    std::array<char, MAC_WORD_SIZE> word{};
    file_first_word(file.get(), word);
    mac_address mac{};
    mac_scan(word.data(), mac);
    return mac_format(mac);
}
