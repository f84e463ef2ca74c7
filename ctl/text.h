#pragma once

// Small words of text handling that every part of the tool shares. Functions of values.

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

/// Takes `front` off the beginning of `text`; false, with `text` as it was, when it is not there.
inline bool text_take(std::string_view& text, std::string_view front) {
    const bool fits = text.starts_with(front);
    text.remove_prefix(fits ? front.size() : 0);
    return fits;
}

/// Takes a decimal number off the beginning; false, with `text` as it was, when there is none.
inline bool number_take(std::string_view& text, int32_t& number) {
    const char* const begin = text.data();
    const auto [end, error] = std::from_chars(begin, begin + text.size(), number);
    if (error != std::errc{}) {
        return false;
    }
    text.remove_prefix(static_cast<size_t>(end - begin));
    return true;
}

/// Copies `text` to `out`, cut to fit and terminated.
inline void text_copy(std::span<char> out, std::string_view text) {
    const size_t size = text.size() < out.size() ? text.size() : out.size() - 1;
    if (size > 0) {
        std::memcpy(out.data(), text.data(), size);
    }
    out[size] = '\0';
}

/// What text_copy wrote.
template <size_t SIZE>
std::string_view text_of(const std::array<char, SIZE>& text) {
    return text.data();
}

/// `text` without what is before `at` (and without anything when it is shorter). Never throws.
inline std::string_view text_from(std::string_view text, size_t at) {
    text.remove_prefix(at < text.size() ? at : text.size());
    return text;
}

/// The first `size` characters of `text`, or all of it.
inline std::string_view text_first(std::string_view text, size_t size) {
    return {text.data(), size < text.size() ? size : text.size()};
}

/// For printf's "%.*s".
inline int text_size(std::string_view text) {
    return static_cast<int>(text.size());
}
