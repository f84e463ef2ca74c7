#pragma once

// Clients and forwarding tables: flush what is learnt, drop a client from the mesh's list, throw
// the stations off the backhaul APs. Socket thread and dispatcher.

#include <array>

void device_forward_table_flush();

/// Asks the agent to drop `station_mac` from the Wi-Fi client list of `device_mac` (null = every
/// node). Nothing when `station_mac` is null.
void device_kick_wifi_client(const char* device_mac, const char* station_mac);

struct assoc_entry {
    std::array<char, 32> mac{};
    std::array<char, 32> intf{};
};

/// Station and interface (first and fourth word) of a line of an association list; empty texts
/// for a shorter line.
assoc_entry assoc_line_scan(const char* line);

/// Throws every station off "ath20" and "ath12", then off "ath2".
void device_disassoc_all_backhaulap_sta();
