// The supplicant's network block as the daemon writes it into a file.
//
// A function of text. A block that the supplicant would not take (no closing brace, no SSID) is
// not complete; one without "key_mgmt" has no key.
#pragma once

#include <string>
#include <string_view>

namespace lab {

struct NetworkBlock {
    bool complete = false;
    std::string ssid;
    std::string key;
    std::string key_management;  // "WPA-PSK"
    std::string bssid;           // empty: any
};

NetworkBlock network_block_parse(std::string_view text);

}  // namespace lab
