#pragma once

// Receiving node messages: one datagram in, one keyword acted on. Socket thread, both roles.

/// Reads and handles exactly one datagram from `sock`. This node's own broadcasts and everything
/// that does not decipher to a keyword are dropped without a word.
void backhaul_notification_recv(int sock);
