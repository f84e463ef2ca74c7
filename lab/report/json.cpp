#include "lab/report/json.h"

#include <array>
#include <cstdio>

namespace lab {
namespace {

constexpr unsigned FIRST_PRINTABLE = 0x20;
constexpr char REPLACEMENT[] = "\xEF\xBF\xBD";

unsigned byte_at(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

struct Utf8Row {
    unsigned lead_mask;
    unsigned lead;
    std::size_t length;
    unsigned least;  // smallest character of that length
};

constexpr std::array UTF8_ROWS = {
    Utf8Row{0x80, 0x00, 1, 0x0},
    Utf8Row{0xE0, 0xC0, 2, 0x80},
    Utf8Row{0xF0, 0xE0, 3, 0x800},
    Utf8Row{0xF8, 0xF0, 4, 0x10000},
};

// Bytes of the well-formed character that begins at `at`, 0 when there is none.
std::size_t utf8_length(std::string_view text, std::size_t at) {
    constexpr unsigned LAST = 0x10FFFF;
    constexpr unsigned FIRST_SURROGATE = 0xD800;
    constexpr unsigned LAST_SURROGATE = 0xDFFF;
    const unsigned lead = byte_at(text, at);
    for (const Utf8Row& row : UTF8_ROWS) {
        if ((lead & row.lead_mask) != row.lead) {
            continue;
        }
        unsigned character = lead & ~row.lead_mask;
        for (std::size_t next = 1; next < row.length; ++next) {
            const unsigned byte = byte_at(text, at + next);
            if ((byte & 0xC0U) != 0x80U) {
                return 0;
            }
            character = (character << 6U) | (byte & 0x3FU);
        }
        const bool surrogate = character >= FIRST_SURROGATE && character <= LAST_SURROGATE;
        return character < row.least || character > LAST || surrogate ? 0 : row.length;
    }
    return 0;
}

void escaped_append(std::string* quoted, char letter) {
    switch (letter) {
        case '"':
            quoted->append("\\\"");
            return;
        case '\\':
            quoted->append("\\\\");
            return;
        case '\n':
            quoted->append("\\n");
            return;
        case '\r':
            quoted->append("\\r");
            return;
        case '\t':
            quoted->append("\\t");
            return;
        default:
            break;
    }
    const unsigned byte = static_cast<unsigned char>(letter);
    if (byte >= FIRST_PRINTABLE) {
        quoted->push_back(letter);
        return;
    }
    std::array<char, 8> code;
    std::snprintf(code.data(), code.size(), "\\u%04x", byte);
    quoted->append(code.data());
}

}  // namespace

std::string json_quoted(std::string_view text) {
    std::string quoted = "\"";
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = utf8_length(text, at);
        if (length == 0) {
            quoted.append(REPLACEMENT);
            ++at;
        } else if (length == 1) {
            escaped_append(&quoted, text[at++]);
        } else {
            quoted.append(text.substr(at, length));
            at += length;
        }
    }
    return quoted + "\"";
}

void JsonWriter::separate() {
    if (!first_ && !keyed_) {
        text_.push_back(',');
    }
    first_ = false;
    keyed_ = false;
}

JsonWriter& JsonWriter::begin(char bracket) {
    separate();
    text_.push_back(bracket);
    first_ = true;
    return *this;
}

JsonWriter& JsonWriter::end(char bracket) {
    text_.push_back(bracket);
    first_ = false;
    return *this;
}

JsonWriter& JsonWriter::object_begin() {
    return begin('{');
}

JsonWriter& JsonWriter::object_end() {
    return end('}');
}

JsonWriter& JsonWriter::array_begin() {
    return begin('[');
}

JsonWriter& JsonWriter::array_end() {
    return end(']');
}

JsonWriter& JsonWriter::key(std::string_view name) {
    separate();
    text_.append(json_quoted(name)).push_back(':');
    keyed_ = true;
    return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
    separate();
    text_.append(json_quoted(text));
    return *this;
}

JsonWriter& JsonWriter::value(const char* text) {
    return value(std::string_view(text));
}

JsonWriter& JsonWriter::value(std::int64_t number) {
    separate();
    text_.append(std::to_string(number));
    return *this;
}

JsonWriter& JsonWriter::value(int number) {
    return value(std::int64_t{number});
}

JsonWriter& JsonWriter::value(bool truth) {
    separate();
    text_.append(truth ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::null() {
    separate();
    text_.append("null");
    return *this;
}

}  // namespace lab
