#include "runtime/shell_text.h"

namespace {

/// Also what only some shells read (braces) or only at the beginning of a word ('#', '~').
constexpr std::string_view READ_BARE = "|&;<>()$`\\\"' \t\x0a*?[]#~{}!^";
constexpr std::string_view READ_IN_DOUBLE_QUOTES = "$`\\\"";
constexpr std::string_view READ_IN_SINGLE_QUOTES = "'";

std::string_view characters_read(shell_place place) {
    switch (place) {
        case shell_place::bare:
            break;
        case shell_place::double_quotes:
            return READ_IN_DOUBLE_QUOTES;
        case shell_place::single_quotes:
            return READ_IN_SINGLE_QUOTES;
    }
    return READ_BARE;
}

/// What stands before and behind a character that the shell would read.
struct cover {
    std::string_view before;
    std::string_view after;
};

cover cover_of(char c, shell_place place) {
    if (place == shell_place::single_quotes) {
        return {"'\\", "'"};  // a quote closes, stands for itself and opens again
    }
    // A backslash would take a bare line end away altogether.
    return c == '\n' ? cover{"'", "'"} : cover{"\\", ""};
}

}  // namespace

shell_place shell_place_after(shell_place place, char c) {
    switch (place) {
        case shell_place::bare:
            if (c == '"') {
                return shell_place::double_quotes;
            }
            return c == '\'' ? shell_place::single_quotes : place;
        case shell_place::double_quotes:
            return c == '"' ? shell_place::bare : place;
        case shell_place::single_quotes:
            break;
    }
    return c == '\'' ? shell_place::bare : place;
}

bool shell_reads(std::string_view value, shell_place place) {
    return value.find_first_of(characters_read(place)) != std::string_view::npos;
}

shell_written shell_text(std::string_view value, shell_place place, std::span<char> out) {
    size_t length = 0;
    for (const char& c : value) {
        const std::string_view character(&c, 1);
        const cover around = shell_reads(character, place) ? cover_of(c, place) : cover{};
        if (around.before.size() + 1 + around.after.size() > out.size() - length) {
            return {length, false};
        }
        for (const std::string_view piece : {around.before, character, around.after}) {
            length += piece.copy(out.data() + length, piece.size());
        }
    }
    return {length, true};
}
