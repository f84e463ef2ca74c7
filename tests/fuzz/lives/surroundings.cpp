#include "tests/fuzz/lives/life.h"

namespace lives {
namespace {

constexpr char PROFILE[] =
    "ath0 BACKHAUL_STA 5h 200 0\n"
    "ath1 BACKHAUL_STA 5l 150 0\n"
    "ath2 BACKHAUL_STA 2 100 0\n"
    "ath10 MAIN_SERVICE_AP 2 0 0\n"
    "ath11 GUEST_SERVICE_AP 5l 0 0\n"
    "ath12 BACKHAUL_AP 5l 0 0\n"
    "ath14 VISITOR_SERVICE_AP 2 0 1\n"
    "ath20 BACKHAUL_AP 5h 0 0\n"
    "ath22 PRE_DEF_AP 5h 0 0\n"
    "eth ETHERNET 0 0 0\n"
    "timer AP_TIMER_INTF 0 0 0\n";

}  // namespace

std::string access_point_mac(unsigned number) {
    static constexpr char DIGITS[] = "0123456789abcdef";
    return std::string("02:00:00:00:00:") + DIGITS[number / 16 % 16] + DIGITS[number % 16];
}

std::string node_mac(unsigned number) {
    std::string mac = access_point_mac(number);
    mac[13] = '1';
    return mac;
}

void surroundings_fill(Life& life) {
    life.files.put("/tmp/wifi_if_profile", FileKind::regular, PROFILE);
    life.files.put("/tmp/netprobe.db", FileKind::regular);
    life.files.put("/tmp/FirstMAC", FileKind::regular, node_mac(0) + "\n");
    life.files.put("/tmp/ApplicationData/Approvelist", FileKind::regular,
                   node_mac(1) + " 1 MRX70\n" + node_mac(2) + " 0 M2\n");
    life.files.put("/tmp/assoc_list.5g", FileKind::regular,
                   access_point_mac(0x31) + " 1 36 ath20 x\n");
    life.files.put("/var/run/wpa_supplicant-global.pid", FileKind::regular, "211\n");
    life.files.put("/proc/211/comm", FileKind::regular);
    for (const char* const name : INTERFACES) {
        const std::string section(name);
        life.around.options[section + ".ssid"] = "mesh-backhaul";
        life.around.options[section + ".auth"] = "WPA2PSK";
        life.around.options[section + ".WPAPSKkey"] = "secret00";
        life.around.options[section + ".disabled"] = "0";
        // Access points are up: that is what iwconfig shows of them.
        if (section.size() > 4) {
            life.around.associated[section] = access_point_mac(0xF0);
        }
    }
}

}  // namespace lives
