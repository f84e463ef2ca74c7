// The upstream address in a line of iwconfig, and which interfaces are looked for.

#include "device/association.h"
#include "device/first_mac.h"
#include "device/intf_existence.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr mac_address OLD = {1, 2, 3, 4, 5, 6};

mac_address scanned(const char* line) {
    mac_address bssid = OLD;
    access_point_line_scan(line, bssid);
    return bssid;
}

TEST(AccessPointLine, takes_the_address_in_the_sixth_word) {
    const mac_address expected = {0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0};
    EXPECT_EQ(
        scanned("          Mode:Managed  Frequency:5.18 GHz  Access Point: 02:1A:ff:00:07:B0   \n"),
        expected);
}

TEST(AccessPointLine, keeps_the_address_when_the_station_is_not_associated) {
    EXPECT_EQ(
        scanned("          Mode:Managed  Frequency:5.18 GHz  Access Point: Not-Associated   \n"),
        OLD);
}

TEST(AccessPointLine, keeps_the_address_when_the_line_has_fewer_words) {
    EXPECT_EQ(scanned("Mode:Managed  Access Point: 02:1A:ff:00:07:B0\n"), OLD);
    EXPECT_EQ(scanned("Access Point\n"), OLD);
    EXPECT_EQ(scanned(""), OLD);
}

TEST(AccessPointLine, takes_only_the_bytes_that_scan) {
    const mac_address expected = {0xaa, 0xbb, 3, 4, 5, 6};
    EXPECT_EQ(scanned("a b c d Point: aa:bb:xx\n"), expected);
}

TEST(AccessPointLine, takes_only_the_first_31_characters_of_the_address) {
    const mac_address expected = {0x02, 0x1a, 0xff, 0x00, 0x07, 0xb0};
    const std::string before = "a b c d Point: ";
    EXPECT_EQ(scanned((before + "02:1a:ff:00:07:b0" + std::string(3000, 'z')).c_str()), expected);
    // The last digit is the 31st character, then the 32nd.
    EXPECT_EQ(scanned((before + std::string(14, '0') + "02:1a:ff:00:07:b0").c_str()), expected);
    const mac_address cut = {0x02, 0x1a, 0xff, 0x00, 0x07, 0x0b};
    EXPECT_EQ(scanned((before + std::string(15, '0') + "02:1a:ff:00:07:b0").c_str()), cut);
}

TEST(IntfExistence, always_probes_main_and_guest_and_backhaul_interfaces) {
    for (const int32_t feature : {-1, 0, 1, 2}) {
        for (const int32_t type : {MAIN_SERVICE_AP, GUEST_SERVICE_AP, BACKHAUL_STA, BACKHAUL_AP}) {
            EXPECT_TRUE(intf_existence_probed(static_cast<intf_type>(type), feature))
                << type << " at " << feature;
        }
    }
}

TEST(IntfExistence, probes_visitor_interfaces_only_while_the_visitor_network_is_in_use) {
    EXPECT_TRUE(intf_existence_probed(VISITOR_SERVICE_AP, 2));
    for (const int32_t feature : {-1, 0, 1, 3}) {
        EXPECT_FALSE(intf_existence_probed(VISITOR_SERVICE_AP, feature)) << feature;
    }
}

TEST(IntfExistence, never_probes_another_type) {
    for (const int32_t type : {5, 6, 7, 8, -1}) {
        EXPECT_FALSE(intf_existence_probed(static_cast<intf_type>(type), 2)) << type;
    }
}

}  // namespace
