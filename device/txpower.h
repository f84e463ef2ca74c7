#pragma once

// Transmit power of the 2.4 GHz radio and the clear-channel threshold that goes with it. Root
// loop (first extender joined, last one left) and dispatcher.

inline constexpr char TXPOWER_PATH[] = "/tmp/dynamic_24g_txpower";
inline constexpr int TXPOWER_REDUCED = 23;
inline constexpr int CCA_THRESHOLD_REDUCED = -65;
inline constexpr int CCA_THRESHOLD_NORMAL = -75;

/// Sets the threshold of wifi0, then of wifi1.
void device_cca_threshold_set(int threshold);

void device_24g_txpower_decrease();
void device_24g_txpower_recover();
