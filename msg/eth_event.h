#pragma once

// Events of the Ethernet agent: the cable towards the mesh has come or gone. Socket thread.

inline constexpr char BACKHAUL_TYPE_PATH[] = "/tmp/backhaul_type";

/// Kinds of `backhaul_type_file_write`; any other value gives "other\n".
enum backhaul_type : int {
    BACKHAUL_TYPE_WIFI = 0,
    BACKHAUL_TYPE_ETHERNET = 1,
};

/// Handles "eth_detect" or "eth_lost"; any other word is logged only. The reply to the agent
/// precedes the work.
void backhaul_eth_event_handle(const char* event);

/// Writes the reply word to the agent's FIFO through the shell; blocks while nobody reads it.
void eth_backhaul_reply(const char* reply);

/// Rewrites "/tmp/backhaul_type" with "wifi\n", "ethernet\n" or "other\n".
void backhaul_type_file_write(int kind);
