#pragma once

// Receiving node messages: one datagram in, one keyword acted on. Socket thread, both roles.

/// Keywords in the order of comparison.
enum class msg_keyword {
    none,
    flush_forwarding,
    uplink_scan,
    network_reload,
    check_valid,
    check_valid_reply,
};

/// The keyword that `word` is exactly, or none.
msg_keyword msg_keyword_find(const char* word);

/// Reads and handles exactly one datagram from `sock`. This node's own broadcasts and everything
/// that does not decipher to a keyword are dropped without a word.
void backhaul_notification_recv(int sock);

/// Sets `uplink_scan_count` to 0 on every station, under the table's leaf lock.
void backhaul_sta_uplink_scan_count_clear();

/// Sets `other_band_scan_enable` to 1 on every station, under the table's leaf lock.
void backhaul_sta_other_band_scan_enable();
