// Lists of associated clients, line by line against scanf, and the lines that throw stations off:
// the driver gets each address as it stands in the list and the shell gets nothing.

#include <array>
#include <cstring>

#include "device/client_control.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::require;

constexpr size_t LINE_SIZE = 128;
using Word = std::array<char, LINE_SIZE>;
using Kick = std::vector<std::string>;

/// Words of a line as scanf has them; none where one is too long for any address or name.
bool words_scan(const char* line, std::string& mac, std::string& intf) {
    Word first{};
    Word fourth{};
    mac.clear();
    intf.clear();
    if (std::sscanf(line, "%s %*s %*s %s %*s %*s\n", first.data(), fourth.data()) == 2) {
        mac = first.data();
        intf = fourth.data();
    }
    return mac.size() < 32 && intf.size() < 32;
}

void kicks_collect(const std::string& list, std::string_view one, std::string_view other,
                   std::vector<Kick>& kicks) {
    const fuzz::ByteStream stream(list);
    std::array<char, LINE_SIZE> line{};
    while (std::fgets(line.data(), line.size(), stream.get()) != nullptr) {
        std::string mac;
        std::string intf;
        const bool fits = words_scan(line.data(), mac, intf);
        const assoc_entry entry = assoc_line_scan(line.data());
        require(!fits || (mac == entry.mac.data() && intf == entry.intf.data()),
                "first and fourth word are scanf's");
        require(fits || (entry.mac[0] == '\0' && entry.intf[0] == '\0'), "nothing is cut");
        if (fits && (intf == one || intf == other)) {
            kicks.push_back({"iwpriv", intf, "kickmac", mac});
        }
    }
}

}  // namespace

// The name is the fuzzer engine's. A zero parts the lists of the two radios.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzz::shell_reset();
    fuzz::Input input(data, size);
    const std::string list_5g = input.text_until('\0');
    const std::string list_24g = input.rest();
    fuzz::file_put("/tmp/assoc_list.5g", list_5g);
    fuzz::file_put("/tmp/assoc_list.24g", list_24g);
    std::vector<Kick> wanted;
    kicks_collect(list_5g, "ath20", "ath12", wanted);
    kicks_collect(list_24g, "ath2", "ath2", wanted);

    device_disassoc_all_backhaulap_sta();
    std::vector<Kick> kicks;
    for (const std::string& line : fuzz::shell().lines) {
        const auto words = fuzz::shell_read(line);
        require(words.has_value(), "a line holds nothing but words for the shell");
        kicks.push_back(fuzz::shell_texts(*words));
    }
    require(kicks == wanted, "the stations of these APs are thrown off, and nothing else is done");
    return 0;
}
