#pragma once

// What the auto-configuration agent calls each service AP: command codes and file names by
// interface type and band. Data and look-ups, no effects.

#include "intf/intf_record.h"

#include <array>
#include <cstdint>

/// The twelve fixed "start" lines and the two result files of each (type, band).
struct autoconfig_row {
    intf_type type;
    intf_band band;
    const char* start_line;   ///< command 17 with the AP's code
    const char* output_path;  ///< exists once the configuration was received; null = never tested
    const char* state_path;   ///< exists once it was applied; null = never tested
};

/// Row of a service AP, the band bits tested in the order 2.4 GHz, 5 GHz, 5 GHz low, 5 GHz high;
/// null for another type or a band without any of the four bits.
const autoconfig_row* autoconfig_row_find(intf_type type, uint8_t band);

/// Files removed at the start of a pass, in this order.
inline constexpr std::array<const char*, 18> AUTOCONFIG_FILES = {
    "/tmp/vl1905/APautooutput_24G",       "/tmp/vl1905/APautooutput_G1_24G",
    "/tmp/vl1905/APautooutput_V_24G",     "/tmp/vl1905/APautooutput_5G",
    "/tmp/vl1905/APautooutput_G1_5G",     "/tmp/vl1905/APautooutput_V_5G",
    "/tmp/vl1905/APautoconfig_5G2",       "/tmp/vl1905/APautoconfig_G1_5G2",
    "/tmp/vl1905/APautoconfig_V_5G2",     "/tmp/vl1905/vl1905WIFIState_24G",
    "/tmp/vl1905/vl1905WIFIState_G1_24G", "/tmp/vl1905/vl1905WIFIState_V_24G",
    "/tmp/vl1905/vl1905WIFIState_5G",     "/tmp/vl1905/vl1905WIFIState_G1_5G",
    "/tmp/vl1905/vl1905WIFIState_V_5G",   "/tmp/vl1905/vl1905WIFIState_5G2",
    "/tmp/vl1905/vl1905WIFIState_G1_5G2", "/tmp/vl1905/vl1905WIFIState_V_5G2",
};

/// Whether the agent reported a reload value of 0: the character '0' anywhere in the first line
/// (not the value: a line that says 10 counts as well, which the agent's users rely on).
bool autoconfig_reload_is_zero(const char* first_line);
