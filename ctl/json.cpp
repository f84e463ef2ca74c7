#include "ctl/json.h"

#include "ctl/log_line.h"
#include "ctl/text.h"

size_t utf8_size(std::string_view text) {
    const auto byte = [&](size_t at) {
        return static_cast<unsigned char>(text[at]);
    };
    const unsigned char lead = text.empty() ? 0xff : byte(0);
    const size_t size = lead < 0x80                    ? 1
                        : lead >= 0xc2 && lead <= 0xdf ? 2
                        : (lead & 0xf0) == 0xe0        ? 3
                        : lead >= 0xf0 && lead <= 0xf4 ? 4
                                                       : 0;
    if (size == 0 || size > text.size()) {
        return 0;
    }
    for (size_t at = 1; at < size; ++at) {
        if ((byte(at) & 0xc0) != 0x80) {
            return 0;
        }
    }
    // Neither longer than needed, nor a surrogate, nor past the last character.
    const bool bad = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xed && byte(1) > 0x9f) ||
                     (lead == 0xf0 && byte(1) < 0x90) || (lead == 0xf4 && byte(1) > 0x8f);
    return bad ? 0 : size;
}

void json_text_print(FILE* out, std::string_view text) {
    while (!text.empty()) {
        const auto c = static_cast<unsigned char>(text[0]);
        const size_t size = utf8_size(text);
        if (c == '"' || c == '\\') {
            std::fprintf(out, "\\%c", c);
        } else if (size == 1 && (c < 0x20 || c == 0x7f)) {
            std::fprintf(out, "\\u%04x", c);
        } else if (size == 0) {
            std::fputs("\\ufffd", out);
        } else {
            std::fwrite(text.data(), 1, size, out);
        }
        text.remove_prefix(size == 0 ? 1 : size);
    }
}

void json_writer::value_begin() {
    if (!after_key_ && has_value_[depth_]) {
        std::fputc(',', out_);
    }
    has_value_[depth_] = true;
    after_key_ = false;
}

json_writer& json_writer::object_begin() {
    value_begin();
    std::fputc('{', out_);
    has_value_[++depth_] = false;
    return *this;
}

json_writer& json_writer::object_end() {
    std::fputc('}', out_);
    --depth_;
    return *this;
}

json_writer& json_writer::array_begin() {
    value_begin();
    std::fputc('[', out_);
    has_value_[++depth_] = false;
    return *this;
}

json_writer& json_writer::array_end() {
    std::fputc(']', out_);
    --depth_;
    return *this;
}

json_writer& json_writer::key(std::string_view name) {
    text(name);
    std::fputc(':', out_);
    after_key_ = true;
    return *this;
}

json_writer& json_writer::text(std::string_view value) {
    value_begin();
    std::fputc('"', out_);
    json_text_print(out_, value);
    std::fputc('"', out_);
    return *this;
}

json_writer& json_writer::number(int64_t value) {
    value_begin();
    std::fprintf(out_, "%lld", static_cast<long long>(value));
    return *this;
}

json_writer& json_writer::boolean(bool value) {
    value_begin();
    std::fputs(value ? "true" : "false", out_);
    return *this;
}

json_writer& json_writer::null() {
    value_begin();
    std::fputs("null", out_);
    return *this;
}

json_writer& json_writer::time(std::string_view name, int64_t value) {
    key(name);
    if (value == LOG_TIME_NONE) {
        return null();
    }
    return text(std::string_view(log_time_text(value).data()));
}

void json_writer::line_end() {
    std::fputc('\n', out_);
    has_value_[0] = false;
}
