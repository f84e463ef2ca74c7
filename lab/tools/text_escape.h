// Any bytes as one word of a tab-separated line, and back.
//
// Backslash, tab and line end become "\\", "\t" and "\n"; other control bytes become "\xNN". All
// else, blanks and quotes included, stays as it is, so that a recorded line reads like the line
// that was run. Functions of values only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lab {

// `also` names further characters to be written as "\xNN" (for lists within a field).
std::string text_escape(std::string_view text, std::string_view also = {});

// The reverse. A broken escape at the end or an unknown one is taken literally.
std::string text_unescape(std::string_view text);

// The pieces between the separators; "a,,b" has three, an empty text has one empty piece.
std::vector<std::string_view> text_split(std::string_view text, char separator);

// The words between runs of blanks and tabs.
std::vector<std::string> text_words(std::string_view text);

// The pieces joined with `separator`.
std::string text_join(const std::vector<std::string>& pieces, std::string_view separator);

}  // namespace lab
