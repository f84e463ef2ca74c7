#pragma once

// The file "/tmp/backhaul_type": over which medium the backhaul goes. Written by the dispatcher and
// by the Ethernet events (socket thread).

inline constexpr char BACKHAUL_TYPE_PATH[] = "/tmp/backhaul_type";

enum backhaul_type : int {
    BACKHAUL_TYPE_WIFI = 0,
    BACKHAUL_TYPE_ETHERNET = 1,
};

/// Rewrites the file with "wifi\n", "ethernet\n" or, for any other value, "other\n".
void backhaul_type_file_write(backhaul_type type);
