#include "device/autoconfig_table.h"

#include "runtime/table_check.h"

#include <algorithm>
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

/// Place of a row: the types in their order, the bands of each in the order of the test.
constexpr int row_place(const autoconfig_row& row) {
    constexpr std::array BAND_ORDER = {BAND_24G, BAND_5G, BAND_5G_LOW, BAND_5G_HIGH};
    const auto* const band = std::find(BAND_ORDER.begin(), BAND_ORDER.end(), row.band);
    return row.type * int{BAND_ORDER.size()} + static_cast<int>(band - BAND_ORDER.begin());
}
static_assert(table_keys_count_up(AUTOCONFIG_ROWS, row_place), "each type and band once, in order");

}  // namespace

const autoconfig_row* autoconfig_row_find(intf_type type, uint8_t band) {
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
