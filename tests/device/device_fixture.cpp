#include "tests/device/device_fixture.h"

#include "lab/tools/state_layout.h"
#include "runtime/runtime_block.h"

#include <unistd.h>

void DeviceTest::SetUp() {
    harness::TableTest::SetUp();
    runtime.visitor_network_feature = VISITOR_FEATURE_UNKNOWN;
}

intf_record* DeviceTest::intf_add(const char* name, int32_t type, uint8_t band,
                                  uint8_t follow_primary) {
    return harness::TableTest::intf_add(name, type, band, 0, follow_primary);
}

std::string DeviceTest::uci_value(const std::string& key) {
    return lab::uci_committed_get("", "wireless." + key);
}

harness::Journal journal() {
    return harness::journal_all();
}

unsigned pid_alive() {
    return static_cast<unsigned>(getpid());
}

unsigned pid_gone() {
    harness::Child child([] { _exit(0); });
    child.wait();
    return static_cast<unsigned>(child.pid());
}
