#include "device/txpower.h"

#include "runtime/command.h"
#include "runtime/file_io.h"
#include "runtime/flow_log.h"

#include <array>
#include <cstdio>

namespace {

constexpr size_t CCA_LINE_SIZE = 32;

}  // namespace

void device_cca_threshold_set(int threshold) {
    command_format_run(CCA_LINE_SIZE, "iwpriv wifi0 cca_threshold %d", threshold);
    command_format_run(CCA_LINE_SIZE, "iwpriv wifi1 cca_threshold %d", threshold);
}

void device_24g_txpower_decrease() {
    flow_log("%s : decrease WiFi 2.4G Tx power\n", __func__);
    command_format_run(COMMAND_SIZE_SHORT, "iwconfig ath0 txpower %d", TXPOWER_REDUCED);
    std::array<char, 16> content{};
    std::snprintf(content.data(), content.size(), "%d\n", TXPOWER_REDUCED);
    file_rewrite(TXPOWER_PATH, content.data());
    device_cca_threshold_set(CCA_THRESHOLD_REDUCED);
}

void device_24g_txpower_recover() {
    flow_log("%s : recover WiFi 2.4G Tx power\n", __func__);
    command_run("iwconfig ath0 txpower auto");
    std::remove(TXPOWER_PATH);
    device_cca_threshold_set(CCA_THRESHOLD_NORMAL);
}
