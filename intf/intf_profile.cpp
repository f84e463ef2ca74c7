#include "intf/intf_profile.h"

#include "runtime/table_check.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <span>

namespace {

struct type_keyword {
    const char* keyword;
    intf_type type;
};

struct band_keyword {
    const char* keyword;
    intf_band band;
};

constexpr std::array<type_keyword, 8> TYPE_KEYWORDS = {{
    {"MAIN_SERVICE_AP", MAIN_SERVICE_AP},
    {"GUEST_SERVICE_AP", GUEST_SERVICE_AP},
    {"BACKHAUL_STA", BACKHAUL_STA},
    {"BACKHAUL_AP", BACKHAUL_AP},
    {"PRE_DEF_AP", PRE_DEF_AP},
    {"VISITOR_SERVICE_AP", VISITOR_SERVICE_AP},
    {"ETHERNET", ETHERNET},
    {"AP_TIMER_INTF", AP_TIMER_INTF},
}};

constexpr std::array<band_keyword, 4> BAND_KEYWORDS = {{
    {"2", BAND_24G},
    {"5", BAND_5G},
    {"5h", BAND_5G_HIGH},
    {"5l", BAND_5G_LOW},
}};

static_assert(TYPE_KEYWORDS.size() == INTF_TYPE_OTHER &&
                  table_keys_are_unique(TYPE_KEYWORDS, [](const auto& row) { return row.type; }),
              "each type has exactly one keyword");

bool is_space(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

/// Copies the next word of `text`, cut to fit, and moves `text` past the whole word. Returns
/// false, with `out` as it was, when there is none.
bool column_scan(const char*& text, std::span<char> out) {
    while (is_space(*text)) {
        ++text;
    }
    if (*text == '\0') {
        return false;
    }
    size_t kept = 0;
    for (; *text != '\0' && !is_space(*text); ++text) {
        if (kept + 1 < out.size()) {
            out[kept++] = *text;
        }
    }
    std::fill(out.begin() + static_cast<ptrdiff_t>(kept), out.end(), '\0');
    return true;
}

}  // namespace

void intf_profile_line_scan(const char* text, intf_profile_line& line) {
    if (!column_scan(text, line.name) || !column_scan(text, line.type) ||
        !column_scan(text, line.band)) {
        return;
    }
    // Numbers wrap to their width, and one that does not scan keeps the line before's.
    std::sscanf(text, "%hu %hhu", &line.priority, &line.follow_primary);
}

intf_type intf_type_code(const char* keyword) {
    for (const auto& row : TYPE_KEYWORDS) {
        if (std::strcmp(keyword, row.keyword) == 0) {
            return row.type;
        }
    }
    return INTF_TYPE_OTHER;
}

intf_band intf_band_code(const char* keyword) {
    for (const auto& row : BAND_KEYWORDS) {
        if (std::strcmp(keyword, row.keyword) == 0) {
            return row.band;
        }
    }
    return BAND_NONE;
}
