#include "ctl/tool_answer.h"

#include "ctl/text.h"
#include "runtime/mac_text.h"

#include <algorithm>
#include <cstdio>

namespace {

/// Takes the first line off `rest`.
std::string_view line_take(std::string_view& rest) {
    const std::string_view line = text_first(rest, rest.find('\n'));
    rest = text_from(rest, line.size() + 1);
    return line;
}

/// The word of that number, counted from 1; empty when there are not so many.
std::string_view word_of(std::string_view line, int number) {
    constexpr std::string_view BLANKS = " \t\r\n";
    std::string_view word;
    for (int i = 0; i < number; ++i) {
        line = text_from(line, line.find_first_not_of(BLANKS));
        word = text_first(line, line.find_first_of(BLANKS));
        line = text_from(line, word.size());
    }
    return word;
}

/// The first line of an answer that holds the word.
std::string_view line_with(std::string_view answer, std::string_view word) {
    while (!answer.empty()) {
        const std::string_view line = line_take(answer);
        if (line.find(word) != std::string_view::npos) {
            return line;
        }
    }
    return {};
}

bool is_number(std::string_view word) {
    int32_t number = 0;
    return number_take(word, number);
}

}  // namespace

bool answer_is_n(std::string_view answer) {
    return answer == "x";
}

bool answer_has_init(std::string_view answer) {
    while (!answer.empty()) {
        if (word_of(line_take(answer), 1) == "1") {
            return true;
        }
    }
    return false;
}

bool answer_is_association(std::string_view answer) {
    return answer == "Not-Associated\n";
}

bool answer_is_word(std::string_view answer) {
    return answer == "UPLINKSCAN";
}

bool answer_is_switch(std::string_view answer) {
    const std::string_view word = word_of(answer, 1);
    return word == "0" || word == "1";
}

bool answer_has_access_point(std::string_view answer) {
    const std::string_view word = word_of(line_with(answer, "Point"), 6);
    mac_address mac{};
    std::array<char, MAC_TEXT_SIZE> text{};
    text_copy(text, word);
    return word.find("Not-Associated") != std::string_view::npos ||
           (word.size() == MAC_TEXT_SIZE - 1 &&
            mac_scan(text.data(), mac) == static_cast<int>(mac.size()));
}

bool answer_has_number(std::string_view answer) {
    const std::string_view line = line_take(answer);
    const size_t colon = line.find(':');
    // In front of the colon stands at least one character: the daemon's own way of reading.
    return colon != std::string_view::npos && colon > 0 &&
           is_number(word_of(text_from(line, colon + 1), 1));
}

bool answer_is_number(std::string_view answer) {
    return is_number(word_of(answer, 1));
}

bool answer_has_state(std::string_view answer) {
    const std::string_view line = line_with(answer, "wpa_state");
    return !line.empty() && line.find("INTERFACE_DISABLED") == std::string_view::npos;
}

tool_line tool_line_of(const tool_question& question, std::string_view name) {
    tool_line line{};
    size_t size = 0;
    for (const char* at = question.line; *at != '\0'; ++at) {
        const std::string_view piece = *at == '%' ? name : std::string_view(at, 1);
        text_copy(std::span(line).subspan(size), piece);
        size += std::min(piece.size(), line.size() - 1 - size);
    }
    return line;
}

bool tool_line_takes(std::string_view name) {
    return !name.empty() && name.front() != '-' && std::ranges::all_of(name, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.';
    });
}

tool_excerpt tool_answer_excerpt(std::string_view answer) {
    constexpr size_t LONGEST = 40;
    tool_excerpt text{};
    std::string_view line = line_with(answer, "Point");
    line = line.empty() ? line_take(answer) : text_from(line, line.find_first_not_of(" \t"));
    line = text_first(line, LONGEST);
    if (line.empty()) {
        text_copy(text, "nothing");
        return text;
    }
    std::snprintf(text.data(), text.size(), "'%.*s'", text_size(line), line.data());
    std::ranges::replace_if(
        text.data(), text.data() + line.size() + 2,
        [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 0x7f; }, '?');
    return text;
}
