// The sandbox as the daemon and the tests find it.
#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>

#include "lab/sandbox/doctor_report.h"
#include "lab/sandbox/layout.h"
#include "lab/sandbox/network.h"
#include "lab/sandbox/program.h"
#include "lab/sandbox/sandbox.h"
#include "tests/harness/sandbox.h"

namespace {

using harness::file_text;
using harness::put_file;
using testing::Test;

class Sandbox : public harness::SandboxTest {};

std::string address_of(const char* name, unsigned long request) {
    ifreq wanted{};
    wanted.ifr_addr.sa_family = AF_INET;
    strncpy(wanted.ifr_name, name, IFNAMSIZ - 1);
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::string text = "none";
    if (ioctl(fd, request, &wanted) == 0) {
        sockaddr_in address{};
        memcpy(&address, &wanted.ifr_addr, sizeof(address));
        text = inet_ntoa(address.sin_addr);
    }
    close(fd);
    return text;
}

TEST_F(Sandbox, starts_each_test_with_empty_folders_whatever_the_last_one_left) {
    put_file("/tmp/somewhere/left", "x");
    put_file("/var/log/left", "x");
    SetUp();
    EXPECT_FALSE(harness::file_is_there("/tmp/somewhere/left"));
    EXPECT_FALSE(harness::file_is_there("/var/log/left"));
    EXPECT_TRUE(harness::file_is_there(BACKHAUL_BUILD_DIR)) << "the build must stay visible";
}

TEST_F(Sandbox, shows_the_run_folder_at_its_old_place_too) {
    put_file("/var/run/one.pid", "7");
    EXPECT_EQ(file_text("/run/one.pid"), "7");
}

TEST_F(Sandbox, numbers_processes_from_one) {
    EXPECT_LT(getpid(), 10);
    EXPECT_EQ(file_text("/proc/1/comm"), "lab_init\n");
}

TEST_F(Sandbox, gives_the_bridge_an_address_with_its_broadcast) {
    EXPECT_EQ(address_of("br-lan", SIOCGIFADDR), "192.168.1.10");
    EXPECT_EQ(address_of("br-lan", SIOCGIFBRDADDR), "192.168.1.255");
}

TEST_F(Sandbox, shows_its_own_devices_in_sysfs) {
    EXPECT_TRUE(harness::file_is_there("/sys/class/net/br-lan"));
    EXPECT_TRUE(harness::file_is_there("/sys/class/net/ath20"));
    EXPECT_NE(if_nametoindex("ath0"), 0U);
}

TEST_F(Sandbox, sends_to_the_broadcast_address_without_error_thanks_to_the_default_route) {
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in nowhere{};
    nowhere.sin_family = AF_INET;
    nowhere.sin_port = htons(36003);
    nowhere.sin_addr.s_addr = inet_addr("");
    EXPECT_EQ(sendto(fd, "x", 1, 0, reinterpret_cast<sockaddr*>(&nowhere), sizeof(nowhere)), -1);
    EXPECT_EQ(errno, EACCES) << "without a route it would be ENETUNREACH";
    close(fd);
}

TEST_F(Sandbox, records_the_exact_line_with_quotes_tabs_and_line_ends) {
    const std::string line = "true 'one' \"two\" \\\\ `true` \t # \n true $HOME \x01\xff";
    EXPECT_EQ(system(line.c_str()), 0);
    EXPECT_EQ(harness::recorded_lines(), std::vector<std::string>{line});
}

TEST_F(Sandbox, records_lines_of_popen_and_system_in_their_order) {
    EXPECT_EQ(system("true 1"), 0);
    FILE* pipe = popen("echo 2", "r");
    char text[8] = {};
    EXPECT_NE(fgets(text, sizeof(text), pipe), nullptr);
    pclose(pipe);
    EXPECT_STREQ(text, "2\n");
    EXPECT_EQ(system("true 3"), 0);
    EXPECT_EQ(harness::take_lines(), (std::vector<std::string>{"true 1", "echo 2", "true 3"}));
    EXPECT_EQ(harness::take_lines(), std::vector<std::string>{});
}

TEST_F(Sandbox, finds_the_stand_in_tools_by_name_and_at_their_fixed_places) {
    EXPECT_EQ(system("uci get wireless.ath0.ssid 2>/dev/null"), 256);
    for (const std::string_view place : lab::TOOL_PLACES) {
        EXPECT_EQ(access(std::string(place).c_str(), X_OK), 0) << place;
    }
    EXPECT_EQ(system("/sbin/velmor_led_ctrl 1"), 0);
    EXPECT_EQ(harness::recorded_calls(),
              (std::vector<std::string>{"uci get wireless.ath0.ssid", "velmor_led_ctrl 1"}));
}

TEST_F(Sandbox, keeps_what_lay_beside_a_covered_tool_usable) {
    EXPECT_EQ(system("/usr/sbin/ip link show br-lan > /tmp/out"), 0);
    EXPECT_NE(file_text("/tmp/out").find("br-lan"), std::string::npos);
}

TEST_F(Sandbox, runs_the_real_tools_that_are_no_stand_ins) {
    EXPECT_EQ(system("echo -n 'a' | openssl aes-128-cbc -e -k 'b' 2>/dev/null > /tmp/out"), 0);
    EXPECT_EQ(file_text("/tmp/out").size(), 32U);
}

TEST_F(Sandbox, has_room_for_another_sandbox_inside_with_the_same_shell_and_tools) {
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    std::string error;
    const pid_t inner = lab::sandbox_start(options, error);
    ASSERT_GT(inner, 0) << error;
    const std::string root = "/proc/" + std::to_string(inner) + "/root";
    EXPECT_TRUE(harness::file_is_there(root + "/run/lab/bin/uci"));
    EXPECT_EQ(file_text(root + "/proc/1/comm"), "lab_init\n");
    ASSERT_TRUE(lab::run_program({"nsenter", "-t", std::to_string(inner), "-m", "-r", "-p", "-n",
                                  "sh", "-c", "uci get a.b.c; ip link show br-lan"},
                                 "", error))
        << error;
    EXPECT_NE(file_text(root + lab::LAB_LINES).find("uci get a.b.c"), std::string::npos);
    EXPECT_EQ(harness::recorded_lines(), std::vector<std::string>{});
    kill(inner, SIGKILL);
}

// How a program ends that enters a sandbox and does `inside` there: 97 when it cannot enter, 99
// when `inside` returns.
template <typename Inside>
int exit_code_inside(Inside inside) {
    const pid_t caller = fork();
    if (caller == 0) {
        lab::SandboxOptions options;
        options.programs = BACKHAUL_BUILD_DIR "/lab";
        std::string error;
        if (!lab::sandbox_enter(options, error)) {
            _exit(97);
        }
        inside();
        _exit(99);
    }
    int status = -1;
    waitpid(caller, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(Sandbox, keeps_what_its_caller_had_open_from_the_programs_inside) {
    const int left_open = fcntl(STDIN_FILENO, F_DUPFD, 300);
    ASSERT_GE(left_open, 300);
    const std::string name = "/proc/self/fd/" + std::to_string(left_open);
    EXPECT_EQ(exit_code_inside([&] {
                  if (!harness::file_is_there(name)) {
                      _exit(98);
                  }
                  execl("/usr/bin/test", "test", "!", "-e", name.c_str(), nullptr);
              }),
              0);
    close(left_open);
}

TEST_F(Sandbox, leaves_its_caller_the_name_that_it_had) {
    const std::string name = file_text("/proc/self/comm");
    EXPECT_NE(name, "lab_init\n");
    EXPECT_EQ(exit_code_inside([&] { _exit(file_text("/proc/self/comm") == name ? 0 : 1); }), 0);
}

TEST_F(Sandbox, makes_the_folders_that_a_bare_machine_lacks_for_its_scripts) {
    ASSERT_EQ(mount("bare", "/etc", "tmpfs", 0, nullptr), 0);
    put_file("/etc/hosts", "127.0.0.1 localhost\n");
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    std::string error;
    const pid_t inner = lab::sandbox_start(options, error);
    umount2("/etc", MNT_DETACH);
    ASSERT_GT(inner, 0) << error;
    ASSERT_TRUE(
        lab::run_program({"nsenter", "-t", std::to_string(inner), "-m", "-r", "-p", "-n", "sh",
                          "-c", "/etc/init.d/hyd stop && cat /etc/hosts > /tmp/hosts"},
                         "", error))
        << error;
    EXPECT_EQ(file_text("/proc/" + std::to_string(inner) + "/root/tmp/hosts"),
              "127.0.0.1 localhost\n");
    kill(inner, SIGKILL);
}

TEST_F(Sandbox, says_what_is_missing_when_the_programs_were_not_built) {
    lab::SandboxOptions options;
    options.programs = "/nowhere";
    std::string error;
    EXPECT_EQ(lab::sandbox_start(options, error), -1);
    EXPECT_EQ(error,
              "no sandbox: /nowhere/liblab_clock.so is missing: build the target lab_programs");
}

TEST_F(Sandbox, says_what_failed_when_the_network_cannot_be_made) {
    lab::SandboxOptions options;
    options.programs = BACKHAUL_BUILD_DIR "/lab";
    options.network.address = "192.168.1.300/24";
    std::string error;
    EXPECT_EQ(lab::sandbox_start(options, error), -1);
    EXPECT_NE(error.find("192.168.1.300"), std::string::npos) << error;
}

TEST(RunProgram, is_not_reached_by_what_ends_its_caller_in_order) {
    std::string group;
    std::string error;
    ASSERT_TRUE(
        lab::program_output({"cut", "-d", " ", "-f", "5", "/proc/self/stat"}, "", &group, error))
        << error;
    EXPECT_NE(group, std::to_string(getpgrp()) + "\n");
    EXPECT_GT(std::stoi(group), 0);
}

TEST(Doctor, finds_nothing_missing_where_the_tests_run) {
    for (const lab::DoctorRow& row : lab::doctor_report(BACKHAUL_BUILD_DIR "/lab").rows) {
        EXPECT_NE(row.mark, lab::DoctorMark::lacks) << row.name << ": " << row.found;
    }
}

TEST(Doctor, names_the_programs_that_were_not_built) {
    const lab::DoctorReport report = lab::doctor_report("/nowhere");
    EXPECT_FALSE(lab::doctor_is_good(report));
    EXPECT_EQ(report.rows.at(2).found, "/nowhere/lab_tool is missing");
    EXPECT_EQ(report.rows.at(2).remedy, "build the targets backhaul_monitor and lab_programs");
}

TEST(NetworkCommands, give_every_router_at_an_address_the_same_hardware_address) {
    lab::NetworkPlan plan;
    plan.address = "192.168.1.20/24";
    plan.gateway = "192.168.1.1";
    plan.radios = {};
    EXPECT_EQ(lab::network_commands(plan),
              "link set lo up\n"
              "link add br-lan address 02:00:c0:a8:01:14 type bridge\n"
              "addr add 192.168.1.20/24 brd + dev br-lan\n"
              "link set br-lan up\n"
              "route add default via 192.168.1.1 dev br-lan\n");
}

TEST(NetworkCommands, leave_out_address_and_route_when_asked) {
    lab::NetworkPlan plan;
    plan.address = "";
    plan.gateway = "";
    plan.radios = {"ath0"};
    EXPECT_EQ(lab::network_commands(plan),
              "link set lo up\n"
              "link add br-lan type bridge\n"
              "link set br-lan up\n"
              "link add ath0 type bridge\n"
              "link set ath0 up\n");
}

}  // namespace
