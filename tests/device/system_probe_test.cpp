// Pid files, bridge ports and the channel monitor.

#include "device/ap_settings_reload.h"
#include "device/bridge_port.h"
#include "device/channel_monitor.h"
#include "device/pid_file.h"
#include "radar/dfs.h"

#include "tests/device/device_fixture.h"

#include <gmock/gmock.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

using testing::ElementsAre;

constexpr char PID_PATH[] = "/tmp/test.pid";

class SystemProbe : public DeviceTest {};

/// Takes the right to read whatever the permissions say away from root, while it lives.
class PermissionsHold {
public:
    PermissionsHold() {
        syscall(SYS_capget, &header_, before_.data());
        auto reduced = before_;
        reduced[0].effective &= ~((1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH));
        held_ = syscall(SYS_capset, &header_, reduced.data()) == 0;
    }
    ~PermissionsHold() {
        syscall(SYS_capset, &header_, before_.data());
    }
    PermissionsHold(const PermissionsHold&) = delete;
    PermissionsHold& operator=(const PermissionsHold&) = delete;
    bool held() const {
        return held_;
    }

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, 2> before_{};
    bool held_ = false;
};

TEST_F(SystemProbe, sees_the_process_that_a_pid_file_names) {
    harness::put_file(PID_PATH, std::to_string(pid_alive()) + "\n");
    EXPECT_EQ(pid_file_alive(PID_PATH), 1);
    harness::put_file(PID_PATH, std::to_string(pid_alive()));
    EXPECT_EQ(pid_file_alive(PID_PATH), 1);
}

TEST_F(SystemProbe, sees_no_process_when_it_has_ended) {
    harness::put_file(PID_PATH, std::to_string(pid_gone()) + "\n");
    EXPECT_EQ(pid_file_alive(PID_PATH), 0);
}

TEST_F(SystemProbe, sees_no_process_without_a_pid_file) {
    EXPECT_EQ(pid_file_alive(PID_PATH), 0);
}

TEST_F(SystemProbe, sees_no_process_when_the_pid_file_holds_no_number) {
    for (const char* const text : {"", "\n", "none\n"}) {
        harness::put_file(PID_PATH, text);
        EXPECT_EQ(pid_file_alive(PID_PATH), 0) << text;
    }
}

TEST_F(SystemProbe, takes_a_process_for_alive_whose_pid_file_may_not_be_read) {
    harness::put_file(PID_PATH, std::to_string(pid_alive()) + "\n");
    ASSERT_EQ(chmod(PID_PATH, 0), 0);
    const PermissionsHold permissions;
    ASSERT_TRUE(permissions.held());
    EXPECT_TRUE(pid_file_alive(PID_PATH));
}

TEST_F(SystemProbe, reads_the_state_of_a_bridge_port) {
    ASSERT_EQ(system("ip link add port0 type veth peer name port1 && "
                     "ip link set port0 master br-lan && "
                     "ip link set port1 up && ip link set port0 up"),
              0);
    int state = -1;
    EXPECT_TRUE(harness::wait_until([&] {
        state = bridge_port_state_get("port0");
        return state == 3;
    })) << "the port should forward, its state was "
        << state;
    EXPECT_EQ(system("ip link del port0"), 0);
}

TEST_F(SystemProbe, knows_no_state_of_an_interface_outside_the_bridge) {
    EXPECT_EQ(bridge_port_state_get("ath99"), 0);
}

TEST_F(SystemProbe, runs_the_channel_monitor_once) {
    wifi_channel_monitor_once();
    EXPECT_THAT(journal(), ElementsAre("$ wifi_channel_monitor once"));
}

}  // namespace
