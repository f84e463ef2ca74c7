// The router's tools: what each answers to the daemon's lines, and what it does.
#include <algorithm>
#include <cstring>

#include "tests/fuzz/lives/life.h"
#include "tests/fuzz/lives/shell_words.h"

namespace lives {
namespace {

constexpr std::string_view CIPHER_MARK = "Salted__";
constexpr uint16_t FREQUENCY_FIRST = 5500;
constexpr size_t NOL_ENTRY = 12;

using Words = std::vector<std::string>;

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

std::string word_at(const Words& words, size_t place) {
    return place < words.size() ? words[place] : std::string();
}

std::string associated_ap(const Life& life, const std::string& name) {
    const auto found = life.around.associated.find(name);
    return found == life.around.associated.end() ? std::string() : found->second;
}

// The value of "wireless.NAME.OPTION".
std::string option_get(const Life& life, const std::string& path) {
    constexpr std::string_view PACKAGE = "wireless.";
    const auto found =
        life.around.options.find(path.starts_with(PACKAGE) ? path.substr(PACKAGE.size()) : path);
    return found == life.around.options.end() ? std::string() : found->second + "\n";
}

void option_set(Life& life, const std::string& assignment) {
    constexpr std::string_view PACKAGE = "wireless.";
    const size_t at = assignment.find('=');
    if (at != std::string::npos && assignment.starts_with(PACKAGE)) {
        life.around.options[assignment.substr(PACKAGE.size(), at - PACKAGE.size())] =
            assignment.substr(at + 1);
    }
}

ToolAnswer iwconfig_run(const Life& life, const Words& words, bool searched) {
    const std::string name = word_at(words, 1);
    const std::string ap = associated_ap(life, name);
    if (searched) {
        return {Tool::not_associated, ap.empty() ? "  Access Point: Not-Associated\n" : ""};
    }
    const std::string point = ap.empty() ? "Not-Associated" : ap;
    return {
        Tool::iwconfig,
        name + "  IEEE 802.11ac\n  Mode:Managed Frequency:5.5 GHz Access Point: " + point + "\n"};
}

ToolAnswer iwpriv_run(const Words& words) {
    const std::string request = word_at(words, 2);
    const std::string begin = word_at(words, 1) + "  " + request + ":";
    if (request == "get_whc_dist") {
        return {Tool::distance, begin + "1\n"};
    }
    if (request == "get_whc_bssid") {
        return {Tool::best_ap, begin + "000000000000\n"};
    }
    return {request == "get_whc_ul_rate" ? Tool::rate : Tool::other, begin + "300\n"};
}

ToolAnswer wpa_cli_run(const Words& words) {
    if (word_at(words, 3) == "interface_add") {
        return {Tool::interface_add, "OK\n"};
    }
    return words.back() == "status" ? ToolAnswer{Tool::supplicant_status, "wpa_state=COMPLETED\n"}
                                    : ToolAnswer{Tool::other, "OK\n"};
}

ToolAnswer radartool_run(Life& life) {
    std::string list(4, '\0');
    uint32_t count = 0;
    for (uint16_t bit = 0; bit < 32; ++bit) {
        if ((life.around.blocked >> bit & 1U) != 0) {
            std::string entry(NOL_ENTRY, '\0');
            const uint16_t frequency = FREQUENCY_FIRST + bit;
            std::memcpy(entry.data(), &frequency, sizeof frequency);
            list += entry;
            ++count;
        }
    }
    std::memcpy(list.data(), &count, sizeof count);
    return {Tool::radar, list, "/tmp/nol_list"};
}

// The phrase is taken from the store as the line took it: the shell has no say in its characters.
std::string pass_phrase(const Life& life) {
    const auto ssid = life.around.options.find("ath20.ssid");
    return ssid == life.around.options.end() ? std::string() : ssid->second;
}

ToolAnswer cipher_run(Life& life, const std::string& line) {
    if (line.starts_with("echo -n '")) {
        const size_t begin = line.find('\'') + 1;
        const std::string word = line.substr(begin, line.find('\'', begin) - begin);
        return {Tool::encipher, encipher(pass_phrase(life), word), "/tmp/ssl_output"};
    }
    return {Tool::decipher, decipher(pass_phrase(life), life.files.text("/tmp/ssl_input")),
            "/tmp/ssl_decrypt"};
}

ToolAnswer words_run(Life& life, const std::string& line, const Words& words) {
    const std::string tool = word_at(words, 0);
    if (tool == "uci" && word_at(words, 1) == "get") {
        return {Tool::uci_get, option_get(life, word_at(words, 2))};
    }
    if (tool == "uci" && word_at(words, 1) == "set") {
        option_set(life, word_at(words, 2));
    } else if (tool == "iwconfig") {
        return iwconfig_run(life, words, contains(line, "| grep Not-Associated"));
    } else if (tool == "iwpriv") {
        return iwpriv_run(words);
    } else if (tool == "wpa_cli") {
        return wpa_cli_run(words);
    } else if (tool == "radartool") {
        return radartool_run(life);
    } else if (tool == "cat") {
        return {Tool::reload_flag, "\"AP-autoconfig_WiFiReload\": 0\n"};
    } else if (tool == "ps") {
        return {Tool::processes, " 301 root hyd\n"};
    } else if (tool == "wifisys_tool") {
        return {Tool::visitor, "2\n"};
    }
    return {};
}

}  // namespace

ToolAnswer tool_run(Life& life, const std::string& line) {
    if (contains(line, "openssl aes-128-cbc")) {
        return cipher_run(life, line);
    }
    Words words;
    std::string file;
    bool to_file = false;
    const auto tokens = shell_split(line);
    for (const ShellToken& token : tokens.value_or(std::vector<ShellToken>())) {
        if (token.is_operator) {
            to_file = token.text == ">";
        } else if (to_file && file.empty() && token.text.starts_with("/tmp/")) {
            file = token.text;
        } else if (!to_file) {
            words.push_back(token.text);
        }
    }
    if (words.empty()) {
        return {};
    }
    ToolAnswer answer = words_run(life, line, words);
    if (answer.file.empty()) {
        answer.file = file;
    }
    return answer;
}

std::string encipher(const std::string& phrase, const std::string& word) {
    return std::string(CIPHER_MARK) + std::to_string(std::hash<std::string>()(phrase) % 997) + "/" +
           word;
}

std::string decipher(const std::string& phrase, const std::string& bytes) {
    const std::string begin = encipher(phrase, "");
    return bytes.starts_with(begin) ? bytes.substr(begin.size()) : std::string();
}

}  // namespace lives
