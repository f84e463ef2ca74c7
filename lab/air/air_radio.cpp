#include "lab/air/air_radio.h"

#include <algorithm>

namespace lab {
namespace {

constexpr std::size_t TWO = 0;
constexpr std::size_t HIGH = 1;
constexpr std::size_t LOW = 2;
constexpr int CHANNEL_TWO = 6;
constexpr int CHANNEL_LOW = 36;
constexpr int LAST_CHANNEL_TWO = 14;

struct RateRow {
    int signal;  // at least
    int rate;    // Mbit/s
};

constexpr std::array RATES = {RateRow{-50, 866},         RateRow{-58, 650}, RateRow{-65, 430},
                              RateRow{-72, 260},         RateRow{-80, 120}, RateRow{-85, 50},
                              RateRow{SIGNAL_USABLE, 20}};
constexpr int FASTEST_TWO = 200;

std::size_t pair_index(const Air& air, int a, int b) {
    return static_cast<std::size_t>(a) * air.nodes.size() + static_cast<std::size_t>(b);
}

}  // namespace

bool air_bands_meet(AirBand station, AirBand ap) {
    if (station == AirBand::none || ap == AirBand::none) {
        return false;
    }
    if (station == AirBand::two || ap == AirBand::two) {
        return station == ap;
    }
    return station == ap || station == AirBand::five || ap == AirBand::five;
}

int air_signal(const Air& air, int node, int ap_node, AirBand ap_band) {
    const std::array<int, 3>& signals = air.signals[pair_index(air, node, ap_node)];
    switch (ap_band) {
        case AirBand::two:
            return signals[TWO];
        case AirBand::five_high:
            return signals[HIGH];
        case AirBand::five_low:
        case AirBand::five:
            return signals[LOW];
        case AirBand::none:
            break;
    }
    return SIGNAL_NONE;
}

void air_signal_set(Air* air, int a, int b, std::string_view band, int signal) {
    for (const std::size_t pair : {pair_index(*air, a, b), pair_index(*air, b, a)}) {
        std::array<int, 3>& signals = air->signals[pair];
        if (band.empty()) {
            const int two = signal == SIGNAL_NONE ? signal : signal + SIGNAL_BONUS_TWO;
            signals = {std::min(two, 0), signal, signal};
        } else {
            signals[band == "2" ? TWO : band == "5h" ? HIGH : LOW] = signal;
        }
    }
}

int air_link_rate(int signal, AirBand ap_band) {
    for (const RateRow& row : RATES) {
        if (signal >= row.signal) {
            return ap_band == AirBand::two ? std::min(row.rate, FASTEST_TWO) : row.rate;
        }
    }
    return 0;
}

int air_channel_choose(const std::vector<int>& channels, const std::set<int>& struck,
                       AirBand band) {
    if (band != AirBand::five_high) {
        return band == AirBand::two ? CHANNEL_TWO : CHANNEL_LOW;
    }
    for (const int channel : channels) {
        if (struck.count(channel) == 0) {
            return channel;
        }
    }
    return 0;
}

int air_frequency(int channel) {
    constexpr int BASE_TWO = 2407;
    constexpr int BASE_FIVE = 5000;
    constexpr int WIDTH = 5;
    constexpr int FREQUENCY_OF_14 = 2484;
    if (channel == LAST_CHANNEL_TWO) {
        return FREQUENCY_OF_14;
    }
    return (channel < LAST_CHANNEL_TWO ? BASE_TWO : BASE_FIVE) + WIDTH * channel;
}

}  // namespace lab
