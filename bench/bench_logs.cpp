// How long the tool takes for 100 MB of flow logs, and how much memory, beside grep and awk on the
// same file. The file is made of a day's texts; it is in the build's folder and goes afterwards.
//
// With logs as arguments: how long it takes for the page of those, how large the page is, and how
// long Chromium takes to open it, beside grep on the same files and beside an empty page.

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr long FILE_SIZE = 100L * 1000 * 1000;
constexpr char FILE_PATH[] = BACKHAUL_BUILD_DIR "/bench_logs.data";
constexpr char PAGE_PATH[] = BACKHAUL_BUILD_DIR "/bench_logs.html";
constexpr char PAGE_URL[] = "file://" BACKHAUL_BUILD_DIR "/bench_logs.html";
constexpr char OUT_PATH[] = BACKHAUL_BUILD_DIR "/bench_logs.out";
constexpr char PICTURE[] = "--screenshot=" BACKHAUL_BUILD_DIR "/bench_logs.png";
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

/// Runs a program and prints what it took. Its output goes to a file: for nobody, grep would stop
/// at the first line that it finds.
bool run(const char* title, std::initializer_list<const char*> head,
         std::span<char* const> files = {}) {
    std::vector<const char*> words = head;
    words.insert(words.end(), files.begin(), files.end());
    words.push_back(nullptr);
    std::fflush(stdout);
    const auto begin = std::chrono::steady_clock::now();
    const pid_t pid = fork();
    if (pid == 0) {
        if (std::freopen(OUT_PATH, "w", stdout) == nullptr ||
            std::freopen("/dev/null", "w", stderr) == nullptr) {
            _exit(127);
        }
        execvp(words[0], const_cast<char* const*>(words.data()));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (pid < 0 || wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        std::printf("%-28s failed\n", title);
        return false;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%-28s %6.2f s %8ld KB\n", title, seconds.count(), usage.ru_maxrss);
    return true;
}

/// Loads and draws a page to its end in a browser that is started for it.
bool open_page(const char* title, const char* page) {
    return run(title,
               {"chromium", "--headless=new", "--no-sandbox", "--disable-gpu", PICTURE, page});
}

long file_size(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 ? static_cast<long>(status.st_size) : 0;
}

bool measure_file() {
    if (!file_make()) {
        std::fprintf(stderr, "cannot write %s\n", FILE_PATH);
        return false;
    }
    std::printf("100 MB of flow log:\n");
    const bool good = run("backhaulctl summary", {PROGRAM, "summary", FILE_PATH}) &&
                      run("backhaulctl verify", {PROGRAM, "verify", FILE_PATH}) &&
                      run("grep -c", {"grep", "-c", "change ath0 state", FILE_PATH}) &&
                      run("awk", {"awk", "/change ath0 state/{n++} END{print n}", FILE_PATH});
    std::remove(FILE_PATH);
    return good;
}

bool measure_page(std::span<char* const> logs) {
    long size = 0;
    for (const char* const log : logs) {
        size += file_size(log);
    }
    std::printf("%zu logs, %.1f MB:\n", logs.size(), static_cast<double>(size) / 1e6);
    const bool made =
        run("backhaulctl timeline", {PROGRAM, "timeline", "--output", PAGE_PATH}, logs) &&
        run("backhaulctl summary", {PROGRAM, "summary"}, logs) &&
        run("grep -c", {"grep", "-c", "change ath0 state"}, logs);
    std::printf("%-28s %6.2f MB\n", "the page", static_cast<double>(file_size(PAGE_PATH)) / 1e6);
    const bool good = made && open_page("chromium opens the page", PAGE_URL) &&
                      open_page("chromium opens an empty page", "about:blank");
    std::remove(PAGE_PATH);
    return good;
}

}  // namespace

int main(int argc, char** argv) {
    const std::span<char* const> words(argv, static_cast<size_t>(argc));
    const bool good = argc > 1 ? measure_page(words.subspan(1)) : measure_file();
    std::remove(OUT_PATH);
    return good ? 0 : 1;
}
