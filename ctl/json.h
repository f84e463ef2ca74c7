#pragma once

// JSON text to a stream, a value at a time; commas and quotes are its own business. Bytes that are
// no UTF-8 come out as U+FFFD, so that a log with garbage still makes a valid document.

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

class json_writer {
public:
    explicit json_writer(FILE* out) : out_(out) {}

    json_writer& object_begin();
    json_writer& object_end();
    json_writer& array_begin();
    json_writer& array_end();
    json_writer& key(std::string_view name);
    json_writer& text(std::string_view value);
    json_writer& number(int64_t value);
    json_writer& boolean(bool value);
    json_writer& null();
    /// "key": "2023-11-14 22:13:20", or null for no time.
    json_writer& time(std::string_view name, int64_t value);
    json_writer& text(std::string_view name, std::string_view value) {
        return key(name).text(value);
    }
    json_writer& number(std::string_view name, int64_t value) {
        return key(name).number(value);
    }
    json_writer& boolean(std::string_view name, bool value) {
        return key(name).boolean(value);
    }
    /// Ends a document's line.
    void line_end();

private:
    void value_begin();

    static constexpr size_t DEPTH_MAX = 16;
    FILE* out_;
    size_t depth_ = 0;
    std::array<bool, DEPTH_MAX> has_value_{};
    bool after_key_ = false;
};

/// `text` as it stands between the quotes of a JSON text.
void json_text_print(FILE* out, std::string_view text);

/// How many bytes the UTF-8 sequence at the beginning of `text` has; 0 when it is none.
size_t utf8_size(std::string_view text);
