#include "runtime/mac_text.h"

#include <cstdio>

mac_text mac_format(const mac_address& mac) {
    mac_text text{};
    std::snprintf(text.data(), text.size(), "%.2x:%.2x:%.2x:%.2x:%.2x:%.2x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

bool bssid_is_zero(const mac_address& mac) {
    return mac == mac_address{};
}

int mac_scan(const char* text, mac_address& mac) {
    // The bytes are taken modulo 256 and a partial scan is an answer: the format is the contract.
    const int scanned = std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1],
                                    &mac[2], &mac[3], &mac[4], &mac[5]);
    return scanned > 0 ? scanned : 0;
}
