// soak_sh: the shell of a soak. It runs no tools: it answers the daemon's lines as those of a sound
// router would, in the tenth of their time, records nothing, and says which station the daemon
// wants associated.
//
// The first row that a line begins with counts; its text goes to standard output, or to the file
// behind the line's last ">". A line that ends with "&" leaves a process behind, as in any shell.

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "lab/sandbox/layout.h"
#include "tests/soak/soak_files.h"

namespace {

struct Answer {
    std::string_view begin;
    std::string_view part;  // also in the line
    std::string_view text;
};

constexpr std::array<Answer, 14> ANSWERS = {{
    {"uci get wireless.", ".ssid", "mesh-backhaul\n"},
    {"uci get wireless.", ".auth", "WPA2PSK\n"},
    {"uci get wireless.", ".WPAPSKkey", "mesh-key-1234\n"},
    {"uci get wireless.", ".disabled", "0\n"},
    {"wpa_cli ", "interface_add", "OK\n"},
    {"wpa_cli ", "status", "wpa_state=SCANNING\n"},
    {"iwconfig ", "> /tmp/wifi_intf.tmp", "ath  IEEE 802.11\n"},
    {"ps ", "hyd", "2345 root     /usr/sbin/hyd\n"},
    {"iwpriv ", "get_whc_dist", "ath0      get_whc_dist:1  \n"},
    {"iwpriv ", "get_whc_ul_rate", "ath0      get_whc_ul_rate:300  \n"},
    {"cat /tmp/vl1905.json", "", "    \"AP-autoconfig_WiFiReload\": \"0\",\n"},
    {"echo -n ", "openssl", "Salted__0123456789abcdef01234567"},
    {"wifisys_tool ", "", "0\n"},
    {"", "", ""},
}};

bool has(std::string_view line, std::string_view part) {
    return line.find(part) != std::string_view::npos;
}

void put(const std::string& path, std::string_view text) {
    std::ofstream(path) << text;
}

/// What the line does beyond its answer.
void act(std::string_view line) {
    for (const std::string_view station : {"ath0", "ath1"}) {
        const bool wanted = has(line, "interface_add ") || line.ends_with(" reconnect");
        if (wanted && has(line, " " + std::string(station) + " ")) {
            put(SOAK_WANTED, station);
        }
    }
    if (line.starts_with("/usr/sbin/vl1905App 17 ")) {
        mkdir(SOAK_AGENT_FOLDER, 0755);
        for (const char* path : SOAK_AGENT_FILES) {
            put(path, "configured\n");
        }
    }
}

/// The line of `iwconfig STATION` that tells whether it is associated.
std::string association(std::string_view line) {
    const std::string_view station = line.substr(0, line.find(' '));
    const std::string state =
        std::string(lab::LAB_STATE) + "/iface/" + std::string(station) + "/ap";
    const bool is_associated = access(state.c_str(), F_OK) == 0;
    if (is_associated && has(line, "Not-Associated")) {
        return "";
    }
    return std::string("          Mode:Managed  Frequency:5.18 GHz  Access Point: ") +
           (is_associated ? "02:00:00:00:01:01\n" : "Not-Associated\n");
}

std::string answer_to(std::string_view line) {
    constexpr std::string_view ASSOCIATION = "iwconfig ";
    if (line.starts_with(ASSOCIATION) &&
        (has(line, "Not-Associated") || line.ends_with("/tmp/iwconfig.tmp"))) {
        return association(line.substr(ASSOCIATION.size()));
    }
    if (line.starts_with("openssl ")) {
        std::ifstream word(SOAK_WORD);
        return {std::istreambuf_iterator<char>(word), {}};
    }
    for (const Answer& answer : ANSWERS) {
        if (line.starts_with(answer.begin) && has(line, answer.part)) {
            return std::string(answer.text);
        }
    }
    return {};
}

void print(std::string_view line, const std::string& text) {
    const size_t to = line.rfind(" > ");
    if (to == std::string_view::npos) {
        std::fputs(text.c_str(), stdout);
    } else {
        put(std::string(line.substr(to + 3)), text);
    }
}

}  // namespace

int main(int argc, char** argv) {
    int at = 2;
    if (argc > at && std::strcmp(argv[at], "--") == 0) {
        ++at;
    }
    if (argc <= at) {
        return 127;
    }
    const std::string_view line = argv[at];
    if (line.ends_with("&") && fork() != 0) {
        return 0;
    }
    act(line);
    print(line, answer_to(line));
    return 0;
}
