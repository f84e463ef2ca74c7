#include "lab/tools/text_escape.h"

#include <algorithm>
#include <cstddef>

namespace lab {
namespace {

constexpr std::string_view HEX_DIGITS = "0123456789abcdef";

void append_hex(std::string* out, unsigned char byte) {
    out->append("\\x");
    out->push_back(HEX_DIGITS[byte >> 4U]);
    out->push_back(HEX_DIGITS[byte & 15U]);
}

int hex_value(char digit) {
    const std::size_t at = HEX_DIGITS.find(digit);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

}  // namespace

std::string text_escape(std::string_view text, std::string_view also) {
    std::string out;
    out.reserve(text.size() + 8);
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (letter == '\\') {
            out.append("\\\\");
        } else if (letter == '\n') {
            out.append("\\n");
        } else if (letter == '\t') {
            out.append("\\t");
        } else if (byte < 0x20 || byte == 0x7F || also.find(letter) != std::string_view::npos) {
            append_hex(&out, byte);
        } else {
            out.push_back(letter);
        }
    }
    return out;
}

std::string text_unescape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        if (text[at] != '\\' || next == '\0') {
            out.push_back(text[at]);
            continue;
        }
        const int high = at + 3 < text.size() ? hex_value(text[at + 2]) : -1;
        const int low = at + 3 < text.size() ? hex_value(text[at + 3]) : -1;
        if (next == '\\' || next == 'n' || next == 't') {
            out.push_back(next == 'n' ? '\n' : next == 't' ? '\t' : '\\');
            at += 1;
        } else if (next == 'x' && high >= 0 && low >= 0) {
            out.push_back(static_cast<char>(high * 16 + low));
            at += 3;
        } else {
            out.push_back('\\');
        }
    }
    return out;
}

std::vector<std::string_view> text_split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    for (;;) {
        const std::size_t at = text.find(separator);
        pieces.push_back(text.substr(0, at));
        if (at == std::string_view::npos) {
            return pieces;
        }
        text.remove_prefix(at + 1);
    }
}

std::vector<std::string> text_words(std::string_view text) {
    std::vector<std::string> words;
    std::size_t at = 0;
    while ((at = text.find_first_not_of(" \t", at)) != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(" \t", at), text.size());
        words.emplace_back(text.substr(at, end - at));
        at = end;
    }
    return words;
}

std::string text_join(const std::vector<std::string>& pieces, std::string_view separator) {
    std::string out;
    for (std::size_t at = 0; at < pieces.size(); ++at) {
        out.append(at == 0 ? std::string_view{} : separator).append(pieces[at]);
    }
    return out;
}

}  // namespace lab
