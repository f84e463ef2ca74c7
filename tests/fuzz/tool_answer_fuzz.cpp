// What tools print and what other programs leave in small files: every reader of a word or a number
// out of it, against scanf with the contract's format over the same bytes. The answer goes the way
// that the daemon's own line sends it.

#include <unistd.h>

#include <array>
#include <cstring>

#include "daemon/options.h"
#include "device/ap_alive.h"
#include "device/association.h"
#include "device/first_mac.h"
#include "device/hop_distance.h"
#include "device/hyd.h"
#include "device/intf_existence.h"
#include "device/pid_file.h"
#include "device/supplicant.h"
#include "device/uci.h"
#include "device/whc.h"
#include "intf/intf_table.h"
#include "runtime/mode_file.h"
#include "tests/fuzz/bed/input.h"
#include "tests/fuzz/bed/place.h"
#include "tests/fuzz/bed/shell.h"

namespace {

using fuzz::ByteStream;
using fuzz::require;

using Word = std::array<char, 512>;
std::array<intf_record, 2> records;
intf_record& station = records[0];

/// First word as "%<most>s" reads it; false when there is none.
bool word_scan(const std::string& bytes, const char* format, Word& word) {
    const ByteStream stream(bytes);
    word.fill('\0');
    return std::fscanf(stream.get(), format, word.data()) == 1;
}

/// First number, `number` as it was when there is none. Words of more digits than a number has are
/// left out: false.
bool number_scan(const std::string& bytes, const char* format, void* number) {
    Word word{};
    word_scan(bytes, "%511s", word);
    const ByteStream stream(bytes);
    std::fscanf(stream.get(), format, number);
    return std::strlen(word.data()) < 64;
}

bool has_line(const std::string& line) {
    const auto& lines = fuzz::shell().lines;
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

std::array<char, 256> first_line(const std::string& bytes, int room) {
    const ByteStream stream(bytes);
    std::array<char, 256> line{};
    if (std::fgets(line.data(), room, stream.get()) == nullptr) {
        line[0] = '\0';
    }
    return line;
}

void association_check(const std::string& answer) {
    Word word{};
    require(intf_associated("ath0") != word_scan(answer, "%64s", word),
            "an AP without a line is associated");
    word_scan(answer, "%63s", word);
    require(backhaul_sta_is_associated(&station) == (word[0] == '\0'),
            "a station without a line is associated");
    require(wifi_intf_present(&station) == word_scan(answer, "%16s", word),
            "an interface with a line is there");
}

void access_point_check(const std::string& answer) {
    mac_address wanted{1, 2, 3, 4, 5, 6};
    mac_address found = wanted;
    const ByteStream stream(answer);
    std::array<char, 128> line{};
    Word word{};
    while (std::fgets(line.data(), line.size(), stream.get()) != nullptr) {
        if (std::strstr(line.data(), "Point") != nullptr) {
            if (std::sscanf(line.data(), "%*s %*s %*s %*s %*s %s\n", word.data()) == 1) {
                word[31] = '\0';  // longer than any address
                std::sscanf(word.data(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &wanted[0], &wanted[1],
                            &wanted[2], &wanted[3], &wanted[4], &wanted[5]);
            }
            break;
        }
    }
    device_sta_ap_bssid_get("ath0", found);
    require(found == wanted, "the AP is the sixth word of its line");
}

void uplink_rate_check(const std::string& answer) {
    int wanted = 0;
    const ByteStream stream(answer);
    if (std::fscanf(stream.get(), "%*[^':']:%d", &wanted) != 1) {
        wanted = 0;
    }
    if (answer.size() < 256 && answer.find('\0') == std::string::npos) {
        device_backhaul_ap_ul_rate_update(&station);
        require(has_line("iwpriv ath20 set_whc_ul_rate " + std::to_string(wanted)),
                "the rate is the number behind the colon");
    }
}

void best_ap_check(const std::string& answer) {
    mac_address wanted{};
    mac_address found{};
    std::sscanf(first_line(answer, 64).data(), "%*[^:]:%2hhx%2hhx%2hhx%2hhx%2hhx%2hhx", &wanted[0],
                &wanted[1], &wanted[2], &wanted[3], &wanted[4], &wanted[5]);
    device_best_bssid_get("ath0", found.data(), found.size());
    require(found == wanted, "the best AP stands behind the colon");
}

void distance_check(const std::string& answer) {
    int wanted = 0;
    if (std::sscanf(first_line(answer, 64).data(), "%*[^:]:%d\n", &wanted) != 1) {
        wanted = 0;
    }
    require(qca_dist_get(&station) == wanted, "the distance is the number behind the colon");
    require(fuzz::file_get(ROOT_DISTANCE_PATH) == std::to_string(wanted) + "\n",
            "the distance is in its file");
}

void visitor_feature_check(const std::string& answer) {
    int wanted = VISITOR_FEATURE_UNKNOWN;
    runtime.visitor_network_feature = VISITOR_FEATURE_UNKNOWN;
    device_wifi_intf_existence_chk();
    if (number_scan(answer, "%d", &wanted)) {
        require(runtime.visitor_network_feature == wanted, "the feature is the first number");
    }
}

void hyd_check(const std::string& answer) {
    int pid = 0;
    hyd_alive_check();
    if (number_scan(answer, "%d", &pid)) {
        require(has_line("/etc/init.d/hyd restart") == (pid == 0), "hyd without a number is down");
    }
}

void pid_file_check(const std::string& answer) {
    unsigned pid = 0;
    fuzz::file_put("/tmp/pid", answer);
    const bool is_alive = pid_file_alive("/tmp/pid");
    if (number_scan(answer, "%u", &pid)) {
        const std::string comm = "/proc/" + std::to_string(pid) + "/comm";
        require(is_alive == (access(comm.c_str(), F_OK) == 0), "the process is the first number's");
    }
}

void first_mac_check(const std::string& answer) {
    mac_address mac{};
    Word word{};
    word_scan(answer, "%31s", word);
    std::sscanf(word.data(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx", &mac[0], &mac[1], &mac[2], &mac[3],
                &mac[4], &mac[5]);
    fuzz::file_put("/tmp/FirstMAC", answer);
    Word wanted{};
    std::snprintf(wanted.data(), wanted.size(), "%02hhx:%02hhx:%02hhx:%02hhx:%02hhx:%02hhx", mac[0],
                  mac[1], mac[2], mac[3], mac[4], mac[5]);
    require(std::strcmp(device_first_mac_get().data(), wanted.data()) == 0,
            "the own address is the first word's");
}

void uci_check(const std::string& answer) {
    Word word{};
    word_scan(answer, "%64s", word);
    uci_value value{};
    wireless_uci_get("ath0", "ssid", value);
    require(std::strcmp(value.data(), word.data()) == 0, "a value is its first word");
    std::array<char, 16> cut{};
    wireless_uci_get("ath0", "auth", cut);
    require(std::string_view(cut.data()) == std::string_view(word.data()).substr(0, 15),
            "a value is cut to its room");
}

void supplicant_state_check(const std::string& answer) {
    const ByteStream stream(answer);
    std::array<char, 257> line{};
    bool wanted = false;
    while (std::fgets(line.data(), line.size(), stream.get()) != nullptr) {
        if (std::strstr(line.data(), "wpa_state") != nullptr) {
            wanted = std::strstr(line.data(), "INTERFACE_DISABLED") != nullptr;
            break;
        }
    }
    require(wpa_state(&station) == wanted, "the first line with the state counts");
}

void role_file_check(const std::string& answer) {
    fuzz::file_put(MODE_FILE_PATH, answer);
    Word word{};
    word_scan(answer, "%31s", word);
    std::array<char, MODE_WORD_SIZE> found{};
    require(mode_file_read(found) && std::strcmp(found.data(), word.data()) == 0,
            "the role is the first word");
}

void start_hint_check(const std::string& answer) {
    fuzz::file_put(START_HINT_PATH, answer);
    runtime.intf_init = true;
    intf_init_skip();
    const ByteStream stream(answer);
    bool is_skipped = false;
    Word word{};
    while (std::fscanf(stream.get(), "%511s", word.data()) == 1 && std::feof(stream.get()) == 0) {
        is_skipped = is_skipped || std::strcmp(word.data(), "intf_init_skip") == 0;
        if (std::strlen(word.data()) == word.size() - 1) {
            return;  // longer than scanf's room: it would go on within the word
        }
    }
    require(runtime.intf_init != is_skipped, "the hint is one of the words");
    require(access(START_HINT_PATH, F_OK) != 0, "the hint is taken away");
}

constexpr std::array CHECKS = {
    association_check, access_point_check,     uplink_rate_check, best_ap_check,   distance_check,
    hyd_check,         visitor_feature_check,  pid_file_check,    first_mac_check, uci_check,
    role_file_check,   supplicant_state_check, start_hint_check,
};

}  // namespace

// The name is the fuzzer engine's. The first byte chooses the reader.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::strcpy(records[0].name.data(), "ath0");
    std::strcpy(records[1].name.data(), "ath20");
    records[0].type = BACKHAUL_STA;
    records[1].type = BACKHAUL_AP;
    runtime.intf_table = records.data();
    runtime.intf_num = records.size();

    fuzz::Input input(data, size);
    const auto check = CHECKS[input.byte() % CHECKS.size()];
    const std::string answer = input.rest();
    fuzz::shell_reset();
    fuzz::shell().answer = [&answer](const std::string& /*line*/) {
        return answer;
    };
    check(answer);
    fuzz::shell().answer = nullptr;
    fuzz::require_lines_are_words();
    return 0;
}
