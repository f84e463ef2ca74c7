#include "intf/autoconfig_table.h"

#include <cstring>

namespace {

/// Rows of a type in the order in which the band bits are tested. For the upper 5 GHz radio the
/// agent's files are removed but never tested.
constexpr std::array<autoconfig_row, 12> AUTOCONFIG_ROWS = {{
    {MAIN_SERVICE_AP, BAND_24G, "/usr/sbin/vl1905App 17 0x00 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_24G", "/tmp/vl1905/vl1905WIFIState_24G"},
    {MAIN_SERVICE_AP, BAND_5G, "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_5G", "/tmp/vl1905/vl1905WIFIState_5G"},
    {MAIN_SERVICE_AP, BAND_5G_LOW, "/usr/sbin/vl1905App 17 0x01 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_5G", "/tmp/vl1905/vl1905WIFIState_5G"},
    {MAIN_SERVICE_AP, BAND_5G_HIGH, "/usr/sbin/vl1905App 17 0x09 1>/dev/null 2>&1", nullptr,
     nullptr},
    {GUEST_SERVICE_AP, BAND_24G, "/usr/sbin/vl1905App 17 0x20 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_G1_24G", "/tmp/vl1905/vl1905WIFIState_G1_24G"},
    {GUEST_SERVICE_AP, BAND_5G, "/usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_G1_5G", "/tmp/vl1905/vl1905WIFIState_G1_5G"},
    {GUEST_SERVICE_AP, BAND_5G_LOW, "/usr/sbin/vl1905App 17 0x21 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_G1_5G", "/tmp/vl1905/vl1905WIFIState_G1_5G"},
    {GUEST_SERVICE_AP, BAND_5G_HIGH, "/usr/sbin/vl1905App 17 0x29 1>/dev/null 2>&1", nullptr,
     nullptr},
    {VISITOR_SERVICE_AP, BAND_24G, "/usr/sbin/vl1905App 17 0x40 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_V_24G", "/tmp/vl1905/vl1905WIFIState_V_24G"},
    {VISITOR_SERVICE_AP, BAND_5G, "/usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_V_5G", "/tmp/vl1905/vl1905WIFIState_V_5G"},
    {VISITOR_SERVICE_AP, BAND_5G_LOW, "/usr/sbin/vl1905App 17 0x41 1>/dev/null 2>&1",
     "/tmp/vl1905/APautooutput_V_5G", "/tmp/vl1905/vl1905WIFIState_V_5G"},
    {VISITOR_SERVICE_AP, BAND_5G_HIGH, "/usr/sbin/vl1905App 17 0x49 1>/dev/null 2>&1", nullptr,
     nullptr},
}};

constexpr std::array<uint8_t, 4> BAND_ORDER = {BAND_24G, BAND_5G, BAND_5G_LOW, BAND_5G_HIGH};
constexpr std::array<int32_t, 3> SERVICE_TYPES = {MAIN_SERVICE_AP, GUEST_SERVICE_AP,
                                                  VISITOR_SERVICE_AP};

constexpr bool rows_are_complete() {
    size_t row = 0;
    for (const int32_t type : SERVICE_TYPES) {
        for (const uint8_t band : BAND_ORDER) {
            if (AUTOCONFIG_ROWS[row].type != type || AUTOCONFIG_ROWS[row].band != band) {
                return false;
            }
            ++row;
        }
    }
    return row == AUTOCONFIG_ROWS.size();
}
static_assert(rows_are_complete(), "each type and band once, in the order of the test");

}  // namespace

const autoconfig_row* autoconfig_row_find(int32_t type, uint8_t band) {
    for (const auto& row : AUTOCONFIG_ROWS) {
        if (row.type == type && (row.band & band) != 0) {
            return &row;
        }
    }
    return nullptr;
}

bool autoconfig_reload_is_zero(const char* first_line) {
    return std::strchr(first_line, '0') != nullptr;
}
