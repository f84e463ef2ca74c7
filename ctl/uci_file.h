#pragma once

// A file of the configuration store ("/etc/config/wireless"): text in, sections and options out.
// Functions of values; bounded, what exceeds a bound is dropped.
//
//     config wifi-iface 'ath0'
//         option ssid 'mesh'

#include <array>
#include <cstddef>
#include <string_view>

inline constexpr size_t UCI_SECTIONS_MAX = 128;
inline constexpr size_t UCI_OPTIONS_MAX = 1024;
inline constexpr size_t UCI_WORD_SIZE = 96;

using uci_word = std::array<char, UCI_WORD_SIZE>;

struct uci_section {
    uci_word type{};
    uci_word name{};  ///< empty: anonymous
};

struct uci_option {
    size_t section = 0;
    uci_word name{};
    uci_word value{};
};

struct uci_file {
    std::array<uci_section, UCI_SECTIONS_MAX> sections{};
    size_t section_count = 0;
    std::array<uci_option, UCI_OPTIONS_MAX> options{};
    size_t option_count = 0;
    size_t strange_lines = 0;  ///< neither empty, nor a comment, nor understood
};

/// Reads one line into `file`.
void uci_line_read(std::string_view line, uci_file& file);

/// The named section's number; `section_count` when there is none.
size_t uci_section_find(const uci_file& file, std::string_view name);

/// The option's value; null when the section does not have it.
const char* uci_option_find(const uci_file& file, std::string_view section, std::string_view name);
