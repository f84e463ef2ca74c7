#include "topology/admission.h"

#include "device/approval_list.h"
#include "runtime/file_io.h"
#include "topology/topology_db.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t APPROVAL_LINE_SIZE = 64;

}  // namespace

void admission_line_scan(const char* text, admission_line& line) {
    mac_address& mac = line.mac;
    // Numbers wrap to a byte, as in every tool that reads this file.
    std::sscanf(text, "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx %hhu %*s", &mac[0], &mac[1], &mac[2], &mac[3],
                &mac[4], &mac[5], &line.flag);
}

bool backhaul_db_device_valid_check(const char* ip) {
    const almac_text almac = db_almac_get(SQL_DEVICE_BY_IP, ip);
    if (almac[0] == '\0') {
        return false;
    }
    const File file(APPROVAL_LIST_PATH, "r");
    if (!file) {
        return false;
    }
    // Not reset between lines: a flag that does not parse is the previous line's flag.
    admission_line line;
    std::array<char, APPROVAL_LINE_SIZE> text{};
    while (file_next_piece(file.get(), text)) {
        admission_line_scan(text.data(), line);
        // An AL MAC address that the database holds in upper case never matches.
        if (std::strcmp(mac_format(line.mac).data(), almac.data()) == 0) {
            return line.flag != 0;
        }
    }
    return false;
}
