#include "lab/air/network_block.h"

#include "lab/tools/text_escape.h"

namespace lab {
namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r";
    const std::size_t first = text.find_first_not_of(BLANKS);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

std::string unquoted(std::string_view value) {
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
    }
    return std::string(value);
}

void assign(NetworkBlock* block, std::string_view name, std::string_view value) {
    if (name == "ssid") {
        block->ssid = unquoted(value);
    } else if (name == "psk") {
        block->key = unquoted(value);
    } else if (name == "key_mgmt") {
        block->key_management = value;
    } else if (name == "bssid") {
        block->bssid = value;
    }
}

}  // namespace

NetworkBlock network_block_parse(std::string_view text) {
    NetworkBlock block;
    bool open = false;
    bool closed = false;
    for (const std::string_view whole : text_split(text, '\n')) {
        const std::string_view line = trimmed(whole);
        const std::size_t equals = line.find('=');
        if (line == "network={") {
            open = true;
        } else if (line == "}") {
            closed = open;
        } else if (open && !closed && equals != std::string_view::npos) {
            assign(&block, line.substr(0, equals), line.substr(equals + 1));
        }
    }
    block.complete = closed && !block.ssid.empty();
    return block;
}

}  // namespace lab
