#include "root/admission.h"

#include "root/ap_list.h"
#include "root/topology_db.h"
#include "runtime/file_io.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t APPROVAL_LINE_SIZE = 64;

/// AL MAC address of the device with address `ip`, empty when it is unknown.
std::array<char, ALMAC_SIZE> device_almac_get(const char* ip) {
    std::array<char, ALMAC_SIZE> almac{};
    const DbTable table(SQL_DEVICE_BY_IP, ip);
    const char* found = table.cell(0, 0);
    if (found != nullptr) {
        std::snprintf(almac.data(), almac.size(), "%s", found);
    }
    return almac;
}

}  // namespace

void admission_line_scan(const char* text, admission_line& line) {
    mac_address& mac = line.mac;
    // Numbers wrap to a byte, as in every tool that reads this file.
    // NOLINTNEXTLINE(cert-err34-c)
    std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx %hhu %*s", &mac[0], &mac[1], &mac[2], &mac[3],
                &mac[4], &mac[5], &line.flag);
}

int backhaul_db_device_valid_check(const char* ip) {
    const std::array<char, ALMAC_SIZE> almac = device_almac_get(ip);
    if (almac[0] == '\0') {
        return 1;
    }
    const File file(APPROVAL_LIST_PATH, "r");
    if (!file) {
        return 1;
    }
    // Not reset between lines: a flag that does not parse is the previous line's flag.
    admission_line line;
    std::array<char, APPROVAL_LINE_SIZE> text{};
    while (std::fgets(text.data(), text.size(), file.get()) != nullptr) {
        admission_line_scan(text.data(), line);
        // An AL MAC address that the database holds in upper case never matches.
        if (std::strcmp(mac_format(line.mac).data(), almac.data()) == 0) {
            return line.flag != 0 ? 0 : 1;
        }
    }
    return 1;
}
