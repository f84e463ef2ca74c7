#include "tests/device/device_fixture.h"

#include "device/station_info.h"
#include "lab/tools/record.h"
#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

void DeviceTest::SetUp() {
    harness::SandboxTest::SetUp();
    unlink("/var/run/wpa_supplicant-global.pid");
    runtime.intf_num = 0;
    runtime.intf_table = table_.data();
    runtime.flow_log_lines = 0;
    runtime.backhaul_ap_enable = 0;
    runtime.approval_changed = 0;
    runtime.companion_reload = {};
    for (Relaxed<uint8_t>& enabled : runtime.service_ap_enabled) {
        enabled = 0;
    }
    visitor_network_feature = VISITOR_FEATURE_UNKNOWN;
    harness::clock_start(START_TIME);
}

void DeviceTest::TearDown() {
    runtime.intf_num = 0;
    runtime.intf_table = nullptr;
    harness::SandboxTest::TearDown();
}

intf_record* DeviceTest::intf_add(const char* name, int32_t type, uint8_t band,
                                  uint8_t follow_primary) {
    const auto index = static_cast<size_t>(runtime.intf_num.load());
    intf_record& record = table_.at(index);
    std::strncpy(record.name.data(), name, record.name.size() - 1);
    record.type = type;
    record.band = band;
    record.follow_primary = follow_primary;
    runtime.intf_num = static_cast<int32_t>(index) + 1;
    return &record;
}

void DeviceTest::uci_put(const std::string& key, const std::string& value) {
    ASSERT_TRUE(lab::uci_store_set("", "wireless." + key, value));
}

std::string DeviceTest::uci_value(const std::string& key) {
    return lab::uci_committed_get("", "wireless." + key);
}

std::vector<std::string> journal() {
    const std::string log = harness::file_text("/var/log/backhaul_flow_log");
    std::vector<std::string> entries;
    size_t at = 0;
    // A shell line's record tells how long the flow log was when it started.
    const auto log_until = [&](size_t end) {
        for (const std::string& line : harness::without_dates(log.substr(at, end - at))) {
            entries.push_back(line);
        }
        at = end;
    };
    for (const lab::LineRecord& record : lab::line_records("")) {
        log_until(static_cast<size_t>(record.stamp.flow_log_size));
        entries.push_back("$ " + record.line);
    }
    log_until(log.size());
    return entries;
}

unsigned pid_alive() {
    return static_cast<unsigned>(getpid());
}

unsigned pid_gone() {
    const pid_t child = fork();
    if (child == 0) {
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    return static_cast<unsigned>(child);
}
