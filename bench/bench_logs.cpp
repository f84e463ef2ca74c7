// How long the tool takes for 100 MB of flow logs, and how much memory, beside grep and awk on the
// same file. The file is made of a day's texts; it is in the build's folder and goes afterwards.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr long FILE_SIZE = 100L * 1000 * 1000;
constexpr char FILE_PATH[] = BACKHAUL_BUILD_DIR "/bench_logs.data";
constexpr char PROGRAM[] = BACKHAUL_BUILD_DIR "/backhaulctl";

/// A loss and what follows from it, with what a ready station says each minute.
constexpr std::array TEXTS = {
    "STA_CONNECTION_DOWN",
    "Disconnect with : 02:00:00:00:01:04",
    "wifi_slave_event_process : ifname ath0 event 2",
    "wifi_slave_event_process : BACKHAUL_READY",
    "backhaul_disconnected(ath0) : sta_intf->disconnect_count 1",
    "backhaul_intf_state_change : change ath0 state from 7 to 3",
    "device_led_control : /sbin/velmor_led_ctrl BackhaulDisConnect",
    "STA_CONNECTION_UP",
    "Connect with : 02:00:00:00:01:04",
    "wifi_slave_event_process : ifname ath0 event 1",
    "backhaul_connected(ath0) : backhaul_sta_num 1",
    "backhaul_intf_state_change : change ath0 state from 3 to 4",
    "dev_intf_enable_set : enable ath20",
    "device_reload_ap_settings : reload ath10",
    "backhaul_intf_state_change : change ath0 state from 4 to 7",
    "interface_timeout_chk : do other band scan",
    "interface_timeout_chk : do uplink scan 0",
    "device_backhaul_ap_ul_rate_update : ul_rate 430",
    "device_wifi_intf_existence_chk : visitor_network_feature 0",
    "backhaul_notification_recv : recv UPLINKSCAN from 192.168.1.3",
};

bool file_make() {
    FILE* const file = std::fopen(FILE_PATH, "we");
    if (file == nullptr) {
        return false;
    }
    time_t now = 1700000000;
    for (size_t i = 0; std::ftell(file) < FILE_SIZE; ++i) {
        std::array<char, 26> date{};
        now += i % TEXTS.size() == 0 ? 60 : i % 7 == 0 ? 1 : 0;
        tm parts{};
        asctime_r(gmtime_r(&now, &parts), date.data());
        std::fprintf(file, "%.24s : %s\n", date.data(), TEXTS[i % TEXTS.size()]);
    }
    return std::fclose(file) == 0;
}

/// Runs a program, its output going nowhere, and prints what it took.
bool run(const char* title, const char* const* words) {
    const auto begin = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        if (std::freopen("/dev/null", "w", stdout) == nullptr) {
            _exit(127);
        }
        execvp(words[0], const_cast<char* const*>(words));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        std::printf("%-22s failed\n", title);
        return false;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%-22s %6.2f s %8ld KB\n", title, seconds.count(), usage.ru_maxrss);
    return true;
}

}  // namespace

int main() {
    if (!file_make()) {
        std::fprintf(stderr, "cannot write %s\n", FILE_PATH);
        return 1;
    }
    const std::array summary = {PROGRAM, "summary", FILE_PATH, static_cast<const char*>(nullptr)};
    const std::array verify = {PROGRAM, "verify", FILE_PATH, static_cast<const char*>(nullptr)};
    const std::array grep = {"grep", "-c", "change ath0 state", FILE_PATH,
                             static_cast<const char*>(nullptr)};
    const std::array awk = {"awk", "/change ath0 state/{n++} END{print n}", FILE_PATH,
                            static_cast<const char*>(nullptr)};
    std::printf("100 MB of flow log:\n");
    const bool good = run("backhaulctl summary", summary.data()) &&
                      run("backhaulctl verify", verify.data()) && run("grep -c", grep.data()) &&
                      run("awk", awk.data());
    std::remove(FILE_PATH);
    return good ? 0 : 1;
}
