// Signals, rates and channels. Functions of values.
#pragma once

#include <set>
#include <string_view>
#include <vector>

#include "lab/air/air_model.h"

namespace lab {

// A station of one band can hear an AP of the other.
bool air_bands_meet(AirBand station, AirBand ap);

// Signal in dBm of the AP at the node, SIGNAL_NONE when it is not heard. 2.4 GHz carries
// SIGNAL_BONUS_TWO dB further unless its signal was set on its own.
inline constexpr int SIGNAL_BONUS_TWO = 8;
int air_signal(const Air& air, int node, int ap_node, AirBand ap_band);

// Sets the signal between two nodes, both ways: on all bands, or on "2", "5h" or "5l" only.
void air_signal_set(Air* air, int a, int b, std::string_view band, int signal);

// Mbit/s that a link with this signal carries; 0 when it is not usable.
int air_link_rate(int signal, AirBand ap_band);

// Channel that an AP of that band uses: the first of `channels` without radar on the upper 5 GHz
// radio (0 when all are struck), a fixed one elsewhere.
int air_channel_choose(const std::vector<int>& channels, const std::set<int>& struck, AirBand band);

// MHz of a channel number of either band.
int air_frequency(int channel);

}  // namespace lab
