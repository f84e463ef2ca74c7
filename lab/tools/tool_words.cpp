#include "lab/tools/tool_words.h"

#include <algorithm>
#include <string_view>

namespace lab {
namespace {

constexpr std::size_t MOST_KEY_WORDS = 5;
constexpr std::string_view CONTROL_PATH = "/var/run/wpa_supplicant-";

bool takes_word(const std::string& word, std::string_view options) {
    return word.size() == 2 && word[0] == '-' && options.find(word[1]) != std::string_view::npos;
}

// The words that are neither one of the options nor the word behind it.
std::vector<std::string> without_options(const std::vector<std::string>& words,
                                         std::string_view options) {
    std::vector<std::string> kept;
    for (std::size_t at = 0; at < words.size(); ++at) {
        if (takes_word(words[at], options)) {
            ++at;
        } else {
            kept.push_back(words[at]);
        }
    }
    return kept;
}

// The words behind the options.
std::vector<std::string> option_values(const std::vector<std::string>& words,
                                       std::string_view options) {
    std::vector<std::string> values;
    for (std::size_t at = 0; at + 1 < words.size(); ++at) {
        if (takes_word(words[at], options)) {
            values.push_back(words[++at]);
        }
    }
    return values;
}

}  // namespace

std::string tool_base_name(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string wpa_cli_interface(const std::vector<std::string>& words) {
    const std::vector<std::string> named = option_values(words, "i");
    if (!named.empty()) {
        return named.front();
    }
    for (const std::string& path : option_values(words, "p")) {
        if (path.starts_with(CONTROL_PATH)) {
            return path.substr(CONTROL_PATH.size());
        }
    }
    return {};
}

std::vector<std::string> tool_key_words(const std::string& tool,
                                        const std::vector<std::string>& words) {
    if (tool == "wpa_cli") {
        std::vector<std::string> kept = without_options(words, "gip");
        const std::string interface = wpa_cli_interface(words);
        if (!kept.empty() && !interface.empty()) {
            kept.insert(kept.begin() + 1, interface);
        }
        return kept;
    }
    if (tool == "radartool") {
        return without_options(words, "i");
    }
    if (tool == "wifisys_tool") {
        return option_values(words, "gf");
    }
    return words;
}

std::vector<std::string> tool_keys(const std::string& tool,
                                   const std::vector<std::string>& key_words) {
    std::vector<std::string> keys{tool};
    const std::size_t count = std::min(key_words.size(), MOST_KEY_WORDS);
    for (std::size_t at = 0; at < count; ++at) {
        keys.push_back(keys.back() + "." + key_words[at]);
    }
    std::reverse(keys.begin(), keys.end());
    return keys;
}

}  // namespace lab
