// Lines of the interface profile, scanned one over the other as the loader does.

#include "intf/intf_profile.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

template <size_t N>
bool is_terminated(const std::array<char, N>& text) {
    return std::memchr(text.data(), '\0', N) != nullptr;
}

}  // namespace

// The name is the fuzzer engine's.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(size, '\0');
    if (size > 0) {
        std::memcpy(text.data(), data, size);
    }
    intf_profile_line line;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        const std::string one = text.substr(at, end - at);
        intf_profile_line_scan(one.c_str(), line);
        const int32_t type = intf_type_code(line.type.data());
        const uint8_t band = intf_band_code(line.band.data());
        if (!is_terminated(line.name) || !is_terminated(line.type) || !is_terminated(line.band) ||
            type < 0 || type > INTF_TYPE_OTHER || band > BAND_5G_LOW) {
            std::abort();
        }
        at = end == std::string::npos ? text.size() : end + 1;
    }
    return 0;
}
